// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/ErrorTerminal.h"

#include <cstdio>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

ErrorTerminal::ErrorTerminal() : m_before(dup(STDERR_FILENO))
{
    int process = -1;
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&m_master, &process, nullptr, &raw, nullptr) != 0 || dup2(process, STDERR_FILENO) != STDERR_FILENO) {
        qFatal("no terminal");
    }
    close(process);
}

ErrorTerminal::~ErrorTerminal()
{
    dup2(m_before, STDERR_FILENO);
    close(m_before);
    close(m_master);
}

QByteArray ErrorTerminal::shown() const
{
    const QByteArray end = "<end>";
    dprintf(STDERR_FILENO, "%s", end.constData());
    QByteArray text;
    char byte = 0;
    while (!text.endsWith(end) && read(m_master, &byte, 1) == 1) {
        text += byte;
    }
    text.chop(end.size());
    return text;
}
