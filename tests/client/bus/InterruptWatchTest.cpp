// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/InterruptWatch.h"

#include "tests/support/Files.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{
void handleOtherwise(int)
{
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

auto handlerOf(int signal) -> void (*)(int)
{
    struct sigaction now = {};
    sigaction(signal, nullptr, &now);
    return now.sa_handler;
}
}

class InterruptWatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void callsFromTheEventLoop_data();
    void callsFromTheEventLoop();
    void bringsTheFormerHandlersBack();
    void leavesAnIgnoredHangUpAlone();
    void takesAnyNumberOfSignals();
    void opensNothingForOthersOrForGood();
};

void InterruptWatchTest::initTestCase()
{
    // ignored where nohup(1) has started the tests
    setHandler(SIGHUP, SIG_DFL);
}

void InterruptWatchTest::callsFromTheEventLoop_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("Ctrl-C") << SIGINT;
    QTest::newRow("kill") << SIGTERM;
    QTest::newRow("closed terminal") << SIGHUP;
}

void InterruptWatchTest::callsFromTheEventLoop()
{
    QFETCH(int, signal);
    int calls = 0;
    const InterruptWatch watch([&calls] {
        ++calls;
    });
    QVERIFY(!watch.isInterrupted());

    kill(getpid(), signal);
    kill(getpid(), signal);

    QVERIFY(watch.isInterrupted());
    QCOMPARE(calls, 0);
    QTRY_COMPARE(calls, 1);
    QCoreApplication::processEvents();
    QCOMPARE(calls, 1);
}

void InterruptWatchTest::bringsTheFormerHandlersBack()
{
    const auto interrupt = handlerOf(SIGINT);
    const auto terminate = handlerOf(SIGTERM);
    const auto hangUp = handlerOf(SIGHUP);
    setHandler(SIGINT, SIG_IGN);
    setHandler(SIGTERM, handleOtherwise);
    setHandler(SIGHUP, handleOtherwise);

    {
        const InterruptWatch watch([] {});
        QVERIFY(handlerOf(SIGINT) != SIG_IGN);
        QVERIFY(handlerOf(SIGTERM) != handleOtherwise);
        QVERIFY(handlerOf(SIGHUP) != handleOtherwise);
    }

    QVERIFY(handlerOf(SIGINT) == SIG_IGN);
    QVERIFY(handlerOf(SIGTERM) == handleOtherwise);
    QVERIFY(handlerOf(SIGHUP) == handleOtherwise);
    setHandler(SIGINT, interrupt);
    setHandler(SIGTERM, terminate);
    setHandler(SIGHUP, hangUp);
}

void InterruptWatchTest::leavesAnIgnoredHangUpAlone()
{
    const auto hangUp = handlerOf(SIGHUP);
    setHandler(SIGHUP, SIG_IGN);

    {
        const InterruptWatch watch([] {});
        QVERIFY(handlerOf(SIGHUP) == SIG_IGN);
    }

    QVERIFY(handlerOf(SIGHUP) == SIG_IGN);
    setHandler(SIGHUP, hangUp);
}

void InterruptWatchTest::takesAnyNumberOfSignals()
{
    const InterruptWatch watch([] {});
    errno = EDOM;

    // more than a pipe holds
    for (int i = 0; i < 100000; ++i) {
        std::raise(SIGINT);
    }

    // whom a signal interrupts doesn't see it
    QCOMPARE(errno, EDOM);
    QVERIFY(watch.isInterrupted());
}

void InterruptWatchTest::opensNothingForOthersOrForGood()
{
    // the event loop opens what it needs
    QCoreApplication::processEvents();
    const QStringList before = openFiles();
    {
        const InterruptWatch watch([] {});
        const QStringList now = openFiles();
        QCOMPARE(now.size(), before.size() + 2);
        for (const QString &file : now) {
            QVERIFY(before.contains(file) || (fcntl(file.toInt(), F_GETFD) & FD_CLOEXEC) != 0);
        }
    }
    QCOMPARE(openFiles().size(), before.size());
}

QTEST_GUILESS_MAIN(InterruptWatchTest)
#include "InterruptWatchTest.moc"
