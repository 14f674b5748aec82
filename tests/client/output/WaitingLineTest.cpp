// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/WaitingLine.h"

#include "tests/support/ErrorTerminal.h"

#include <QTest>

#include <chrono>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{
/// Writes to the terminal after that time, by the same clock and under the same load as the line.
std::thread writeAfter(std::chrono::milliseconds delay, const char *text)
{
    return std::thread([delay, text] {
        std::this_thread::sleep_for(delay);
        dprintf(STDERR_FILENO, "%s", text);
    });
}
}

class WaitingLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comesAfterASecondAndGoes();
    void comesBackASecondAfterItWasAskedTo();
    void neverComesWhereTheWaitIsShort();

private:
    ErrorTerminal m_terminal;
};

void WaitingLineTest::comesAfterASecondAndGoes()
{
    std::thread early = writeAfter(900ms, "early ");
    std::thread late = writeAfter(1900ms, " late");
    {
        const WaitingLine line(QStringLiteral("waiting"));
        early.join();
        late.join();
    }
    QCOMPARE(m_terminal.shown(), QByteArray("early waiting late\r\033[K"));
}

void WaitingLineTest::comesBackASecondAfterItWasAskedTo()
{
    WaitingLine line(QStringLiteral("waiting"));
    std::this_thread::sleep_for(1500ms);
    line.giveWay();
    QCOMPARE(m_terminal.shown(), QByteArray("waiting\r\033[K"));

    std::thread early = writeAfter(900ms, "early ");
    line.comeBack();
    line.comeBack();
    early.join();
    std::this_thread::sleep_for(600ms);
    line.giveWay();
    line.giveWay();
    QCOMPARE(m_terminal.shown(), QByteArray("early waiting\r\033[K"));

    // what doesn't come needn't be taken away
    line.comeBack();
    line.giveWay();
    QCOMPARE(m_terminal.shown(), QByteArray());
}

void WaitingLineTest::neverComesWhereTheWaitIsShort()
{
    std::thread soon = writeAfter(500ms, " soon");
    std::thread late = writeAfter(1500ms, " late");
    {
        const WaitingLine line(QStringLiteral("waiting"));
        std::this_thread::sleep_for(200ms); // its thread waits by now
    }
    // and keeps nobody waiting
    dprintf(STDERR_FILENO, "gone");
    soon.join();
    late.join();

    QCOMPARE(m_terminal.shown(), QByteArray("gone soon late"));
}

QTEST_GUILESS_MAIN(WaitingLineTest)
#include "WaitingLineTest.moc"
