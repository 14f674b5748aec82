// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/TextAgent.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <systemd/sd-login.h>
#include <unistd.h>

namespace
{
constexpr int registrationLimit = 10000; // ms
constexpr int endLimit = 5000; // ms

/// Waits until the other end of the pipe is closed.
void waitForClose(int descriptor, int limit)
{
    pollfd watched = {descriptor, POLLIN, 0};
    while (poll(&watched, 1, limit) > 0) {
        char byte = 0;
        if (read(descriptor, &byte, 1) <= 0) {
            return;
        }
    }
}

/// Whether polkit sees a session around this process, which may have an agent of its own.
bool hasSession()
{
    char *session = nullptr;
    uid_t user = 0;
    const bool found = sd_pid_get_session(0, &session) >= 0
        || (sd_pid_get_owner_uid(0, &user) >= 0 && sd_uid_get_display(user, &session) >= 0);
    std::free(session);
    return found;
}

QStringList agentArguments(int notification)
{
    QStringList arguments{QStringLiteral("--notify-fd"), QString::number(notification)};
    if (hasSession()) {
        // the session's own agent goes first; without a session polkit would ignore an agent that says this
        arguments += QStringLiteral("--fallback");
    }
    return arguments;
}
}

TextAgent::TextAgent()
{
    int notification[2] = {-1, -1};
    if (pipe(notification) != 0) {
        return;
    }
    fcntl(notification[0], F_SETFD, FD_CLOEXEC);
    m_agent.setProcessChannelMode(QProcess::ForwardedChannels);
    m_agent.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_agent.start(QStringLiteral("/usr/bin/pkttyagent"), agentArguments(notification[1]));
    const bool started = m_agent.waitForStarted();
    close(notification[1]);
    if (started) {
        // it closes its end once it is registered
        waitForClose(notification[0], registrationLimit);
    }
    close(notification[0]);
}

TextAgent::~TextAgent()
{
    if (m_agent.state() == QProcess::NotRunning) {
        return;
    }
    // by SIGTERM it brings the terminal's settings back before it ends; a stopped one must go on for that
    m_agent.terminate();
    kill(static_cast<pid_t>(m_agent.processId()), SIGCONT);
    m_agent.waitForFinished(endLimit);
}

bool TextAgent::canAsk()
{
    return geteuid() != 0 && isatty(STDIN_FILENO) == 1;
}
