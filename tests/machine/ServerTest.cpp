// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client's package without the helper's, in three places that have no system bus: a chroot, a container, and an image
// while it is built.

#include "tests/machine/Machine.h"
#include "tests/support/Files.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace
{
/// What is seen when apply-locally runs.
const char applied[] =
    "accountpolicyctl: the helper is not installed; root reads and changes the policies without it\n"
    "complexity: in force\nexpiration: in force\nstatus 0\n"
    "status 0\n"
    "1  apply /root/wanted.json\n2  apply /root/wanted.json\n"
    "note  the helper is not installed: root reads and changes policies without it, and others only read\n"
    "PASS_MAX_DAYS 90\nretry=3 minlen=12\n644\n644\n"
    "accountpolicyctl: the helper is not installed; root reads and changes the policies without it\n"
    "PASS_MAX_DAYS 99999\n";

/// Puts the client's package, the one that it needs, and the script there, and installs them as apt does; how that ended.
QByteArray installIn(const MachineRoot &machine)
{
    writeContent(machine.path("/root/apply-locally"), contentOf(QStringLiteral(MACHINE_SOURCES "/apply-locally")));
    for (const char *package : {"accountpolicies-ctl_0.1.0_amd64.deb", "accountpolicies-common_0.1.0_all.deb"}) {
        const QString name = QLatin1Char('/') + QLatin1String(package);
        writeContent(machine.path("/root") + name, contentOf(machineFile(QLatin1String("packages") + name)));
    }
    return machine.run("apt-get -q -y --no-install-recommends install /root/*.deb >/root/log 2>&1 || cat /root/log");
}
}

class ServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appliesInAChroot();
    void appliesInAContainer();
    void appliesInAnImage();
};

void ServerTest::appliesInAChroot()
{
    const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
    QCOMPARE(installIn(machine), QByteArray("0: "));

    QCOMPARE(machine.run("sh /root/apply-locally"), QByteArray("0: ") + applied);
}

void ServerTest::appliesInAContainer()
{
    const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
    QCOMPARE(installIn(machine), QByteArray("0: "));

    const ProgramResult seen =
        runAs(root,
              QStringLiteral("systemd-nspawn"),
              splitWords(QStringLiteral("--quiet --register=no --keep-unit --private-network --pipe --directory "))
                  << machine.path() << QStringLiteral("/bin/sh") << QStringLiteral("/root/apply-locally"));

    // systemd-nspawn may have something to say of its own
    QCOMPARE(seen.standardOutput, QByteArray(applied));
}

void ServerTest::appliesInAnImage()
{
    // by the script "build-image", in a hook of mmdebstrap
    QCOMPARE(contentOf(machineFile(QStringLiteral("applied-in-image"))), QByteArray(applied));
    const QStringList packages =
        QString::fromUtf8(contentOf(machineFile(QStringLiteral("packages-in-image")))).split(QLatin1Char('\n'));
    QCOMPARE(packages.filter(QStringLiteral("accountpolicies-")).size(), 2);
    const QRegularExpression desktop(QStringLiteral("kf[56]|x11|mesa|llvm|gui"),
                                     QRegularExpression::CaseInsensitiveOption);
    QCOMPARE(packages.filter(desktop), QStringList());
}

QTEST_GUILESS_MAIN(ServerTest)
#include "ServerTest.moc"
