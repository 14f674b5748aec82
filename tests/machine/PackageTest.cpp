// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The Debian packages as files, and what installing and removing them does to a machine.

#include "tests/endtoend/PolicyFiles.h"
#include "tests/machine/Machine.h"
#include "tests/support/Files.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QMap>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

namespace
{
const char packageNames[] = "accountpolicies-helper accountpolicies-ctl accountpolicies-common accountpolicies-service";
const char packagesOfPrograms[] = "accountpolicies-helper accountpolicies-ctl accountpolicies-service";
const char fileOfOld[] = "/usr/share/accountpolicyctl/accountpolicies-ctl.old";

QByteArray outputOf(const QString &script)
{
    return runAs(root, QStringLiteral("bash"), {QStringLiteral("-c"), script}).standardOutput;
}

QStringList packagesIn(const QString &folder)
{
    return QDir(machineFile(folder)).entryList({QStringLiteral("*.deb")}, QDir::Files, QDir::Name);
}

/// Prints everything on the machine with its kind, mode and owner, and each file once more with its content's hash; less
/// what dpkg, apt, debconf and their logs remember, and a folder of polkit's own while it runs.
const QByteArray tree = R"SHELL(list() {
    find / -xdev \( -path /proc -o -path /sys -o -path /run -o -path /tmp -o -path /root -o -path /var/lib/dpkg \
        -o -path /var/lib/apt -o -path '/var/cache/debconf/*-old' -o -path /var/cache/debconf/tmp.ci \
        -o -path /var/cache/apt -o -path /var/cache/man -o -path /var/log \
        -o -path '/var/tmp/systemd-private-*-polkit.service-*' \) -prune -o "$@"
}
(list -printf '%p %y %m %U:%G %l\n'; list -type f -exec sha256sum '{}' + | sed 's/\(.*\)  \(.*\)/\2 \1/') | sort)SHELL";
const QByteArray rememberTree = tree + " >/root/tree";
/// Prints how the tree differs from the remembered one, the lines that are gone with "-", the new ones with "+".
const QByteArray compareTree =
    tree + "| diff --old-line-format='- %L' --new-line-format='+ %L' --unchanged-line-format= /root/tree - | sort";

void copyPackages(const MachineRoot &machine)
{
    outputOf(
        QStringLiteral("cd %1 && cp --parents old/*.deb packages/accountpolicies-{common,ctl,helper,service}_*.deb %2")
            .arg(machineFile(), machine.path("/root")));
}

/// What an administrator adds to the profile; made by its package for him, and not one of its files.
const QByteArray localProfile = "/etc/apparmor.d/local/accountpolicieshelper";

/// The command that installs the packages of a folder, and prints nothing unless it fails.
QByteArray install(const QByteArray &folder)
{
    return "apt-get -q -y install /root/" + folder + "/*.deb >/dev/null 2>/root/errors || cat /root/errors";
}

QByteArray aptGet(const QByteArray &arguments)
{
    return "apt-get -q -y " + arguments + " >/dev/null 2>&1";
}

using FileContents = QMap<QByteArray, QByteArray>;

const QByteArrayList stacks{"/etc/pam.d/common-account",
                            "/etc/pam.d/common-auth",
                            "/etc/pam.d/common-password",
                            "/etc/pam.d/common-session",
                            "/etc/pam.d/common-session-noninteractive"};
const char loginDefs[] = "/etc/login.defs";
const char useraddDefaults[] = "/etc/default/useradd";
const char profile[] = "/usr/share/pam-configs/pwquality";
const char activeProfile[] = "/var/lib/pam/password";

/// The files that a policy may change, by their paths.
FileContents contentsOf(const MachineRoot &machine)
{
    FileContents contents;
    for (const QByteArray &path : stacks + QByteArrayList{loginDefs, useraddDefaults, profile, activeProfile}) {
        contents[path] = machine.read(path);
    }
    return contents;
}

/// What there is of them after the administrator asked for 12 characters and 80 days, then for 90 days.
FileContents filesOfTheAdministrators(const FileContents &before)
{
    // every setting is sent, so every line is written anew
    const auto withDays = [&before](const QByteArray &days) {
        return QByteArray(before[loginDefs])
            .replace("PASS_MAX_DAYS\t99999", "PASS_MAX_DAYS " + days)
            .replace("PASS_MIN_DAYS\t0", "PASS_MIN_DAYS 0")
            .replace("PASS_WARN_AGE\t7", "PASS_WARN_AGE 7");
    };
    const QByteArray option = "pam_pwquality.so retry=3";
    FileContents after{
        {loginDefs, withDays("90")},
        {QByteArray(loginDefs) + ".bak", withDays("80")},
        {QByteArray(useraddDefaults) + ".bak", before[useraddDefaults]},
        // rewritten lines lose their indentation
        {profile,
         QByteArray(before[profile]).replace("\trequisite\t\t\t" + option, "requisite\t\t\t" + option + " minlen=12")},
        {activeProfile, QByteArray(before[activeProfile]).replace(option, option + " minlen=12")},
        {stacks[2], QByteArray(before[stacks[2]]).replace(option, option + " minlen=12")},
    };
    for (const QByteArray &stack : stacks) {
        // of pam-auth-update
        after[stack + ".pam-old"] = before[stack];
    }
    return after;
}

/// Those files as compareTree tells of them.
QByteArray changesFrom(const FileContents &before, const FileContents &after)
{
    const auto hashed = [](const QByteArray &content) {
        return ' ' + QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex() + '\n';
    };
    QByteArrayList lines;
    for (auto file = after.cbegin(); file != after.cend(); ++file) {
        const QByteArray &path = file.key();
        lines += before.contains(path) ? "- " + path + hashed(before[path]) : "+ " + path + " f 644 0:0 \n";
        lines += "+ " + path + hashed(file.value());
    }
    std::sort(lines.begin(), lines.end());
    return lines.join();
}

/// When the packages of a folder were built, as the builder's clock said.
QDateTime buildDate(const QString &folder)
{
    const QByteArray info =
        contentOf(machineFile(folder + QStringLiteral("/accountpolicies-helper_0.1.0_amd64.buildinfo")));
    const QRegularExpression date(QStringLiteral("^Build-Date: (.*)$"), QRegularExpression::MultilineOption);
    return QDateTime::fromString(date.match(QString::fromUtf8(info)).captured(1), Qt::RFC2822Date);
}

/// What the debug symbols of a package's program tell of the source files that it was made from.
QByteArray lineTables(const MachineRoot &machine, const QString &package)
{
    return outputOf(
        QStringLiteral("dpkg-deb -x %1 %2 && find %2 -name '*.debug' -exec readelf --debug-dump=rawline '{}' ';'")
            .arg(machineFile(QStringLiteral("packages/%1-dbgsym_0.1.0_amd64.deb").arg(package)),
                 machine.path("/root/symbols-of-") + package));
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
    void letsPeopleInWithoutItsProfiles();
    void bringsManualPagesAndUnits();
    void bringsWhatItsDocumentsCite();
};

void PackageTest::pleasesLintian()
{
    const QString changes = machineFile(QStringLiteral("packages/accountpolicies-helper_0.1.0_amd64.changes"));
    QVERIFY(contentOf(changes).contains("\nArchitecture: source all amd64\n"));

    const ProgramResult lintian =
        runAs(root, QStringLiteral("lintian"), {QStringLiteral("--allow-root"), QStringLiteral("--pedantic"), changes});

    QCOMPARE(described(lintian), QByteArray("0: "));
}

void PackageTest::isBuiltReproducibly()
{
    QVERIFY(buildDate(QStringLiteral("packages")).daysTo(buildDate(QStringLiteral("packages-2"))) > 180);
    const QStringList packages{QStringLiteral("accountpolicies-common_0.1.0_all.deb"),
                               QStringLiteral("accountpolicies-ctl-dbgsym_0.1.0_amd64.deb"),
                               QStringLiteral("accountpolicies-ctl_0.1.0_amd64.deb"),
                               QStringLiteral("accountpolicies-helper-dbgsym_0.1.0_amd64.deb"),
                               QStringLiteral("accountpolicies-helper_0.1.0_amd64.deb"),
                               QStringLiteral("accountpolicies-service-dbgsym_0.1.0_amd64.deb"),
                               QStringLiteral("accountpolicies-service_0.1.0_amd64.deb")};
    QCOMPARE(packagesIn(QStringLiteral("packages")), packages);
    const QStringList source{QStringLiteral("accountpolicies-helper_0.1.0.dsc"),
                             QStringLiteral("accountpolicies-helper_0.1.0.tar.xz")};
    for (const QString &package : packages + source) {
        const QByteArray first = contentOf(machineFile(QStringLiteral("packages/") + package));
        const QByteArray second = contentOf(machineFile(QStringLiteral("packages-2/") + package));
        QVERIFY2(!first.isEmpty() && first == second, qPrintable(package));
    }
}

void PackageTest::hardensPrograms()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);
    for (const char *program : {"/usr/bin/accountpolicyctl", "/usr/libexec/accountpoliciesd", helperFile}) {
        const QString read = QString::fromLatin1(
            outputOf(QStringLiteral("readelf --wide -h -l -d --dyn-syms ") + machine.path(program)));
        for (const char *sign : {"DYN \\(Position-Independent Executable file\\)",
                                 "GNU_RELRO",
                                 "FLAGS_1\\) +Flags: NOW PIE",
                                 "GNU_STACK .* RW ",
                                 "__stack_chk_fail"}) {
            QVERIFY2(QRegularExpression(QString::fromLatin1(sign)).match(read).hasMatch(), sign);
        }
    }
}

void PackageTest::fortifiesSources()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);
    for (const QString &package : QString::fromLatin1(packagesOfPrograms).split(QLatin1Char(' '))) {
        const QByteArray lines = lineTables(machine, package);
        // only with _FORTIFY_SOURCE does a source that includes <cstdio> get the header with the checked functions; no
        // call is left that needs a check when the programs run, or it would be seen in their symbols
        const auto sources = lines.count(QByteArray("): cstdio\n"));
        QVERIFY2(sources > 5, lines.left(1000).constData());
        QCOMPARE(lines.count(QByteArray("): stdio2.h\n")), sources);
    }
    int compilations = 0;
    for (const QByteArray &line : contentOf(machineFile(QStringLiteral("packages/build.log"))).split('\n')) {
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
    QCOMPARE(machine.run(rememberTree), QByteArray("0: "));

    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));

    const QByteArrayList expected =
        machine.run(QByteArray("echo; dpkg -L ") + packageNames).split('\n') + QByteArrayList{localProfile};
    QVERIFY(expected.contains("/usr/bin/accountpolicyctl"));
    for (const QByteArray &line : machine.run(compareTree).mid(3).trimmed().split('\n')) {
        const QByteArray path = line.mid(2, line.indexOf(' ', 2) - 2);
        // paths through /lib are listed where they lead to
        QVERIFY2(line.startsWith('+') && (expected.contains(path) || expected.contains(path.mid(4))), line.constData());
    }
}

void PackageTest::leavesNothingBehind()
{
    const MachineRoot machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine);
    QCOMPARE(machine.run(rememberTree), QByteArray("0: "));
    QVERIFY(machine.read("/root/tree").count('\n') > 5000);

    QCOMPARE(machine.run(install("old")), QByteArray("0: "));
    QVERIFY(machine.has(fileOfOld));
    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));
    QVERIFY(!machine.has(fileOfOld));
    QCOMPARE(machine.run("dpkg-query -W -f '${Package} ${Version} ${Status}\\n' 'accountpolicies-*'"),
             QByteArray("0: accountpolicies-common 0.1.0 install ok installed\n"
                        "accountpolicies-ctl 0.1.0 install ok installed\n"
                        "accountpolicies-helper 0.1.0 install ok installed\n"
                        "accountpolicies-service 0.1.0 install ok installed\n"));

    // what an administrator may have changed is kept until they are purged
    QCOMPARE(machine.run(aptGet(QByteArray("remove ") + packageNames)), QByteArray("0: "));
    QCOMPARE(machine.run(compareTree + " | cut -d ' ' -f 1,2 | uniq"),
             "0: + /etc/apparmor.d/accountpolicieshelper\n+ " + localProfile + '\n');

    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));
    QCOMPARE(machine.run(aptGet(QByteArray("purge ") + packageNames)), QByteArray("0: "));
    QCOMPARE(machine.run(compareTree), QByteArray("0: "));
}

void PackageTest::leavesJustWhatTheAdministratorSet()
{
    Machine machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine.root());
    QCOMPARE(machine.root().run(rememberTree), QByteArray("0: "));
    const FileContents before = contentsOf(machine.root());

    QCOMPARE(machine.run(install("old")), QByteArray("0: "));
    QCOMPARE(machine.run("accountpolicyctl set complexity minlen=12"), QByteArray("0: complexity: in force\n"));
    QCOMPARE(machine.run("accountpolicyctl set expiration maxInterval=80"), QByteArray("0: expiration: in force\n"));
    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));
    QVERIFY(!machine.root().has(fileOfOld));
    QCOMPARE(machine.run("accountpolicyctl show complexity minlen; accountpolicyctl show expiration maxInterval"),
             QByteArray("0: 12\n80\n"));
    QCOMPARE(machine.run("accountpolicyctl set expiration maxInterval=90"), QByteArray("0: expiration: in force\n"));
    QCOMPARE(machine.run(aptGet(QByteArray("purge ") + packageNames)), QByteArray("0: "));
    QCOMPARE(machine.run("ls /var/lib/dpkg/info | grep ^accountpolicies; "
                         "grep '^Package: accountpolicies' /var/lib/dpkg/status; true"),
             QByteArray("0: "));
    // a helper that is still running quits by itself
    QTRY_COMPARE_WITH_TIMEOUT(machine.run("pgrep -x accountpolicies"), QByteArray("1: "), 20000);

    const QByteArray expected = "0: " + changesFrom(before, filesOfTheAdministrators(before));
    QCOMPARE(machine.root().run(compareTree).split('\n'), expected.split('\n'));
}

void PackageTest::letsPeopleInWithoutItsProfiles()
{
    Machine machine(MachineRoot::Contents::WithoutOurPackages);
    copyPackages(machine.root());
    const FileContents before = contentsOf(machine.root());
    QCOMPARE(machine.run(install("old")), QByteArray("0: "));
    QCOMPARE(machine.run("accountpolicyctl set faillock deny=1 && accountpolicyctl set pwhistory remember=2"),
             QByteArray("0: faillock: in force\npwhistory: in force\n"));
    const FileContents inForce = contentsOf(machine.root());
    QVERIFY(inForce != before);

    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));
    QCOMPARE(contentsOf(machine.root()), inForce);
    QCOMPARE(machine.run(aptGet("remove accountpolicies-common")), QByteArray("0: "));
    QCOMPARE(contentsOf(machine.root()), before);
    QCOMPARE(machine.run("dpkg-query -W -f '${Package} ${Status}\\n' 'accountpolicies-*' | grep ' installed'"),
             QByteArray("0: accountpolicies-helper install ok installed\n"));
    QCOMPARE(machine.run("grep -v '^#' /etc/security/faillock.conf"), QByteArray("0: deny = 1\n"));
    PseudoTerminal *console = machine.console();
    console->type("guest\r");
    QVERIFY2(answerPassword(console, "wrong"), console->output().constData());
    QVERIFY2(console->waitFor("login: "), console->output().constData());
    console->type("guest\r");
    QVERIFY2(answerPassword(console), console->output().constData());
    QVERIFY2(console->waitFor("ready> "), console->output().constData());

    // what is installed again is off, as it was at first
    QCOMPARE(machine.run(install("packages")), QByteArray("0: "));
    QCOMPARE(contentsOf(machine.root()), before);
}

void PackageTest::bringsManualPagesAndUnits()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);

    for (const char *page : {"1 accountpolicyctl", "8 accountpolicieshelper", "8 accountpoliciesd"}) {
        QCOMPARE(machine.run(QByteArray("man ") + page + " >/dev/null 2>&1"), QByteArray("0: "));
    }
    for (const char *unit : {"accountpolicieshelper", "accountpoliciesd"}) {
        QVERIFY(machine.has(QByteArray("/lib/systemd/system/") + unit + ".service"));
    }
}

void PackageTest::bringsWhatItsDocumentsCite()
{
    const MachineRoot machine(MachineRoot::Contents::WithOurPackages);
    const QByteArray folder = "/usr/share/doc/accountpolicies-helper/";
    // links that are no addresses, and documents that are named from the source's folder
    const QRegularExpression cited(QStringLiteral("\\]\\(([^):#]+)(?:#[^)]*)?\\)|`([A-Za-z/]+\\.md)`"));
    const QByteArrayList documents =
        machine.run("cd " + folder + " && find . -name '*.md' -printf '\\n%P'").split('\n').mid(1);
    QVERIFY(documents.contains("README.md"));
    int links = 0;
    for (const QByteArray &document : documents) {
        QRegularExpressionMatchIterator matches = cited.globalMatch(QString::fromUtf8(machine.read(folder + document)));
        for (; matches.hasNext(); ++links) {
            const QRegularExpressionMatch match = matches.next();
            const QByteArray place = match.capturedLength(1) > 0 ? document.left(document.lastIndexOf('/') + 1) : "";
            const QByteArray path = place + (match.captured(1) + match.captured(2)).toUtf8();
            QVERIFY2(machine.has(folder + path), (document + " cites " + path).constData());
        }
    }
    QVERIFY(links > 5);
}

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
