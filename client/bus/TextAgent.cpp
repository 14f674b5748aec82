// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/TextAgent.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <systemd/sd-login.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr int registrationLimit = 10000; // ms
constexpr int endLimit = 5000; // ms
constexpr int lookPause = 100; // ms

/// Waits until the other end of the pipe is closed.
void waitForClose(int descriptor, int limit)
{
    // POLLHUP comes without being asked for
    pollfd watched = {descriptor, 0, 0};
    poll(&watched, 1, limit);
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

/// The agent has a child, polkit's own, for as long as a question is open, and tells nobody about it.
bool hasChild(qint64 process)
{
    // whichever of its threads has started it
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::any_of(names.cbegin(), names.cend(), [&threads](const QString &name) {
        QFile children(threads.filePath(name + QStringLiteral("/children")));
        return children.open(QIODevice::ReadOnly) && !children.readAll().isEmpty();
    });
}

bool canOpenTerminal()
{
    const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) {
        return false;
    }
    close(terminal);
    return true;
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

TextAgent::TextAgent(std::function<void()> answered) : m_callback(std::move(answered))
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
    QObject::connect(&m_look, &QTimer::timeout, &m_look, [this] {
        look();
    });
    m_look.start(lookPause);
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

void TextAgent::look()
{
    const bool asked = std::exchange(m_asks, hasChild(m_agent.processId()));
    if (asked && !m_asks) {
        m_look.stop();
        m_answered = true;
        m_callback();
    }
}

bool TextAgent::isAsking() const
{
    return hasChild(m_agent.processId());
}

bool TextAgent::isAnswered() const
{
    return m_answered;
}

bool TextAgent::canAsk()
{
    const bool seesTerminal = isatty(STDIN_FILENO) == 1 || isatty(STDERR_FILENO) == 1;
    return geteuid() != 0 && seesTerminal && canOpenTerminal();
}
