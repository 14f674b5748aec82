// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

/**
 * A line on the terminal that says that something is being waited for. It comes a second after construction and goes
 * at the end. Where the standard error is no terminal, it never comes.
 *
 * It comes from a thread of its own, so that the wait may be one that blocks.
 */
class WaitingLine
{
public:
    explicit WaitingLine(QString text);
    ~WaitingLine();

    /// Takes the line away, or keeps it from coming: somebody else needs the terminal.
    void giveWay();

    /// After giveWay(): the terminal is free again, the wait goes on, and the second starts anew.
    void comeBack();

private:
    Q_DISABLE_COPY(WaitingLine)

    void showUnlessOver();

    QString m_text;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_over = false;
    bool m_shown = false;
};
