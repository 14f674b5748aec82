// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What this process is like for a task of the helper's, and that it is as before afterwards.

#include "policies/machine/HelperSurroundings.h"

#include "tests/support/ScopedLatin1.h"
#include "tests/support/ScopedVariable.h"

#include <QTest>

#include <sys/stat.h>

namespace
{
constexpr int signalNumbers[] = {SIGINT, SIGTERM, SIGHUP};

mode_t presentMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

QByteArray presentCodec()
{
    return QTextCodec::codecForLocale()->name();
}

/// The handlers of the signals.
QVector<void (*)(int)> presentHandlers()
{
    QVector<void (*)(int)> handlers;
    for (const int number : signalNumbers) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        handlers += action.sa_handler;
    }
    return handlers;
}

void handle(int number)
{
    Q_UNUSED(number)
}
}

class HelperSurroundingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void areTheHelpersForAWhile();
};

void HelperSurroundingsTest::areTheHelpersForAWhile()
{
    const ScopedLatin1 latin1;
    const ScopedVariable path("PATH", "/nowhere");
    const ScopedVariable secret("SECRET", "\xff");
    const mode_t mask = umask(S_IRWXG | S_IRWXO);
    struct sigaction action = {};
    action.sa_handler = handle;
    sigaction(SIGINT, &action, nullptr);
    const QByteArray codec = presentCodec();
    const QVector<void (*)(int)> handlers = presentHandlers();
    const QStringList environment = QProcessEnvironment::systemEnvironment().toStringList();

    {
        const HelperSurroundings surroundings;
        QCOMPARE(presentCodec(), QByteArray("UTF-8"));
        QCOMPARE(QProcessEnvironment::systemEnvironment().toStringList(),
                 QStringList({QStringLiteral("DEBIAN_FRONTEND=noninteractive"),
                              QStringLiteral("LC_ALL=C.UTF-8"),
                              QStringLiteral("PATH=/usr/sbin:/usr/bin:/sbin:/bin")}));
        QCOMPARE(helperEnvironment(), QProcessEnvironment::systemEnvironment());
        QCOMPARE(presentMask(), mode_t{S_IWGRP | S_IWOTH});
        QCOMPARE(presentHandlers(), QVector<void (*)(int)>(3, SIG_IGN));
    }

    QCOMPARE(presentCodec(), codec);
    QCOMPARE(QProcessEnvironment::systemEnvironment().toStringList(), environment);
    QCOMPARE(qgetenv("SECRET"), QByteArray("\xff"));
    QCOMPARE(presentMask(), mode_t{S_IRWXG | S_IRWXO});
    QCOMPARE(presentHandlers(), handlers);
    umask(mask);
}

QTEST_GUILESS_MAIN(HelperSurroundingsTest)
#include "HelperSurroundingsTest.moc"
