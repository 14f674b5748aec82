// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/PseudoTerminal.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int pollPause = 100; // ms
/// For a program that is about to end: killed while it writes down what it has covered, it would leave that unreadable.
constexpr int farewell = 1000; // ms

/// In the child: becomes the user and the program.
[[noreturn]] void become(uid_t user, const QByteArrayList &words)
{
    std::vector<char *> arguments;
    for (const QByteArray &word : words) {
        arguments.push_back(const_cast<char *>(word.constData())); // execvp(3) asks for it and changes nothing
    }
    arguments.push_back(nullptr);
    // by name and groups as a login would: an account of that number, or none
    if (setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0) {
        execvp(arguments.front(), arguments.data());
    }
    _exit(127);
}
}

PseudoTerminal::PseudoTerminal(int user, const QString &program, const QStringList &arguments)
{
    QByteArrayList words{QFile::encodeName(program)};
    for (const QString &argument : arguments) {
        words += argument.toLocal8Bit();
    }
    const winsize size = {25, 160, 0, 0};
    m_process = forkpty(&m_master, nullptr, nullptr, &size);
    if (m_process == 0) {
        become(static_cast<uid_t>(user), words);
    }
    if (m_process < 0) {
        qFatal("no pseudo-terminal");
    }
}

PseudoTerminal::~PseudoTerminal()
{
    if (m_process > 0 && m_master >= 0) {
        waitForEnd(farewell);
    }
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    if (m_master >= 0) {
        close(m_master);
    }
}

bool PseudoTerminal::waitFor(const QByteArray &text, int limit)
{
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const auto place = m_output.indexOf(text, m_seen);
        if (place >= 0) {
            m_seen = static_cast<int>(place + text.size());
            return true;
        }
        // asked before the last output is read
        const bool ended = hasEnded();
        if (clock.elapsed() > limit || (!readSome(pollPause) && ended)) {
            return false;
        }
    }
}

bool PseudoTerminal::hasEnded() const
{
    siginfo_t ended = {};
    return m_process < 0
        || (waitid(P_PID, static_cast<id_t>(m_process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid != 0);
}

void PseudoTerminal::type(const QByteArray &keys)
{
    if (write(m_master, keys.constData(), static_cast<std::size_t>(keys.size())) != keys.size()) {
        qFatal("the terminal takes no keys");
    }
}

void PseudoTerminal::hangUp()
{
    close(m_master);
    m_master = -1;
}

int PseudoTerminal::waitForEnd(int limit)
{
    QElapsedTimer clock;
    clock.start();
    int status = 0;
    while (waitpid(m_process, &status, WNOHANG) == 0) {
        if (clock.elapsed() > limit) {
            return -1;
        }
        readSome(pollPause);
    }
    while (readSome(0)) {}
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

QByteArray PseudoTerminal::output() const
{
    return m_output;
}

pid_t PseudoTerminal::process() const
{
    return m_process;
}

bool PseudoTerminal::echoes() const
{
    termios settings = {};
    tcgetattr(m_master, &settings);
    return (settings.c_lflag & ECHO) != 0;
}

bool PseudoTerminal::readSome(int limit)
{
    pollfd watched = {m_master, POLLIN, 0};
    if (poll(&watched, 1, limit) <= 0) {
        return false;
    }
    QByteArray buffer(4096, '\0');
    const ssize_t count = read(m_master, buffer.data(), static_cast<std::size_t>(buffer.size()));
    if (count <= 0) {
        QThread::msleep(1); // nobody has the terminal open (any more)
        return false;
    }
    m_output += buffer.left(static_cast<int>(count));
    return true;
}
