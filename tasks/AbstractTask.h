// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tasks/TaskResult.h"

#include <QVariantMap>

#include <memory>

/**
 * One piece of policy work: constructed with its inputs, run once, inspected, destroyed.
 *
 * The values map holds the arguments before the run and the results after it. Whoever passes a map hands over its
 * ownership, by a raw pointer as nowhere else.
 */
class AbstractTask
{
public:
    /// Bits of flags().
    static constexpr quint64 Cancellable = 1;

    /**
     * @param values the arguments of the task, owned by the task from now on; may be null
     */
    explicit AbstractTask(QVariantMap *values);
    virtual ~AbstractTask();

    /// Does the whole work and leaves the outcome in result() and values(). The default does nothing.
    virtual void run();

    /// Nothing calls it yet; every concrete task gives it an empty body.
    virtual void cancel() = 0;

    /// The owned map; null if the task was made without one.
    QVariantMap *values() const;

    /// Frees the present map and takes ownership of @p map.
    void setValues(QVariantMap *map);

    TaskResult &result();

    quint64 flags() const;
    bool isCancelRequested() const;

    /**
     * Asks the task to stop.
     * @return whether the task may be cancelled at all (Cancellable is set)
     */
    bool requestCancel();

    /// The last act of a policy task's run, whatever its outcome; has nothing to do so far.
    void finish();

protected:
    /// A task that can be cancelled sets Cancellable here.
    quint64 m_flags = 0;

private:
    Q_DISABLE_COPY(AbstractTask)

    bool m_cancelRequested = false;
    std::unique_ptr<QVariantMap> m_values;
    TaskResult m_result;
};
