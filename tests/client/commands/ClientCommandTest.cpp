// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ClientCommand.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QTest>

class ClientCommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void namesAllAccountsEachTime();
};

void ClientCommandTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ClientCommandTest::namesAllAccountsEachTime()
{
    writeContent(QStringLiteral("/etc/nsswitch.conf"), "passwd: files\n");
    writeContent(QStringLiteral("/etc/passwd"), "john:x:1:1::/:/bin/sh\nj\xfcrgen:x:2:2::/:/bin/sh\n");
    const ScopedLatin1 locale;
    for (int time = 0; time < 2; ++time) {
        QStringList names;
        const auto candidates = accountCandidates();
        for (const Candidate &candidate : candidates) {
            names += candidate.word + candidate.description;
        }

        QCOMPARE(names, QStringList({QStringLiteral("john"), QString::fromUtf8("j\xc3\xbcrgen")}));
    }
}

QTEST_GUILESS_MAIN(ClientCommandTest)
#include "ClientCommandTest.moc"
