// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QObject>
#include <QThread>

#include <functional>

/**
 * Runs what takes long, one thing at a time, in a thread of its own: its caller goes on answering meanwhile.
 *
 * A thread and not a process: the tools that take the time are processes already, and what is between them are files that
 * only this service's own code reads and writes.
 */
class Worker : public QObject
{
    Q_OBJECT

public:
    Worker();
    /// Waits for the end of what runs.
    ~Worker() override;

    bool isBusy() const;

    /**
     * @param work runs in the worker's thread
     * @param done is called afterwards in the thread of this object
     */
    void run(const std::function<void()> &work, const std::function<void()> &done);

Q_SIGNALS:
    // of its own: from thread to thread
    void wanted(QPrivateSignal);
    void ended(QPrivateSignal);

private:
    void finish();

    QThread m_thread;
    /// Lives in the worker's thread, and so has it run what is sent there.
    QObject m_inside;
    std::function<void()> m_work;
    std::function<void()> m_done;
    bool m_isBusy = false;
};
