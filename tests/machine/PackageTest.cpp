// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The Debian packages as files, and what installing and removing them does to a machine.

#include "tests/machine/Machine.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int root = 0;

QStringList packagesIn(const QString &folder)
{
    return QDir(machineFolder() + QLatin1Char('/') + folder)
        .entryList({QStringLiteral("*.deb")}, QDir::Files, QDir::Name);
}

QByteArray described(const ProgramResult &result)
{
    return QByteArray::number(result.exitCode) + ": " + result.standardOutput + result.standardError;
}

/// Everything on the machine with its kind, mode, owner, and content; less what dpkg, apt and their logs remember.
QByteArrayList treeOf(const MachineRoot &machine)
{
    const QString find = QStringLiteral("find / -xdev \\( -path /proc -o -path /sys -o -path /run -o -path /tmp -o "
                                        "-path /root -o -path /var/lib/dpkg -o "
                                        "-path /var/lib/apt -o -path /var/cache -o -path /var/log \\) -prune -o ");
    const ProgramResult listed =
        machine.run(find + QStringLiteral("-printf '%p %y %m %U:%G %l\\n'; ") + find
                    + QStringLiteral("-type f -exec sha256sum '{}' + | sed 's/\\(.*\\)  \\(.*\\)/\\2 \\1/'"));
    return listed.standardOutput.split('\n');
}

QByteArrayList missingIn(const QByteArrayList &others, const QByteArrayList &lines, const char *mark)
{
    const QSet<QByteArray> known(others.cbegin(), others.cend());
    QByteArrayList missing;
    for (const QByteArray &line : lines) {
        if (!known.contains(line)) {
            missing += mark + line;
        }
    }
    return missing;
}

QByteArrayList difference(const QByteArrayList &before, const QByteArrayList &after)
{
    return missingIn(after, before, "- ") + missingIn(before, after, "+ ");
}

QByteArrayList pathsOf(const QByteArrayList &lines)
{
    QByteArrayList paths;
    for (const QByteArray &line : lines) {
        paths += line.left(line.indexOf(' ', 2));
    }
    return paths;
}

void copyPackages(const MachineRoot &machine)
{
    for (const QString &folder : {QStringLiteral("old"), QStringLiteral("packages")}) {
        QDir().mkpath(machine.file(QLatin1String("/root/") + folder));
        for (const QString &package : packagesIn(folder).filter(QRegularExpression(QStringLiteral("^(?!.*dbgsym)")))) {
            QVERIFY(QFile::copy(machineFolder() + QLatin1Char('/') + folder + QLatin1Char('/') + package,
                                machine.file(QStringLiteral("/root/%1/%2").arg(folder, package))));
        }
    }
}

QString install(const QString &folder)
{
    return QStringLiteral("apt-get -q -y install /root/%1/*.deb >/dev/null 2>/root/errors || cat /root/errors")
        .arg(folder);
}

/// The programs that the packages install.
QStringList programs(const MachineRoot &machine)
{
    return {machine.file(QStringLiteral("/usr/bin/accountpolicyctl")),
            machine.file(QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper"))};
}
}

class PackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pleasesLintian();
    void isBuiltReproducibly();
    void hardensPrograms();
    void addsOnlyItsFiles();
    void leavesNothingBehind();
    void leavesWhatTheAdministratorSet();
    void bringsManualPagesAndUnit();
};

void PackageTest::pleasesLintian()
{
    const QString changes =
        QStringLiteral("%1/packages/accountpolicies-helper_0.1.0_amd64.changes").arg(machineFolder());

    const ProgramResult lintian =
        runAs(root, QStringLiteral("lintian"), {QStringLiteral("--allow-root"), QStringLiteral("--pedantic"), changes});

    QCOMPARE(described(lintian), QByteArray("0: "));
}

void PackageTest::isBuiltReproducibly()
{
    const QStringList packages = packagesIn(QStringLiteral("packages"));
    QCOMPARE(packages,
             QStringList({QStringLiteral("accountpolicies-ctl-dbgsym_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-ctl_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-helper-dbgsym_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-helper_0.1.0_amd64.deb")}));
    for (const QString &package : packages) {
        const QByteArray first = contentOf(machineFolder() + QStringLiteral("/packages/") + package);
        const QByteArray second = contentOf(machineFolder() + QStringLiteral("/packages-2/") + package);
        QVERIFY2(!first.isEmpty() && first == second, qPrintable(package));
    }
}

void PackageTest::hardensPrograms()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);
    for (const QString &program : programs(machine)) {
        const ProgramResult read = runAs(root,
                                         QStringLiteral("readelf"),
                                         {QStringLiteral("--wide"),
                                          QStringLiteral("-h"),
                                          QStringLiteral("-l"),
                                          QStringLiteral("-d"),
                                          QStringLiteral("--dyn-syms"),
                                          program});
        QCOMPARE(read.exitCode, 0);
        QVERIFY(read.standardOutput.contains("DYN (Position-Independent Executable file)"));
        QVERIFY(read.standardOutput.contains("GNU_RELRO"));
        QVERIFY(QRegularExpression(QStringLiteral("FLAGS_1\\) +Flags: NOW PIE"))
                    .match(QString::fromLatin1(read.standardOutput))
                    .hasMatch());
        QVERIFY(QRegularExpression(QStringLiteral("GNU_STACK .* RW "))
                    .match(QString::fromLatin1(read.standardOutput))
                    .hasMatch());
        QVERIFY(read.standardOutput.contains("__stack_chk_fail"));
    }
    int compilations = 0;
    for (const QByteArray &line : contentOf(machineFolder() + QStringLiteral("/packages/build.log")).split('\n')) {
        if (line.contains("/c++ ") && line.contains(" -c ")) {
            ++compilations;
            QVERIFY2(line.contains(" -D_FORTIFY_SOURCE=2 ") && line.contains(" -fstack-protector-strong "),
                     line.constData());
        }
    }
    QVERIFY(compilations > 50);
}

void PackageTest::addsOnlyItsFiles()
{
    const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine);
    const QByteArrayList before = treeOf(machine);

    QCOMPARE(described(machine.run(install(QStringLiteral("packages")))), QByteArray("0: "));

    QByteArrayList expected;
    for (const QByteArray &path :
         machine.run(QStringLiteral("dpkg -L accountpolicies-helper accountpolicies-ctl | sort -u"))
             .standardOutput.split('\n')) {
        if (!path.isEmpty() && path != "/.") {
            expected += "+ " + path;
        }
    }
    QVERIFY(expected.contains("+ /usr/bin/accountpolicyctl"));
    for (const QByteArray &path : pathsOf(difference(before, treeOf(machine)))) {
        // paths through /lib are listed where they lead to
        QVERIFY2(expected.contains(path) || expected.contains(QByteArray(path).replace("+ /usr/lib/", "+ /lib/")),
                 path.constData());
    }
}

void PackageTest::leavesNothingBehind()
{
    const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine);
    const QByteArrayList before = treeOf(machine);
    QVERIFY(before.size() > 5000);

    QCOMPARE(described(machine.run(install(QStringLiteral("old")))), QByteArray("0: "));
    QVERIFY(QFile::exists(machine.file(QStringLiteral("/usr/share/accountpolicyctl/accountpolicies-ctl.old"))));
    QCOMPARE(described(machine.run(install(QStringLiteral("packages")))), QByteArray("0: "));
    QVERIFY(!QFile::exists(machine.file(QStringLiteral("/usr/share/accountpolicyctl/accountpolicies-ctl.old"))));
    QCOMPARE(described(machine.run(
                 QStringLiteral("dpkg-query -W -f '${Package} ${Version} ${Status}\\n' 'accountpolicies-*'"))),
             QByteArray("0: accountpolicies-ctl 0.1.0 install ok installed\n"
                        "accountpolicies-helper 0.1.0 install ok installed\n"));

    QCOMPARE(machine.run(QStringLiteral("apt-get -q -y remove accountpolicies-helper")).exitCode, 0);
    QCOMPARE(difference(before, treeOf(machine)), QByteArrayList());

    QCOMPARE(described(machine.run(install(QStringLiteral("packages")))), QByteArray("0: "));
    QCOMPARE(machine.run(QStringLiteral("apt-get -q -y purge accountpolicies-helper accountpolicies-ctl")).exitCode, 0);
    QCOMPARE(difference(before, treeOf(machine)), QByteArrayList());
}

void PackageTest::leavesWhatTheAdministratorSet()
{
    QByteArrayList before;
    {
        const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
        before = treeOf(machine);
    }
    Machine machine;
    copyPackages(machine.root());
    QCOMPARE(machine.run(QStringLiteral("accountpolicyctl set expiration maxInterval=90")).exitCode, 0);

    QCOMPARE(machine.run(QStringLiteral("apt-get -q -y purge accountpolicies-helper accountpolicies-ctl")).exitCode, 0);

    // a helper that is still running quits by itself
    QTRY_COMPARE_WITH_TIMEOUT(
        described(machine.run(QStringLiteral("pgrep -x accountpolicies"))), QByteArray("1: "), 20000);

    QByteArrayList changed;
    for (const QByteArray &path : pathsOf(difference(before, treeOf(machine.root())))) {
        if (path.contains("/login.defs") || path.contains("ccountpolic") || path.contains("/default/useradd")) {
            changed += path;
        }
    }
    std::sort(changed.begin(), changed.end());
    changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
    QCOMPARE(changed,
             QByteArrayList(
                 {"+ /etc/default/useradd.bak", "+ /etc/login.defs", "+ /etc/login.defs.bak", "- /etc/login.defs"}));
    QCOMPARE(machine.run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs")).standardOutput,
             QByteArray("PASS_MAX_DAYS 90\n"));
}

void PackageTest::bringsManualPagesAndUnit()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);

    QCOMPARE(machine.run(QStringLiteral("man 1 accountpolicyctl >/dev/null && man 8 accountpolicieshelper >/dev/null"))
                 .exitCode,
             0);
    QVERIFY(QFile::exists(machine.file(QStringLiteral("/lib/systemd/system/accountpolicieshelper.service"))));
}

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
