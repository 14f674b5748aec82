// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>
#include <vector>

/**
 * Turns SIGINT (Ctrl-C), SIGTERM and SIGHUP (a closed terminal) into a call from the event loop, as long as it lives. One
 * at a time. A hang-up that is ignored, as under nohup(1), stays so.
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

    void watch(int signal);

    int m_pipe[2] = {};
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct Before {
        int signal;
        struct sigaction action;
    };
    std::vector<Before> m_before;
};
