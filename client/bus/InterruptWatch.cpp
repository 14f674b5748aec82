// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/InterruptWatch.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t writeEnd;

// may be called between any two instructions: only what signal-safety(7) allows
void noteSignal(int signal)
{
    const int before = errno;
    const char byte = static_cast<char>(signal);
    // if the pipe is full, then of earlier interrupts, any of which will do
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, sizeof byte);
    errno = before;
}
}

InterruptWatch::InterruptWatch(const std::function<void()> &interrupted)
{
    if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this, interrupted] {
        m_notifier->setEnabled(false);
        interrupted();
    });
    writeEnd = m_pipe[1];
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        watch(signal);
    }
}

InterruptWatch::~InterruptWatch()
{
    if (!m_notifier) {
        return;
    }
    for (const Before &before : m_before) {
        sigaction(before.signal, &before.action, nullptr);
    }
    m_notifier.reset();
    close(m_pipe[0]);
    close(m_pipe[1]);
}

void InterruptWatch::watch(int signal)
{
    Before before = {signal, {}};
    sigaction(signal, nullptr, &before.action);
    if (signal == SIGHUP && before.action.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigaction(signal, &action, nullptr);
    m_before.push_back(before);
}

bool InterruptWatch::isInterrupted() const
{
    // nobody reads what the signal has written
    pollfd watched = {m_pipe[0], POLLIN, {}};
    return m_notifier && poll(&watched, 1, 0) > 0;
}
