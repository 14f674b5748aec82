// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the installation puts on a machine, as the bus and polkit understand it.

#include "HelperId.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QTest>

#include <algorithm>

namespace
{
/// Whether it was dpkg that installed the system, and not cmake.
bool byPackages()
{
    static const bool owned = runAs(root, "dpkg-query -S /usr/bin/accountpolicyctl").exitCode == 0;
    return owned;
}

/// As ls(1) has them: permissions, owner and group, path.
QByteArrayList installedFiles()
{
    const QByteArray program = "-rwxr-xr-x 0 0 ";
    const QByteArray data = "-rw-r--r-- 0 0 ";
    // packages have theirs compressed
    const QByteArray page = byPackages() ? ".gz" : "";
    QByteArrayList files{
        program + helperFile,
        program + "/usr/bin/accountpolicyctl",
        data + "/etc/apparmor.d/accountpolicieshelper",
        data + "/usr/share/dbus-1/system-services/" + helperId + ".service",
        data + "/usr/share/dbus-1/system.d/" + helperId + ".conf",
        data + "/usr/share/man/man1/accountpolicyctl.1" + page,
        data + "/usr/share/man/man8/accountpolicieshelper.8" + page,
        data + "/usr/share/accountpolicyctl/accountpolicies.schema.json",
        data + "/usr/share/accountpolicyctl/baselines/server.json",
        data + "/usr/share/accountpolicyctl/baselines/workstation.json",
        data + "/usr/share/bash-completion/completions/accountpolicyctl",
        data + "/usr/share/zsh/vendor-completions/_accountpolicyctl",
        data + "/usr/share/fish/vendor_completions.d/accountpolicyctl.fish",
        data + "/usr/lib/systemd/system/accountpolicieshelper.service",
        data + "/usr/share/pam-configs/accountpolicies-faillock",
        data + "/usr/share/pam-configs/accountpolicies-faillock-preauth",
        data + "/usr/share/pam-configs/accountpolicies-pwhistory",
        data + "/usr/share/polkit-1/actions/" + helperId + ".policy",
        program + "/usr/libexec/accountpoliciesd",
        data + "/usr/lib/systemd/system/accountpoliciesd.service",
        data + "/usr/share/dbus-1/interfaces/org.accountpolicies.Modules1.xml",
        data + "/usr/share/dbus-1/system-services/org.accountpolicies.Modules1.service",
        data + "/usr/share/dbus-1/system.d/org.accountpolicies.Modules1.conf",
        data + "/usr/share/man/man8/accountpoliciesd.8" + page,
        data + "/usr/share/polkit-1/actions/org.accountpolicies.modules1.policy",
    };
    std::sort(files.begin(), files.end());
    return files;
}

/// What came since the sandbox began, or what dpkg has of our packages but for the documentation that every package has;
/// by the paths that /lib leads to.
QByteArrayList foundFiles()
{
    const QString list = byPackages()
        ? QStringLiteral("for path in $(dpkg -L accountpolicies-helper accountpolicies-ctl accountpolicies-common "
                         "accountpolicies-service); do\n"
                         "[ -d $path ] || realpath $path\n"
                         "done | sed '/^.usr.share.doc.accountpolicies-/d'")
        : QStringLiteral("find /usr /etc /var -cnewer /run/accountpolicies-sandbox -type f -path '*ccountpolic*'");
    const ProgramResult found =
        runAs(root,
              QStringLiteral("sh"),
              {QStringLiteral("-ec"), QStringLiteral("{ %1; } | xargs stat --format '%A %u %g %n'").arg(list)});
    QByteArrayList files = (found.standardOutput + found.standardError).trimmed().split('\n');
    std::sort(files.begin(), files.end());
    return files;
}

/// What pkaction says of an action, apart from its texts: the same answer for every kind of session.
QByteArray answers(const QByteArray &all)
{
    return "  implicit any:      " + all + "\n  implicit inactive: " + all + "\n  implicit active:   " + all + '\n';
}

QByteArray nameOf(const QByteArray &verb, const QByteArray &policy)
{
    return QByteArray(helperId) + '.' + verb + policy + "policy";
}

/// The action of the row's policy.
QByteArray nameOf(const QByteArray &verb)
{
    return nameOf(verb, QTest::currentDataTag());
}

/// Who is allowed to write this policy is allowed to write the others, too.
QByteArray impliedByWriting(const QByteArray &policy)
{
    QByteArrayList others;
    for (const char *other : {"accountslockout", "passwordcomplexity", "passwordexpiration"}) {
        if (other != policy) {
            others += nameOf("write", other);
        }
    }
    return "  annotation:        org.freedesktop.policykit.imply -> " + others.join(' ') + '\n';
}
}

class InstallationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void installsJustTheseFiles();
    void bringsProfileThatTheParserTakes();
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

void InstallationTest::installsJustTheseFiles()
{
    QCOMPARE(foundFiles(), installedFiles());
}

void InstallationTest::bringsProfileThatTheParserTakes()
{
    const ProgramResult names =
        runAs(root, "apparmor_parser --skip-kernel-load --skip-cache --names /etc/apparmor.d/accountpolicieshelper");
    QCOMPARE(names.standardOutput, QByteArray("accountpolicieshelper\n"));
    QCOMPARE(names.exitCode, 0);

    // as the unit names it; where there is no AppArmor, or the profile isn't loaded, the helper starts all the same
    QCOMPARE(runAs(root, "grep ^AppArmorProfile= /usr/lib/systemd/system/accountpolicieshelper.service").standardOutput,
             QByteArray("AppArmorProfile=-accountpolicieshelper\n"));
}

void InstallationTest::tellsPolkitWhoMayDoWhat_data()
{
    QTest::addColumn<QByteArray>("subject");
    QTest::addColumn<QByteArray>("consequence");
    QTest::newRow("accountslockout") << QByteArray("account lockout")
                                     << QByteArray("when accounts are locked after failed logins");
    QTest::newRow("passwordcomplexity") << QByteArray("password complexity")
                                        << QByteArray("which passwords are allowed");
    QTest::newRow("passwordexpiration") << QByteArray("password expiration")
                                        << QByteArray("when passwords and accounts of new users expire");
}

void InstallationTest::tellsPolkitWhoMayDoWhat()
{
    QFETCH(QByteArray, subject);
    QFETCH(QByteArray, consequence);
    const auto told = [&](const QByteArray &verb) {
        return runAs(nobody, ("pkaction --verbose --action-id " + nameOf(verb)).constData());
    };
    const auto expected = [&](const QByteArray &verb, const QByteArray &description, const QByteArray &answered) {
        return ProgramResult(
            {0,
             nameOf(verb) + ":\n  description:       " + description + " the " + subject
                 + " policy\n  message:           Authentication is required to " + description.toLower() + ' '
                 + consequence
                 + "\n  vendor:            Account Policies Helper\n  vendor_url:        \n  icon:              \n"
                 + answered,
             {}});
    };

    QCOMPARE(told("read"), expected("read", "Read", answers("yes") + '\n'));
    QCOMPARE(
        told("write"),
        expected("write", "Change", answers("auth_admin_keep") + impliedByWriting(QTest::currentDataTag()) + '\n'));
}

void InstallationTest::registersNoOtherAction()
{
    const ProgramResult told = runAs(nobody, "pkaction");

    QCOMPARE(told.exitCode, 0);
    QCOMPARE(told.standardOutput.count(QByteArray(helperId) + '.'), 6);
}

void InstallationTest::namesTheHelperToTheBus()
{
    const QByteArray service = QByteArray("/usr/share/dbus-1/system-services/") + helperId + ".service";
    QCOMPARE(runAs(root, ("grep -v -e ^$ -e ^# " + service).constData()),
             ProgramResult({0,
                            QByteArray("[D-BUS Service]\nName=") + helperId + "\nExec=" + helperFile
                                + "\nUser=root\nSystemdService=accountpolicieshelper.service\n",
                            {}}));
    QCOMPARE(linesWith("BusName=", "/usr/lib/systemd/system/accountpolicieshelper.service"),
             QByteArrayList{QByteArray("BusName=") + helperId});
}

void InstallationTest::letsNobodyButRootOwnTheName()
{
    const QByteArray request = QByteArray("dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus "
                                          "/org/freedesktop/DBus org.freedesktop.DBus.RequestName string:")
        + helperId + " uint32:4";
    const ProgramResult ofNobody = runAs(nobody, request.constData());

    QCOMPARE(ofNobody.exitCode, 1);
    QVERIFY2(ofNobody.standardError.startsWith("Error org.freedesktop.DBus.Error.AccessDenied: "),
             ofNobody.standardError.constData());
    QCOMPARE(runAs(root, request.constData()), ProgramResult({0, "   uint32 1\n", {}}));
}

void InstallationTest::refusesHelperWithoutBus()
{
    const QByteArray start = QByteArray("env DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/no-such-bus ") + helperFile;

    QVERIFY(runAs(root, start.constData()).exitCode > 0);
}

QTEST_GUILESS_MAIN(InstallationTest)
#include "InstallationTest.moc"
