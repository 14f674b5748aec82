// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QtGlobal>

#include <array>
#include <csignal>

/**
 * As long as it lives, SIGINT (Ctrl-C), SIGTERM and SIGHUP (a closed terminal) end the tools that they reach, but not this
 * process: that takes the first of them when this object goes, after copies of the machine's files are removed. One at a time.
 */
class InterruptDelay
{
public:
    InterruptDelay();
    ~InterruptDelay();

private:
    Q_DISABLE_COPY_MOVE(InterruptDelay)

    static constexpr std::array<int, 3> m_signals{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, m_signals.size()> m_before{};
};
