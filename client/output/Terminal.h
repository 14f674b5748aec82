// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

#include <cstdio>

/**
 * One of the standard streams, for texts that people read.
 *
 * Colour only where it is a terminal and the user hasn't declined it (NO_COLOR, or TERM=dumb).
 */
class Terminal
{
public:
    explicit Terminal(FILE *stream);

    bool isTerminal() const;

    /// Writes the text as it is, in the local 8-bit encoding, at once.
    void write(const QString &text);
    void writeBytes(const QByteArray &bytes);

    /// Writes what goes without saying, unless nobody wants to see it.
    void writeUnlessQuiet(const QString &text);
    void beQuiet();

    /// How long a line may be: what the terminal has room for without its last column, 79 characters elsewhere.
    int width() const;

    /// Closes the stream; 0 if all that was ever written arrived, otherwise the number of the first error.
    int close();

    QString bold(const QString &text) const;
    QString good(const QString &text) const;
    QString bad(const QString &text) const;

private:
    QString styled(const char *code, const QString &text) const;

    void noteError();

    FILE *m_stream;
    int m_error = 0;
    bool m_isTerminal;
    bool m_hasColour;
    bool m_isQuiet = false;
};

/// The standard output.
Terminal &out();
/// The standard error.
Terminal &err();

/**
 * Makes a text that comes from elsewhere safe for a terminal: each control character other than a line end or tab, and
 * each character that changes the direction of writing, becomes U+FFFD.
 */
QString printable(const QString &text);

/// Prints a warning, one line, as errors are printed.
void printWarning(const QString &text);

/// Prints an error the one way: the tool's name, a line, and what belongs to it below.
void printError(const QString &text);
