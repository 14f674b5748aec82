// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

/**
 * Turns SIGINT (Ctrl-C) and SIGTERM into a call from the event loop, as long as it lives. One at a time.
 */
class InterruptWatch
{
public:
    explicit InterruptWatch(const std::function<void()> &interrupted);
    ~InterruptWatch();

    /// Whether there was an interrupt, even if the event loop has not come to it yet.
    bool isInterrupted() const;

private:
    Q_DISABLE_COPY(InterruptWatch)

    int m_pipe[2] = {};
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_beforeInterrupt = {};
    struct sigaction m_beforeTerminate = {};
};
