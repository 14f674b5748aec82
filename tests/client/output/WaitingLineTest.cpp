// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/WaitingLine.h"

#include <QTest>

#include <chrono>
#include <pty.h>
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
    void initTestCase();

    void comesAfterASecondAndGoes();
    void comesBackASecondAfterItWasAskedTo();
    void neverComesWhereTheWaitIsShort();

private:
    /// What the terminal got since the last call.
    QByteArray shown() const;

    int m_terminal = -1;
};

void WaitingLineTest::initTestCase()
{
    // the line is for the terminal that is the standard error
    int process = -1;
    QVERIFY(openpty(&m_terminal, &process, nullptr, nullptr, nullptr) == 0);
    QVERIFY(dup2(process, STDERR_FILENO) == STDERR_FILENO);
}

QByteArray WaitingLineTest::shown() const
{
    const char end[] = "<end>";
    dprintf(STDERR_FILENO, "%s", end);
    QByteArray text;
    char byte = 0;
    while (!text.endsWith(end) && read(m_terminal, &byte, 1) == 1) {
        text += byte;
    }
    text.chop(static_cast<int>(qstrlen(end)));
    return text;
}

void WaitingLineTest::comesAfterASecondAndGoes()
{
    std::thread early = writeAfter(900ms, "early ");
    std::thread late = writeAfter(1900ms, " late");
    {
        const WaitingLine line(QStringLiteral("waiting"));
        early.join();
        late.join();
    }
    QCOMPARE(shown(), QByteArray("early waiting late\r\033[K"));
}

void WaitingLineTest::comesBackASecondAfterItWasAskedTo()
{
    WaitingLine line(QStringLiteral("waiting"));
    std::this_thread::sleep_for(1500ms);
    line.giveWay();
    QCOMPARE(shown(), QByteArray("waiting\r\033[K"));

    std::thread early = writeAfter(900ms, "early ");
    line.comeBack();
    line.comeBack();
    early.join();
    std::this_thread::sleep_for(600ms);
    line.giveWay();
    line.giveWay();
    QCOMPARE(shown(), QByteArray("early waiting\r\033[K"));

    // what doesn't come needn't be taken away
    line.comeBack();
    line.giveWay();
    QCOMPARE(shown(), QByteArray());
}

void WaitingLineTest::neverComesWhereTheWaitIsShort()
{
    std::thread soon = writeAfter(500ms, " soon");
    std::thread late = writeAfter(1500ms, " late");
    {
        const WaitingLine line(QStringLiteral("waiting"));
    }
    // and keeps nobody waiting
    dprintf(STDERR_FILENO, "gone");
    soon.join();
    late.join();

    QCOMPARE(shown(), QByteArray("gone soon late"));
}

QTEST_GUILESS_MAIN(WaitingLineTest)
#include "WaitingLineTest.moc"
