// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/TerminationWatch.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t watchEnd;

// may be called between any two instructions: only what signal-safety(7) allows
void noteTermination(int signal)
{
    const int before = errno;
    const char byte = static_cast<char>(signal);
    // if the pipe is full, then of earlier signals, any of which will do
    [[maybe_unused]] const ssize_t written = write(watchEnd, &byte, sizeof byte);
    errno = before;
}

void handleTermination(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(SIGTERM, &action, nullptr);
}
}

TerminationWatch::TerminationWatch(const std::function<void()> &terminated)
{
    if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this, terminated] {
        m_notifier->setEnabled(false);
        terminated();
    });
    watchEnd = m_pipe[1];
    handleTermination(noteTermination);
}

TerminationWatch::~TerminationWatch()
{
    if (!m_notifier) {
        return;
    }
    handleTermination(SIG_DFL);
    m_notifier.reset();
    close(m_pipe[0]);
    close(m_pipe[1]);
}
