// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

/// Turns SIGTERM into a call from the event loop, as long as it lives. One at a time.
class TerminationWatch
{
public:
    explicit TerminationWatch(const std::function<void()> &terminated);
    ~TerminationWatch();

private:
    Q_DISABLE_COPY_MOVE(TerminationWatch)

    int m_pipe[2] = {};
    std::unique_ptr<QSocketNotifier> m_notifier;
};
