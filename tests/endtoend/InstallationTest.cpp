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
#include <QVector>

#include <algorithm>

namespace
{
QString id()
{
    return QLatin1String(helperId);
}

/// Whether it was dpkg that installed the system, and not cmake.
bool byPackages()
{
    static const bool owned =
        runAs(root, QStringLiteral("dpkg-query"), {QStringLiteral("-S"), QStringLiteral("/usr/bin/accountpolicyctl")})
            .exitCode
        == 0;
    return owned;
}

struct InstalledFile {
    const char *what;
    QString path;
    int permissions;
};

QVector<InstalledFile> installedFiles()
{
    const int program = 0x7755;
    const int data = 0x6644;
    // packages have theirs compressed
    const QString page = byPackages() ? QStringLiteral(".gz") : QString();
    return {
        {"helper", QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper"), program},
        {"client", QStringLiteral("/usr/bin/accountpolicyctl"), program},
        {"bus service", QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id()), data},
        {"bus policy", QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id()), data},
        {"manual page of the client", QStringLiteral("/usr/share/man/man1/accountpolicyctl.1") + page, data},
        {"manual page of the helper", QStringLiteral("/usr/share/man/man8/accountpolicieshelper.8") + page, data},
        {"schema of documents", QStringLiteral("/usr/share/accountpolicyctl/accountpolicies.schema.json"), data},
        {"completion for bash", QStringLiteral("/usr/share/bash-completion/completions/accountpolicyctl"), data},
        {"completion for zsh", QStringLiteral("/usr/share/zsh/vendor-completions/_accountpolicyctl"), data},
        {"completion for fish", QStringLiteral("/usr/share/fish/vendor_completions.d/accountpolicyctl.fish"), data},
        {"unit", QStringLiteral("/usr/lib/systemd/system/accountpolicieshelper.service"), data},
        {"polkit actions", QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id()), data},
    };
}

/// The sorted lines of what a shell script prints.
QByteArrayList sortedLines(const QString &script)
{
    const ProgramResult result = runAs(root, QStringLiteral("sh"), {QStringLiteral("-ec"), script});
    QByteArrayList lines = result.standardOutput.trimmed().split('\n');
    if (result.exitCode != 0) {
        lines += result.standardError;
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// What came since the sandbox began.
QByteArrayList newFiles()
{
    return sortedLines(
        QStringLiteral("find /usr /etc /var -cnewer /run/accountpolicies-sandbox -type f -path '*ccountpolic*'"));
}

/// What dpkg has of our packages but for the documentation that every package has; by the paths that /lib leads to.
QByteArrayList filesOfPackages()
{
    return sortedLines(QStringLiteral("for path in $(dpkg -L accountpolicies-helper accountpolicies-ctl); do\n"
                                      "[ -d $path ] || realpath $path\n"
                                      "done | sed '/^.usr.share.doc.accountpolicies-/d'"));
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

    for (const InstalledFile &file : installedFiles()) {
        QTest::newRow(file.what) << file.path << file.permissions;
    }
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
    QByteArrayList expected;
    for (const InstalledFile &file : installedFiles()) {
        expected += file.path.toLatin1();
    }
    std::sort(expected.begin(), expected.end());

    QCOMPARE(byPackages() ? filesOfPackages() : newFiles(), expected);
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
