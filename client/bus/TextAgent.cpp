// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/TextAgent.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <systemd/sd-login.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr int registrationLimit = 10000; // ms
constexpr int endLimit = 5000; // ms
constexpr int lookPause = 100; // ms

/// Waits for this event, or until the other end is closed; false if neither comes in time.
bool waitForEvent(int descriptor, short event, int limit)
{
    pollfd watched = {descriptor, event, 0};
    return poll(&watched, 1, limit) > 0;
}

using SystemText = std::unique_ptr<char, decltype(&std::free)>;

/// The session that polkit sees around this process, which may have an agent of its own; null if there is none.
SystemText ownSession()
{
    char *session = nullptr;
    uid_t user = {};
    if (sd_pid_get_session(0, &session) < 0 && sd_pid_get_owner_uid(0, &user) >= 0) {
        sd_uid_get_display(user, &session);
    }
    return {session, &std::free};
}

/// A descriptor that can be read from once the process has ended: pidfd_open(2), which glibc 2.36 declares for C alone.
int openProcess(pid_t process)
{
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::vector<pid_t> childrenOf(qint64 process)
{
    std::vector<pid_t> children;
    // whichever of its threads has started them
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        // each with a blank behind it
        QList<QByteArray> numbers = contentOf(threads.filePath(name + QStringLiteral("/children"))).split(' ');
        numbers.removeLast();
        for (const QByteArray &child : std::as_const(numbers)) {
            children.push_back(child.toInt());
        }
    }
    return children;
}

/// Whether the process is on its way out, from before its files are closed: by the kernel's flags in proc(5).
bool isEnding(qint64 process)
{
    constexpr uint exiting = 4; // PF_EXITING
    const QByteArray status = contentOf(QStringLiteral("/proc/%1/stat").arg(process));
    const QList<QByteArray> behindName = status.mid(status.lastIndexOf(')') + 2).split(' ');
    return (behindName.value(6).toUInt() & exiting) != 0;
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
    if (ownSession()) {
        // the session's own agent goes first; without a session polkit would ignore an agent that says this
        arguments += QStringLiteral("--fallback");
    }
    return arguments;
}
}

TextAgent::TextAgent(std::function<void()> answered) : m_callback(std::move(answered))
{
    // what the agent leaves behind becomes a child of this process
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int notification[2] = {};
    if (pipe(notification) != 0) {
        return;
    }
    fcntl(notification[0], F_SETFD, FD_CLOEXEC);
    m_agent.setProcessChannelMode(QProcess::ForwardedChannels);
    m_agent.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_agent.start(path(), agentArguments(notification[1]));
    const bool started = m_agent.waitForStarted();
    close(notification[1]);
    if (started) {
        // it closes its end once it is registered
        waitForEvent(notification[0], 0, registrationLimit);
    }
    close(notification[0]);
    QObject::connect(&m_look, &QTimer::timeout, &m_look, [this] {
        look();
    });
    m_look.start(lookPause);
}

TextAgent::~TextAgent()
{
    endAgent();
    endQuestion();
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

void TextAgent::endAgent()
{
    if (m_agent.state() == QProcess::NotRunning) {
        return;
    }
    // by SIGTERM it brings the terminal's settings back before it ends; a stopped one must go on for that
    m_agent.terminate();
    kill(static_cast<pid_t>(m_agent.processId()), SIGCONT);
    m_agent.waitForFinished(endLimit);
}

/// The process of an open question outlives its agent, and complains on the terminal that it gets no answer.
void TextAgent::endQuestion()
{
    for (const pid_t process : questions()) {
        const int end = openProcess(process);
        if (end < 0) {
            continue; // gone already
        }
        if (!waitForEvent(end, POLLIN, endLimit)) {
            kill(process, SIGKILL); // as Ctrl-C would
            waitForEvent(end, POLLIN, endLimit);
        }
        close(end);
        waitpid(process, nullptr, WNOHANG);
    }
}

/**
 * The processes by which polkit asks for a password: the agent has one for as long as a question is open, and tells
 * nobody about it. If the agent ends first, it is a child of this process, until endQuestion().
 */
std::vector<pid_t> TextAgent::questions() const
{
    std::vector<pid_t> found = childrenOf(m_agent.processId());
    // after those of the agent: what leaves it meanwhile is found here
    const std::vector<pid_t> own = childrenOf(getpid());
    found.insert(found.end(), own.cbegin(), own.cend());
    const auto isOther = [this](pid_t process) {
        const QByteArray name = contentOf(QStringLiteral("/proc/%1/comm").arg(process));
        // the agent's own until it has become another program
        return process == m_agent.processId() || (name != "polkit-agent-he\n" && name != "pkttyagent\n");
    };
    found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    return found;
}

void TextAgent::look()
{
    const bool asked = std::exchange(m_asks, isAsking());
    if (asked && !m_asks) {
        m_look.stop();
        m_answered = true;
        m_callback();
    }
}

bool TextAgent::isAsking() const
{
    return !questions().empty();
}

bool TextAgent::isAnswered() const
{
    return m_answered || (m_asks && !isAsking());
}

bool TextAgent::isCutShort()
{
    // polkit knows that an agent was killed as soon as its connection is closed
    if (isEnding(m_agent.processId())) {
        m_agent.waitForFinished(endLimit);
    }
    return !isAnswered() && (isAsking() || m_agent.exitStatus() == QProcess::CrashExit);
}

QString TextAgent::path()
{
    return QStringLiteral("/usr/bin/pkttyagent");
}

bool TextAgent::canAsk()
{
    const bool seesTerminal = isatty(STDIN_FILENO) == 1 || isatty(STDERR_FILENO) == 1;
    return geteuid() != 0 && seesTerminal && canOpenTerminal();
}

bool TextAgent::isOnDesktop()
{
    const SystemText session = ownSession();
    char *type = nullptr;
    if (!session || sd_session_get_type(session.get(), &type) < 0) {
        return false;
    }
    const SystemText owner(type, &std::free);
    return qstrcmp(type, "x11") == 0 || qstrcmp(type, "wayland") == 0 || qstrcmp(type, "mir") == 0;
}
