// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client at the settings of one account.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/ClientFixture.h"
#include "tests/support/Files.h"

#include <QFile>
#include <QTest>

namespace
{
QByteArray shadowEntry()
{
    return runAs(root, QStringLiteral("getent"), {QStringLiteral("shadow"), QStringLiteral("policytester")})
        .standardOutput;
}
}

class AccountTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void bringsBackDayBehindTheCalendar();
    void readsAndSetsAccount();
    void undoesChangeOfAccount();
    void tellsThatAccountCannotBeRead();
    void tellsThatAccountCannotBeChanged();
};

void AccountTest::bringsBackDayBehindTheCalendar()
{
    QCOMPARE(runAs(root, QStringLiteral("chage"), splitWords(QStringLiteral("-E 3000000 policytester"))).exitCode, 0);
    const QByteArray before = shadowEntry();
    QVERIFY(before.contains(":3000000:"));
    QCOMPARE(client(root, QStringLiteral("set user policytester expireDate=2030-01-01")).exitCode, 0);
    QVERIFY(shadowEntry() != before);

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("user policytester: in force\n"));

    QCOMPARE(shadowEntry(), before);
}

void AccountTest::readsAndSetsAccount()
{
    QCOMPARE(
        runAs(root, QStringLiteral("chage"), splitWords(QStringLiteral("-m 1 -M 60 -W 7 -I -1 -E -1 policytester")))
            .exitCode,
        0);

    const ProgramResult set =
        client(root, QStringLiteral("set user policytester maxInterval=90 expireDate=2030-01-01"));
    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("user policytester: in force\n"));
    QCOMPARE(set.exitCode, 0);

    QCOMPARE(client(root, QStringLiteral("user policytester")).standardOutput,
             QByteArray("policytester\n"
                        "  maxInterval       90 days\n"
                        "  minInterval       1 day\n"
                        "  warningInterval   7 days\n"
                        "  inactiveInterval  not set\n"
                        "  expireDate        2030-01-01\n"));
    const QByteArray entry = shadowEntry();
    QCOMPARE(entry.mid(entry.indexOf(":1:90:")), QByteArray(":1:90:7::21915:\n"));

    QCOMPARE(
        client(root, QStringLiteral("set user policytester expireDate=never minInterval= warningInterval=-1")).exitCode,
        0);
    const QByteArray after = shadowEntry();
    QCOMPARE(after.mid(after.indexOf("::90:")), QByteArray("::90::::\n"));
}

void AccountTest::undoesChangeOfAccount()
{
    QCOMPARE(client(root, QStringLiteral("set user policytester --replace maxInterval=60")).exitCode, 0);
    QCOMPARE(client(root, QStringLiteral("set user policytester maxInterval=61")).exitCode, 0);

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("user policytester: in force\n"));

    const QByteArray entry = shadowEntry();
    QCOMPARE(entry.mid(entry.indexOf("::60:")), QByteArray("::60::::\n"));
}

void AccountTest::tellsThatAccountCannotBeRead()
{
    const QString passwd = QStringLiteral("/etc/passwd");
    const QByteArray before = contentOf(passwd);
    writeContent(passwd, QByteArray(before).replace("policytester:x:", "policytester:*:"));

    const ProgramResult shown = client(root, QStringLiteral("user policytester"));
    writeContent(passwd, before);

    QCOMPARE(shown.standardError,
             complaint("the account policytester could not be read\n"
                       "Read user password expiration policy\n"
                       "System not use /etc/shadow for this account"));
    QCOMPARE(shown.standardOutput, QByteArray());
    QCOMPARE(shown.exitCode, 1);
}

void AccountTest::tellsThatAccountCannotBeChanged()
{
    const QByteArray before = shadowEntry();
    QVERIFY(QFile::rename(QStringLiteral("/usr/bin/chage"), QStringLiteral("/usr/bin/chage.off")));

    const ProgramResult set = client(root, QStringLiteral("set user policytester --replace maxInterval=9"));
    QVERIFY(QFile::rename(QStringLiteral("/usr/bin/chage.off"), QStringLiteral("/usr/bin/chage")));

    QCOMPARE(set.standardError,
             complaint("the account policytester could not be changed\n"
                       "Update user password expiration policy\n"
                       "Process: \"chage --maxdays 9 --mindays -1 --warndays -1 --inactive -1 --expiredate -1 "
                       "policytester\". Error: 0.\n"
                       "\"Not started\""));
    QCOMPARE(set.exitCode, 1);
    QCOMPARE(shadowEntry(), before);
}

QTEST_GUILESS_MAIN(AccountTest)
#include "AccountTest.moc"
