// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the policies for new passwords do, once they are written: passwords are changed by real modules.

#include "policies/modules/ModuleWriting.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"

#include <QTest>

namespace
{
using Switch = ModuleWish::Switch;

QString written(const ModulePolicy &policy, const QVariantMap &values, Switch profiles = Switch::On)
{
    return writeModule(policy, {values, profiles, false}).reason;
}

bool takes(const char *password)
{
    const QByteArray typed = QByteArray(password) + '\n';
    return runAs(root, "pamtester passwd tester chauthtok", typed + typed).exitCode == 0;
}
}

class PasswordChangesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void remembersPasswords();
    void takesPasswordsByQuality_data();
    void takesPasswordsByQuality();
    void givesWayToLibrarysOwnFile();
};

void PasswordChangesTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    const QString profile = QStringLiteral("/accountpolicies-pwhistory");
    writeContent(QLatin1String("/usr/share/pam-configs") + profile,
                 contentOf(QLatin1String(SOURCES "/profiles") + profile));
    QCOMPARE(runAs(root, "useradd tester").exitCode, 0);
}

void PasswordChangesTest::init()
{
    QCOMPARE(written(pwhistoryPolicy(), {}, Switch::Off), QString());
    QCOMPARE(written(pwqualityPolicy(), {}), QString());
}

void PasswordChangesTest::remembersPasswords()
{
    QCOMPARE(
        written(pwhistoryPolicy(), {{QStringLiteral("remember"), 2LL}, {QStringLiteral("enforce_for_root"), true}}),
        QString());

    for (const char *password : {"First-Gh7-one", "Second-Kt4-two", "Third-Wz9-three"}) {
        QVERIFY2(takes(password), password);
    }
    QVERIFY(!takes("Second-Kt4-two"));
    QVERIFY(takes("First-Gh7-one"));
}

void PasswordChangesTest::takesPasswordsByQuality_data()
{
    const Rows<QString, QVariant, QByteArray, QByteArray> row("setting", "value", "refused", "taken");
    row("by length", QStringLiteral("minlen"), 14LL, "Kq7-vReld2Mx", "Kq7-vReld2MxWt5");
    row("by classes", QStringLiteral("minclass"), 3LL, "kqvzreldmxwt", "kqvz-reldMxwt");
    row("by digits", QStringLiteral("dcredit"), -2LL, "Kqv-zReld2Mx", "Kqv-zReld27x");
    row("by words", QStringLiteral("dictcheck"), true, "password1", "Kqv-zReld2Mx");
    row("by repetition", QStringLiteral("maxrepeat"), 2LL, "Kqv-zzzeld2Mx", "Kqv-zzeld2Mx");
    row("by the account's name", QStringLiteral("usercheck"), true, "Kqv-tester-2Mx", "Kqv-zReld2Mx");
}

void PasswordChangesTest::takesPasswordsByQuality()
{
    QFETCH(const QString, setting);
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, refused);
    QFETCH(const QByteArray, taken);
    QCOMPARE(written(pwqualityPolicy(), {{setting, value}, {QStringLiteral("enforce_for_root"), true}}), QString());

    QVERIFY(!takes(refused.constData()));
    QVERIFY(takes(taken.constData()));
}

void PasswordChangesTest::givesWayToLibrarysOwnFile()
{
    QCOMPARE(written(pwqualityPolicy(), {{QStringLiteral("minlen"), 16LL}, {QStringLiteral("enforce_for_root"), true}}),
             QString());
    QVERIFY(!takes("Kq7-vReld2Mx"));

    const QByteArray file = contentOf("/etc/security/pwquality.conf");
    writeContent("/etc/security/pwquality.conf", file + "minlen = 10\n");
    QVERIFY(takes("Kq7-vReld2Mx"));
    writeContent("/etc/security/pwquality.conf", file);
}

QTEST_GUILESS_MAIN(PasswordChangesTest)
#include "PasswordChangesTest.moc"
