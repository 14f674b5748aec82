// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Terminal.h"

#include "tests/support/ScopedLatin1.h"
#include "tests/support/ScopedVariable.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace
{
/// A stream that is a terminal.
class TerminalStream
{
public:
    TerminalStream()
    {
        if (openpty(&m_master, &m_slave, nullptr, nullptr, nullptr) != 0) {
            qFatal("no pseudo-terminal");
        }
        m_stream = fdopen(m_slave, "w");
    }
    ~TerminalStream()
    {
        std::fclose(m_stream);
        close(m_master);
    }
    FILE *stream() const
    {
        return m_stream;
    }

private:
    Q_DISABLE_COPY_MOVE(TerminalStream)

    int m_master = -1;
    int m_slave = -1;
    FILE *m_stream = nullptr;
};
}

class TerminalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void coloursOnTerminal();
    void coloursNothingWhereDeclined_data();
    void coloursNothingWhereDeclined();
    void coloursNothingElsewhere();
    void writesLocalEncoding();
    void remembersFirstError();
    void closesWithoutErrorWhereAllArrived();
    void returnsErrorOfClosing();
    void makesTextSafe_data();
    void makesTextSafe();
};

void TerminalTest::coloursOnTerminal()
{
    const ScopedVariable terminalType("TERM", "xterm");
    const ScopedVariable noColour("NO_COLOR", QByteArray());
    const TerminalStream stream;
    const Terminal terminal(stream.stream());

    QVERIFY(terminal.isTerminal());
    QCOMPARE(terminal.bold(QStringLiteral("x")), QStringLiteral("\033[1mx\033[0m"));
    QCOMPARE(terminal.good(QStringLiteral("x")), QStringLiteral("\033[32mx\033[0m"));
    QCOMPARE(terminal.bad(QStringLiteral("x")), QStringLiteral("\033[31mx\033[0m"));
}

void TerminalTest::coloursNothingWhereDeclined_data()
{
    QTest::addColumn<QByteArray>("terminalType");
    QTest::addColumn<QByteArray>("noColour");
    QTest::addColumn<bool>("colours");
    QTest::newRow("NO_COLOR") << QByteArray("xterm") << QByteArray("1") << false;
    QTest::newRow("empty NO_COLOR") << QByteArray("xterm") << QByteArray("") << true;
    QTest::newRow("dumb terminal") << QByteArray("dumb") << QByteArray() << false;
    QTest::newRow("unknown terminal") << QByteArray() << QByteArray() << false;
}

void TerminalTest::coloursNothingWhereDeclined()
{
    QFETCH(QByteArray, terminalType);
    QFETCH(QByteArray, noColour);
    QFETCH(bool, colours);
    const ScopedVariable type("TERM", terminalType);
    const ScopedVariable declined("NO_COLOR", noColour);
    const TerminalStream stream;
    const Terminal terminal(stream.stream());

    QVERIFY(terminal.isTerminal());
    QCOMPARE(terminal.bad(QStringLiteral("x")) != QStringLiteral("x"), colours);
}

void TerminalTest::coloursNothingElsewhere()
{
    const ScopedVariable terminalType("TERM", "xterm");
    const ScopedVariable noColour("NO_COLOR", QByteArray());
    FILE *file = std::tmpfile();
    const Terminal terminal(file);

    QVERIFY(!terminal.isTerminal());
    QCOMPARE(terminal.bold(QStringLiteral("x")), QStringLiteral("x"));
    QCOMPARE(terminal.good(QStringLiteral("x")), QStringLiteral("x"));
    QCOMPARE(terminal.bad(QStringLiteral("x")), QStringLiteral("x"));
    std::fclose(file);
}

void TerminalTest::writesLocalEncoding()
{
    const ScopedLatin1 locale;
    FILE *file = std::tmpfile();
    Terminal terminal(file);

    terminal.write(QStringLiteral("\u00e4\n"));

    std::rewind(file);
    QByteArray content(8, '\0');
    content.resize(static_cast<int>(std::fread(content.data(), 1, 8, file)));
    QCOMPARE(content, QByteArray("\xe4\n"));
    std::fclose(file);
}

void TerminalTest::remembersFirstError()
{
    FILE *stream = std::fopen("/dev/full", "w");
    QVERIFY(stream);
    Terminal terminal(stream);

    terminal.write(QStringLiteral("x"));
    close(fileno(stream)); // the next error is another
    terminal.write(QStringLiteral("x"));

    QCOMPARE(terminal.close(), ENOSPC);
}

void TerminalTest::closesWithoutErrorWhereAllArrived()
{
    Terminal terminal(std::fopen("/dev/null", "w"));

    terminal.write(QStringLiteral("x"));

    QCOMPARE(terminal.close(), 0);
}

void TerminalTest::returnsErrorOfClosing()
{
    const int descriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
    Terminal terminal(fdopen(descriptor, "w"));
    terminal.write(QStringLiteral("x"));

    close(descriptor);

    QCOMPARE(terminal.close(), EBADF);
}

void TerminalTest::makesTextSafe_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("safe");
    const auto row = [](const char *name, const QString &text, const QString &safe) {
        QTest::newRow(name) << text << safe;
    };
    const QString replaced(QChar::ReplacementCharacter);
    row("letters", QStringLiteral("a\u00e4\u4e2d"), QStringLiteral("a\u00e4\u4e2d"));
    row("line end and tab", QStringLiteral("a\n\tb"), QStringLiteral("a\n\tb"));
    row("carriage return", QStringLiteral("a\rb"), QStringLiteral("a") + replaced + QLatin1Char('b'));
    row("escape", QStringLiteral("\033[31m"), replaced + QStringLiteral("[31m"));
    row("bell", QStringLiteral("\a"), replaced);
    row("delete", QStringLiteral("\x7f"), replaced);
    row("NUL", QString(QChar(0)), replaced);
    row("escape of eight bits", QString(QChar(0x9b)), replaced);
    row("emoji", QString::fromUtf8("\xf0\x9f\x98\x80"), QString::fromUtf8("\xf0\x9f\x98\x80"));
    for (const char16_t code :
         std::initializer_list<char16_t>{u'\x061c', u'\x200e', u'\x200f', u'\x202a', u'\x202e', u'\x2066', u'\x2069'}) {
        row(QByteArray::number(code, 16).constData(), QString(QChar(ushort(code))), replaced);
    }
    for (const char16_t code :
         std::initializer_list<char16_t>{u'\x061b', u'\x200d', u'\x2010', u'\x2029', u'\x202f', u'\x2065', u'\x206a'}) {
        row(QByteArray::number(code, 16).constData(), QString(QChar(ushort(code))), QString(QChar(ushort(code))));
    }
}

void TerminalTest::makesTextSafe()
{
    QFETCH(QString, text);
    QFETCH(QString, safe);

    QCOMPARE(printable(text), safe);
}

QTEST_GUILESS_MAIN(TerminalTest)
#include "TerminalTest.moc"
