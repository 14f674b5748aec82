// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/**
 * How far a task has come. Only Failed makes a reply an error.
 */
namespace TaskState
{
/// Set by every constructor.
inline constexpr int NotStarted = 0;
/// The work failed; the message says why.
inline constexpr int Failed = 1;
/// The work was done; the message is normally empty.
inline constexpr int Succeeded = 2;
/// The work was done; the message holds a notice for the user.
inline constexpr int SucceededWithNotice = 3;
}

/**
 * The outcome of one task: its title, how it ended and what it has to say.
 */
class TaskResult
{
public:
    /// The task's translated title; never changed by its run.
    QString description() const;
    void setDescription(const QString &description);

    /// A TaskState value; NotStarted after construction.
    int state() const;
    void setState(const int &state);

    /// The failure text or the notice; empty after construction.
    QString message() const;
    void setMessage(const QString &message);

    /// Records that the work failed, and why.
    void fail(const QString &message);

    /// Records that the work was done: Succeeded, or SucceededWithNotice where there is a notice.
    void succeed(const QString &notice);

private:
    QString m_description;
    int m_state = TaskState::NotStarted;
    QString m_message;
};
