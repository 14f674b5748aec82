// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The Debian packages as files, and what installing and removing them does to a machine.

#include "tests/machine/Machine.h"
#include "tests/support/Files.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>

namespace
{
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
/// A file is a line with its content's hash, and another with the rest.
QByteArrayList treeOf(const MachineRoot &machine)
{
    const QString find = QStringLiteral(
        "find / -xdev \\( -path /proc -o -path /sys -o -path /run -o -path /tmp -o "
        "-path /root -o -path /var/lib/dpkg -o "
        "-path /var/lib/apt -o -path /var/cache/apt -o -path /var/cache/man -o -path /var/log \\) -prune -o ");
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

using FileContents = QMap<QString, QByteArray>;

const QStringList stacks{QStringLiteral("/etc/pam.d/common-account"),
                         QStringLiteral("/etc/pam.d/common-auth"),
                         QStringLiteral("/etc/pam.d/common-password"),
                         QStringLiteral("/etc/pam.d/common-session"),
                         QStringLiteral("/etc/pam.d/common-session-noninteractive")};

/// The files that a policy may change, by their paths.
FileContents contentsOf(const MachineRoot &machine)
{
    FileContents contents;
    for (const QString &path : stacks
             + QStringList{QStringLiteral("/etc/login.defs"),
                           QStringLiteral("/etc/default/useradd"),
                           QStringLiteral("/usr/share/pam-configs/pwquality"),
                           QStringLiteral("/var/lib/pam/password")}) {
        contents[path] = contentOf(machine.file(path));
    }
    return contents;
}

/// What there is of them after the administrator asked for 12 characters and 80 days, then for 90 days.
FileContents filesOfTheAdministrators(const FileContents &before)
{
    // every setting is sent, so every line is written anew
    const auto loginDefs = [&before](const QByteArray &days) {
        return QByteArray(before[QStringLiteral("/etc/login.defs")])
            .replace("PASS_MAX_DAYS\t99999", "PASS_MAX_DAYS " + days)
            .replace("PASS_MIN_DAYS\t0", "PASS_MIN_DAYS 0")
            .replace("PASS_WARN_AGE\t7", "PASS_WARN_AGE 7");
    };
    const auto replaced = [&before](const char *path, const QByteArray &text, const QByteArray &by) {
        return QByteArray(before[QString::fromLatin1(path)]).replace(text, by);
    };
    const QByteArray option = "pam_pwquality.so retry=3";
    FileContents after{
        {QStringLiteral("/etc/login.defs"), loginDefs("90")},
        {QStringLiteral("/etc/login.defs.bak"), loginDefs("80")},
        {QStringLiteral("/etc/default/useradd.bak"), before[QStringLiteral("/etc/default/useradd")]},
        // rewritten lines lose their indentation
        {QStringLiteral("/usr/share/pam-configs/pwquality"),
         replaced("/usr/share/pam-configs/pwquality",
                  "\trequisite\t\t\t" + option,
                  "requisite\t\t\t" + option + " minlen=12")},
        {QStringLiteral("/var/lib/pam/password"), replaced("/var/lib/pam/password", option, option + " minlen=12")},
        {QStringLiteral("/etc/pam.d/common-password"),
         replaced("/etc/pam.d/common-password", option, option + " minlen=12")},
    };
    for (const QString &stack : stacks) {
        // of pam-auth-update
        after[stack + QStringLiteral(".pam-old")] = before[stack];
    }
    return after;
}

/// Those files as difference() tells of them, sorted.
QByteArrayList changesFrom(const FileContents &before, const FileContents &after)
{
    const auto hashed = [](const QByteArray &content) {
        return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
    };
    QByteArrayList lines;
    for (auto file = after.cbegin(); file != after.cend(); ++file) {
        const QByteArray path = file.key().toLatin1();
        lines +=
            before.contains(file.key()) ? "- " + path + ' ' + hashed(before[file.key()]) : "+ " + path + " f 644 0:0 ";
        lines += "+ " + path + ' ' + hashed(file.value());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// When the packages of a folder were built, as the builder's clock said.
QDateTime buildDate(const QString &folder)
{
    const QString file =
        QStringLiteral("%1/%2/accountpolicies-helper_0.1.0_amd64.buildinfo").arg(machineFolder(), folder);
    const QRegularExpression date(QStringLiteral("^Build-Date: (.*)$"), QRegularExpression::MultilineOption);
    return QDateTime::fromString(date.match(QString::fromUtf8(contentOf(file))).captured(1), Qt::RFC2822Date);
}

/// What the debug symbols of a package's program tell of the source files that it was made from.
QByteArray lineTables(const MachineRoot &machine, const QString &package)
{
    const QString symbols = QStringLiteral("%1/packages/%2-dbgsym_0.1.0_amd64.deb").arg(machineFolder(), package);
    const QString place = machine.file(QLatin1String("/root/symbols-of-") + package);
    const QString script = QStringLiteral("dpkg-deb -x %1 %2 && find %2 -name '*.debug' -exec readelf "
                                          "--debug-dump=rawline '{}' ';'")
                               .arg(symbols, place);
    return runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), script}).standardOutput;
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
    void fortifiesSources();
    void addsOnlyItsFiles();
    void leavesNothingBehind();
    void leavesJustWhatTheAdministratorSet();
    void bringsManualPagesAndUnit();
};

void PackageTest::pleasesLintian()
{
    const QString changes =
        QStringLiteral("%1/packages/accountpolicies-helper_0.1.0_amd64.changes").arg(machineFolder());
    QVERIFY(contentOf(changes).contains("\nArchitecture: source amd64\n"));

    const ProgramResult lintian =
        runAs(root, QStringLiteral("lintian"), {QStringLiteral("--allow-root"), QStringLiteral("--pedantic"), changes});

    QCOMPARE(described(lintian), QByteArray("0: "));
}

void PackageTest::isBuiltReproducibly()
{
    const QStringList packages = packagesIn(QStringLiteral("packages"));
    QVERIFY(buildDate(QStringLiteral("packages")).daysTo(buildDate(QStringLiteral("packages-2"))) > 180);
    QCOMPARE(packages,
             QStringList({QStringLiteral("accountpolicies-ctl-dbgsym_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-ctl_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-helper-dbgsym_0.1.0_amd64.deb"),
                          QStringLiteral("accountpolicies-helper_0.1.0_amd64.deb")}));
    const QStringList source{QStringLiteral("accountpolicies-helper_0.1.0.dsc"),
                             QStringLiteral("accountpolicies-helper_0.1.0.tar.xz")};
    for (const QString &package : packages + source) {
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
}

void PackageTest::fortifiesSources()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);
    for (const char *package : {"accountpolicies-ctl", "accountpolicies-helper"}) {
        const QByteArray lines = lineTables(machine, QString::fromLatin1(package));
        // only with _FORTIFY_SOURCE does a source that includes <cstdio> get the header with the checked functions; no
        // call is left that needs a check when the programs run, or it would be seen in their symbols
        const int sources = lines.count(QByteArray("): cstdio\n"));
        QVERIFY2(sources > 5, lines.left(1000).constData());
        QCOMPARE(lines.count(QByteArray("): stdio2.h\n")), sources);
    }
    int compilations = 0;
    for (const QByteArray &line : contentOf(machineFolder() + QStringLiteral("/packages/build.log")).split('\n')) {
        if (line.contains("/c++ ") && line.contains(" -c ")) {
            ++compilations;
            QVERIFY2(line.contains(" -D_FORTIFY_SOURCE=2 ") && line.contains(" -fstack-protector-strong "),
                     line.constData());
        }
    }
    QVERIFY(compilations > 10);
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

void PackageTest::leavesJustWhatTheAdministratorSet()
{
    Machine machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine.root());
    const QByteArrayList before = treeOf(machine.root());
    const FileContents filesBefore = contentsOf(machine.root());

    QCOMPARE(described(machine.run(install(QStringLiteral("old")))), QByteArray("0: "));
    QCOMPARE(described(machine.run(QStringLiteral("accountpolicyctl set complexity minlen=12"))),
             QByteArray("0: complexity: in force\n"));
    QCOMPARE(described(machine.run(QStringLiteral("accountpolicyctl set expiration maxInterval=80"))),
             QByteArray("0: expiration: in force\n"));
    QCOMPARE(described(machine.run(install(QStringLiteral("packages")))), QByteArray("0: "));
    QVERIFY(!QFile::exists(machine.root().file(QStringLiteral("/usr/share/accountpolicyctl/accountpolicies-ctl.old"))));
    QCOMPARE(described(machine.run(QStringLiteral("accountpolicyctl show | grep -E 'minlen|maxInterval'"))),
             QByteArray("0:   minlen            12 characters\n  maxInterval       80 days\n"));
    QCOMPARE(described(machine.run(QStringLiteral("accountpolicyctl set expiration maxInterval=90"))),
             QByteArray("0: expiration: in force\n"));
    QCOMPARE(machine.run(QStringLiteral("apt-get -q -y purge accountpolicies-helper accountpolicies-ctl")).exitCode, 0);
    QCOMPARE(described(machine.run(QStringLiteral("ls /var/lib/dpkg/info | grep ^accountpolicies; "
                                                  "grep '^Package: accountpolicies' /var/lib/dpkg/status; true"))),
             QByteArray("0: "));
    // a helper that is still running quits by itself
    QTRY_COMPARE_WITH_TIMEOUT(
        described(machine.run(QStringLiteral("pgrep -x accountpolicies"))), QByteArray("1: "), 20000);

    QByteArrayList changes = difference(before, treeOf(machine.root()));
    std::sort(changes.begin(), changes.end());
    QCOMPARE(changes, changesFrom(filesBefore, filesOfTheAdministrators(filesBefore)));
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
