// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the installation puts on a machine, as the bus and polkit understand it.

#include "HelperId.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

namespace
{
constexpr int root = 0;

QString id()
{
    return QLatin1String(helperId);
}

/// What pkaction says of an action, apart from its texts: the three answers for a session that is any, inactive, active.
QByteArray answers(const char *any, const char *inactive, const char *active)
{
    return QByteArray("  implicit any:      ") + any + "\n  implicit inactive: " + inactive
        + "\n  implicit active:   " + active + "\n\n";
}
}

class InstallationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void installsJustTheseFiles_data();
    void installsJustTheseFiles();
    void installsNothingElse();
    void tellsPolkitWhoMayDoWhat_data();
    void tellsPolkitWhoMayDoWhat();
    void registersNoOtherAction();
    void namesTheHelperToTheBus();
    void letsNobodyButRootOwnTheName();
    void refusesHelperWithoutBus();
};

void InstallationTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void InstallationTest::installsJustTheseFiles_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("permissions");

    const int program = 0x7755;
    const int data = 0x6644;
    QTest::newRow("helper") << "/usr/lib/kauth/libexec/accountpolicieshelper" << program;
    QTest::newRow("client") << "/usr/bin/accountpolicyctl" << program;
    QTest::newRow("bus service") << QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id()) << data;
    QTest::newRow("bus policy") << QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id()) << data;
    QTest::newRow("manual page of the client") << "/usr/share/man/man1/accountpolicyctl.1" << data;
    QTest::newRow("manual page of the helper") << "/usr/share/man/man8/accountpolicieshelper.8" << data;
    QTest::newRow("schema of documents") << "/usr/share/accountpolicyctl/accountpolicies.schema.json" << data;
    QTest::newRow("completion for bash") << "/usr/share/bash-completion/completions/accountpolicyctl" << data;
    QTest::newRow("completion for zsh") << "/usr/share/zsh/vendor-completions/_accountpolicyctl" << data;
    QTest::newRow("completion for fish") << "/usr/share/fish/vendor_completions.d/accountpolicyctl.fish" << data;
    QTest::newRow("unit") << "/usr/lib/systemd/system/accountpolicieshelper.service" << data;
    QTest::newRow("polkit actions") << QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id()) << data;
}

void InstallationTest::installsJustTheseFiles()
{
    QFETCH(QString, path);
    QFETCH(int, permissions);
    const QFileInfo file(path);

    QVERIFY(file.isFile());
    QCOMPARE(file.ownerId(), 0U);
    QCOMPARE(file.groupId(), 0U);
    QCOMPARE(static_cast<int>(file.permissions()), permissions);
}

void InstallationTest::installsNothingElse()
{
    const ProgramResult found = runAs(root,
                                      QStringLiteral("find"),
                                      {QStringLiteral("/usr"),
                                       QStringLiteral("/etc"),
                                       QStringLiteral("/var"),
                                       QStringLiteral("-cnewer"),
                                       QStringLiteral("/run/accountpolicies-sandbox"),
                                       QStringLiteral("-type"),
                                       QStringLiteral("f"),
                                       QStringLiteral("-path"),
                                       QStringLiteral("*ccountpolic*")});
    QCOMPARE(found.exitCode, 0);
    QCOMPARE(found.standardOutput.count(QByteArray("\n")), 12);
}

void InstallationTest::tellsPolkitWhoMayDoWhat_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("answered");

    const QByteArray open = answers("yes", "yes", "yes");
    const QByteArray guarded = answers("auth_admin", "auth_admin", "auth_admin_keep");
    QTest::newRow("read lockout")
        << "readaccountslockoutpolicy" << QByteArray("Read the account lockout policy")
        << QByteArray("Authentication is required to read when accounts are locked after failed logins") << open;
    QTest::newRow("write lockout")
        << "writeaccountslockoutpolicy" << QByteArray("Change the account lockout policy")
        << QByteArray("Authentication is required to change when accounts are locked after failed logins") << guarded;
    QTest::newRow("read complexity") << "readpasswordcomplexitypolicy"
                                     << QByteArray("Read the password complexity policy")
                                     << QByteArray("Authentication is required to read which passwords are allowed")
                                     << open;
    QTest::newRow("write complexity") << "writepasswordcomplexitypolicy"
                                      << QByteArray("Change the password complexity policy")
                                      << QByteArray("Authentication is required to change which passwords are allowed")
                                      << guarded;
    QTest::newRow("read expiration")
        << "readpasswordexpirationpolicy" << QByteArray("Read the password expiration policy")
        << QByteArray("Authentication is required to read when passwords and accounts of new users expire") << open;
    QTest::newRow("write expiration")
        << "writepasswordexpirationpolicy" << QByteArray("Change the password expiration policy")
        << QByteArray("Authentication is required to change when passwords and accounts of new users expire")
        << guarded;
}

void InstallationTest::tellsPolkitWhoMayDoWhat()
{
    QFETCH(QString, action);
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, answered);
    const QString name = id() + QLatin1Char('.') + action;

    const ProgramResult told =
        runAs(nobody, QStringLiteral("pkaction"), {QStringLiteral("--verbose"), QStringLiteral("--action-id"), name});

    QCOMPARE(told.exitCode, 0);
    QCOMPARE(told.standardOutput,
             name.toLatin1() + ":\n  description:       " + description + "\n  message:           " + message
                 + "\n  vendor:            Account Policies Helper\n  vendor_url:        \n  icon:              \n"
                 + answered);
}

void InstallationTest::registersNoOtherAction()
{
    const ProgramResult told = runAs(nobody, QStringLiteral("pkaction"), {});

    QCOMPARE(told.exitCode, 0);
    QCOMPARE(told.standardOutput.count(QByteArray(helperId) + '.'), 6);
}

void InstallationTest::namesTheHelperToTheBus()
{
    QByteArrayList lines;
    for (const QByteArray &line :
         contentOf(QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id())).split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#')) {
            lines += line;
        }
    }
    QCOMPARE(lines,
             QByteArrayList({"[D-BUS Service]",
                             "Name=" + QByteArray(helperId),
                             "Exec=/usr/lib/kauth/libexec/accountpolicieshelper",
                             "User=root",
                             "SystemdService=accountpolicieshelper.service"}));
    QVERIFY(contentOf(QStringLiteral("/usr/lib/systemd/system/accountpolicieshelper.service"))
                .contains("\nBusName=" + QByteArray(helperId) + '\n'));
}

void InstallationTest::letsNobodyButRootOwnTheName()
{
    const QStringList request{QStringLiteral("--system"),
                              QStringLiteral("--print-reply=literal"),
                              QStringLiteral("--dest=org.freedesktop.DBus"),
                              QStringLiteral("/org/freedesktop/DBus"),
                              QStringLiteral("org.freedesktop.DBus.RequestName"),
                              QStringLiteral("string:") + id(),
                              QStringLiteral("uint32:4")};
    const ProgramResult ofNobody = runAs(nobody, QStringLiteral("dbus-send"), request);
    const ProgramResult ofRoot = runAs(root, QStringLiteral("dbus-send"), request);

    QCOMPARE(ofNobody.exitCode, 1);
    QVERIFY2(ofNobody.standardError.startsWith("Error org.freedesktop.DBus.Error.AccessDenied: "),
             ofNobody.standardError.constData());
    QCOMPARE(ofRoot.exitCode, 0);
    QCOMPARE(ofRoot.standardOutput.trimmed(), QByteArray("uint32 1"));
}

void InstallationTest::refusesHelperWithoutBus()
{
    const ProgramResult started = runAs(root,
                                        QStringLiteral("env"),
                                        {QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/no-such-bus"),
                                         QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper")});

    QVERIFY(started.exitCode > 0);
}

QTEST_GUILESS_MAIN(InstallationTest)
#include "InstallationTest.moc"
