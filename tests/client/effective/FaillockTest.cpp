// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Faillock.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TextRows.h"

#include <QTest>

class FaillockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void reads_data();
    void reads();
    void needsLineThatCounts_data();
    void needsLineThatCounts();
};

void FaillockTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void FaillockTest::reads_data()
{
    // a file, "|" and the options of the line; "/" stands for a line end
    addTextRows(R"(
| => deny 3, fail_interval 900, unlock_time 600
deny=4/fail_interval = 60/ unlock_time\t=\t0 | => deny 4, fail_interval 60, unlock_time never
deny = 4/deny = 5 | => deny 5, fail_interval 900, unlock_time 600
# deny = 4/fail_interval = 61 # deny = 5 | => deny 3, fail_interval 61, unlock_time 600
deny = 65535/unlock_time = 604800 | => deny 65535, fail_interval 900, unlock_time 604800
fail_interval = 604801/unlock_time = 604801 | => deny 3, fail_interval 900, unlock_time 600
deny = 65541/fail_interval == 5 | => deny 5, fail_interval 900, unlock_time 600
deny 2x/DENY = 9/deny = x | => deny 2, fail_interval 900, unlock_time 600
deny = -1/fail_interval = x/unlock_time = -1 | => deny 65535, fail_interval 900, unlock_time 600
unlock_time = never/fail_interval = never | => deny 3, fail_interval 900, unlock_time never
fail_interval = 0 | => deny 3, fail_interval 0, unlock_time 600
even_deny_root/silent/audit/root_unlock_time = 60 | => deny 3, fail_interval 900, unlock_time 600, even_deny_root yes, root_unlock_time 60
admin_group = wheel | => deny 3, fail_interval 900, unlock_time 600, admin_group wheel
deny = 4/unlock_time = 60 | deny=5 => deny 5, fail_interval 900, unlock_time 60
deny = 4 | deny=x => deny 4, fail_interval 900, unlock_time 600
)");
}

void FaillockTest::reads()
{
    QFETCH(QString, input);
    const QStringList parts = input.split(QLatin1String("|"));
    QString file = parts.first();
    writeContent("/etc/security/faillock.conf",
                 file.replace(QLatin1String("/"), QLatin1String("\n"))
                     .replace(QLatin1String("\\t"), QLatin1String("\t"))
                     .toUtf8());
    writeContent("/etc/pam.d/common-auth",
                 "auth required pam_faillock.so authfail" + parts.last().toUtf8()
                     + "\nauth required pam_faillock.so authsucc deny=9\n");

    QTEST(faillockText(faillockRules()).section(QLatin1String(": "), 1), "result");
}

void FaillockTest::needsLineThatCounts_data()
{
    QTest::addColumn<QByteArray>("stack");
    QTest::addColumn<bool>("locks");
    QTest::newRow("only counts") << QByteArray("auth required pam_faillock.so authfail\n") << false;
    QTest::newRow("second line counts") << QByteArray(
        "auth required pam_faillock.so preauth\nauth [default=die] pam_faillock.so authfail\n")
                                        << true;
    QTest::newRow("only looks") << QByteArray("auth required pam_faillock.so preauth\n") << false;
    QTest::newRow("nothing is too much") << QByteArray(
        "auth required pam_faillock.so preauth deny=0\nauth required pam_faillock.so authfail deny=0\n")
                                         << false;
    QTest::newRow("not for logins") << QByteArray("account required pam_faillock.so authfail\n") << false;
    QTest::newRow("comment") << QByteArray("# auth required pam_faillock.so authfail\n") << false;
}

void FaillockTest::needsLineThatCounts()
{
    QFETCH(QByteArray, stack);
    writeContent("/etc/pam.d/common-auth", stack);

    const FaillockRules rules = faillockRules();

    QTEST(rules.locks, "locks");
    QCOMPARE(rules.settings.isEmpty(), !rules.locks);
}

QTEST_GUILESS_MAIN(FaillockTest)
#include "FaillockTest.moc"
