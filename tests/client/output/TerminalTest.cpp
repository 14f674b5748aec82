// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Terminal.h"

#include "tests/support/ScopedLatin1.h"
#include "tests/support/ScopedVariable.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <pty.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
using FilePointer = std::unique_ptr<FILE, int (*)(FILE *)>;

FilePointer temporaryFile()
{
    return {std::tmpfile(), std::fclose};
}

/// The first few bytes.
QByteArray contentIn(FILE *file)
{
    std::rewind(file);
    QByteArray content(8, '\0');
    content.resize(static_cast<int>(std::fread(content.data(), 1, 8, file)));
    return content;
}

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
    void coloursWhereNobodyDeclines_data();
    void coloursWhereNobodyDeclines();
    void writesLocalEncoding();
    void isQuietIfTold();
    void hasRoomForSoMuch_data();
    void hasRoomForSoMuch();
    void tellsFirstErrorWhenItIsClosed_data();
    void tellsFirstErrorWhenItIsClosed();
    void makesTextSafe_data();
    void makesTextSafe();
};

void TerminalTest::coloursWhereNobodyDeclines_data()
{
    QTest::addColumn<bool>("onTerminal");
    QTest::addColumn<QByteArray>("terminalType");
    QTest::addColumn<QByteArray>("noColour");
    QTest::addColumn<bool>("colours");
    QTest::newRow("terminal") << true << QByteArray("xterm") << QByteArray() << true;
    QTest::newRow("NO_COLOR") << true << QByteArray("xterm") << QByteArray("1") << false;
    QTest::newRow("empty NO_COLOR") << true << QByteArray("xterm") << QByteArray("") << true;
    QTest::newRow("dumb terminal") << true << QByteArray("dumb") << QByteArray() << false;
    QTest::newRow("unknown terminal") << true << QByteArray() << QByteArray() << false;
    QTest::newRow("file") << false << QByteArray("xterm") << QByteArray() << false;
}

void TerminalTest::coloursWhereNobodyDeclines()
{
    QFETCH(bool, onTerminal);
    QFETCH(QByteArray, terminalType);
    QFETCH(QByteArray, noColour);
    QFETCH(bool, colours);
    const ScopedVariable type("TERM", terminalType);
    const ScopedVariable declined("NO_COLOR", noColour);
    const TerminalStream stream;
    const FilePointer file = temporaryFile();
    const Terminal terminal(onTerminal ? stream.stream() : file.get());
    const QString text = colours ? QStringLiteral("\033[%1mx\033[0m") : QStringLiteral("x%1");

    QCOMPARE(terminal.isTerminal(), onTerminal);
    QCOMPARE(terminal.bold(QStringLiteral("x")), text.arg(colours ? QStringLiteral("1") : QString()));
    QCOMPARE(terminal.good(QStringLiteral("x")), text.arg(colours ? QStringLiteral("32") : QString()));
    QCOMPARE(terminal.bad(QStringLiteral("x")), text.arg(colours ? QStringLiteral("31") : QString()));
}

void TerminalTest::writesLocalEncoding()
{
    const ScopedLatin1 locale;
    const FilePointer file = temporaryFile();
    Terminal terminal(file.get());

    terminal.write(QStringLiteral("\u00e4\n"));

    QCOMPARE(contentIn(file.get()), QByteArray("\xe4\n"));
}

void TerminalTest::isQuietIfTold()
{
    const FilePointer file = temporaryFile();
    Terminal terminal(file.get());

    terminal.writeUnlessQuiet(QStringLiteral("a"));
    terminal.beQuiet();
    terminal.writeUnlessQuiet(QStringLiteral("b"));
    terminal.write(QStringLiteral("c"));

    QCOMPARE(contentIn(file.get()), QByteArray("ac"));
}

void TerminalTest::hasRoomForSoMuch_data()
{
    QTest::addColumn<bool>("onTerminal");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("room");
    QTest::newRow("terminal") << true << 60 << 59;
    QTest::newRow("narrowest terminal") << true << 1 << 0;
    QTest::newRow("terminal that doesn't tell") << true << 0 << 79;
    QTest::newRow("file") << false << 60 << 79;
}

void TerminalTest::hasRoomForSoMuch()
{
    QFETCH(bool, onTerminal);
    QFETCH(int, columns);
    const TerminalStream stream;
    const FilePointer file = temporaryFile();
    winsize size{};
    size.ws_col = static_cast<unsigned short>(columns);
    QCOMPARE(ioctl(fileno(stream.stream()), TIOCSWINSZ, &size), 0);

    QTEST(Terminal(onTerminal ? stream.stream() : file.get()).width(), "room");
}

void TerminalTest::tellsFirstErrorWhenItIsClosed_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("losesFile");
    QTest::addColumn<int>("error");
    QTest::newRow("none") << QByteArray("/dev/null") << false << 0;
    QTest::newRow("of closing") << QByteArray("/dev/null") << true << EBADF;
    QTest::newRow("of writing, and another") << QByteArray("/dev/full") << true << ENOSPC;
}

void TerminalTest::tellsFirstErrorWhenItIsClosed()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, losesFile);
    FILE *stream = std::fopen(file.constData(), "w");
    Terminal terminal(stream);

    terminal.write(QStringLiteral("x"));
    if (losesFile) {
        close(fileno(stream));
        terminal.write(QString());
    }

    QTEST(terminal.close(), "error");
}

void TerminalTest::makesTextSafe_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("safe");
    const auto row = [](char16_t code, const QString &safe) {
        QTest::addRow("U+%04x", code) << QStringLiteral("a%1b").arg(QChar(ushort(code)))
                                      << QStringLiteral("a%1b").arg(safe);
    };
    for (const char16_t code :
         std::u16string(u"\0\a\r\x1b\x7f\x9b", 6) + u"\x061c\x200e\x200f\x202a\x202e\x2066\x2069") {
        row(code, QString(QChar::ReplacementCharacter));
    }
    // the last two are an emoji's
    for (const char16_t code :
         std::u16string(u"\n\t\u00e4\u4e2d\x061b\x200d\x2010\x2029\x202f\x2065\x206a\U0001f600")) {
        row(code, QString(QChar(ushort(code))));
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
