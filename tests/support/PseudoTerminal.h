// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QStringList>

#include <sys/types.h>

/**
 * A program on a terminal of its own, driven as by a person: what it prints is read, and keys are typed.
 */
class PseudoTerminal
{
public:
    /// Starts the program as the account of number @p user, in the environment of this process.
    PseudoTerminal(int user, const QString &program, const QStringList &arguments);
    ~PseudoTerminal();

    /// Reads until the text has come since the last call that found one; false if it doesn't come within @p limit ms,
    /// or before the program ends.
    bool waitFor(const QByteArray &text, int limit = 20000);

    /// Types these bytes; "\r" is the enter key, "\x03" Ctrl-C, "\t" the tabulator.
    void type(const QByteArray &keys);

    /// Closes the terminal, as with its window.
    void hangUp();

    /// Reads until the program has ended; its exit code, 128 and the signal's number for a signal, -1 past @p limit ms.
    int waitForEnd(int limit = 60000);

    /// All that was read so far.
    QByteArray output() const;

    pid_t process() const;

    /// Whether the terminal shows what is typed.
    bool echoes() const;

private:
    Q_DISABLE_COPY(PseudoTerminal)

    bool hasEnded() const;
    bool readSome(int limit);

    int m_master = -1;
    pid_t m_process = -1;
    QByteArray m_output;
    int m_seen = 0;
};
