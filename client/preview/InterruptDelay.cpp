// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/InterruptDelay.h"

namespace
{
volatile std::sig_atomic_t delayed;

void delay(int signal)
{
    if (delayed == 0) {
        delayed = signal;
    }
}
}

InterruptDelay::InterruptDelay()
{
    delayed = 0;
    struct sigaction action = {};
    action.sa_handler = delay;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        sigaction(m_signals.at(i), nullptr, &m_before.at(i));
        // what nohup(1) has ignored stays so, for the tools too
        if (m_before.at(i).sa_handler != SIG_IGN) {
            sigaction(m_signals.at(i), &action, nullptr);
        }
    }
}

InterruptDelay::~InterruptDelay()
{
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        sigaction(m_signals.at(i), &m_before.at(i), nullptr);
    }
    if (delayed != 0) {
        [[maybe_unused]] const int raised = raise(delayed);
    }
}
