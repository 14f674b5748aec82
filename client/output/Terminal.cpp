// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Terminal.h"

#include "client/Translation.h"
#include "messages/LocalText.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
bool wantsColour()
{
    return qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb" && qEnvironmentVariableIsSet("TERM");
}

bool isUnsafe(QChar character)
{
    if (character == QLatin1Char('\n') || character == QLatin1Char('\t')) {
        return false;
    }
    const ushort code = character.unicode();
    const bool changesDirection = code == 0x061c || code == 0x200e || code == 0x200f
        || (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    return character.category() == QChar::Other_Control || changesDirection;
}
}

Terminal::Terminal(FILE *stream)
    : m_stream(stream), m_isTerminal(isatty(fileno(stream)) == 1), m_hasColour(m_isTerminal && wantsColour())
{
}

bool Terminal::isTerminal() const
{
    return m_isTerminal;
}

void Terminal::write(const QString &text)
{
    writeBytes(localBytes(text));
}

void Terminal::writeBytes(const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, m_stream) != size || std::fflush(m_stream) != 0) {
        noteError();
    }
}

void Terminal::writeUnlessQuiet(const QString &text)
{
    if (!m_isQuiet) {
        write(text);
    }
}

void Terminal::beQuiet()
{
    m_isQuiet = true;
}

int Terminal::width() const
{
    winsize size{};
    const bool known = m_isTerminal && ioctl(fileno(m_stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col - 1 : 79;
}

int Terminal::close()
{
    if (std::fclose(m_stream) != 0) {
        noteError();
    }
    return m_error;
}

void Terminal::noteError()
{
    if (m_error == 0) {
        m_error = errno;
    }
}

QString Terminal::bold(const QString &text) const
{
    return styled("1", text);
}

QString Terminal::good(const QString &text) const
{
    return styled("32", text);
}

QString Terminal::bad(const QString &text) const
{
    return styled("31", text);
}

QString Terminal::styled(const char *code, const QString &text) const
{
    return m_hasColour ? QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text) : text;
}

Terminal &out()
{
    static Terminal terminal(stdout);
    return terminal;
}

Terminal &err()
{
    static Terminal terminal(stderr);
    return terminal;
}

QString printable(const QString &text)
{
    QString safe = text;
    for (QChar &character : safe) {
        if (isUnsafe(character)) {
            character = QChar::ReplacementCharacter;
        }
    }
    return safe;
}

void printWarning(const QString &text)
{
    printError(translate("Terminal", "warning: %1").arg(text));
}

void printError(const QString &text)
{
    err().write(err().bad(QStringLiteral("accountpolicyctl:")) + QLatin1Char(' ') + printable(text)
                + QLatin1Char('\n'));
}
