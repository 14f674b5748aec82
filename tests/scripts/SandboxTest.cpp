// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The sandbox must keep its promise, or all other tests would change the machine that they run on.

#include "tests/support/Files.h"
#include "tests/support/Program.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace
{
constexpr int noSandbox = 125;

/// Runs a shell script in the sandbox.
ProgramResult sandboxed(const QString &script, const QByteArray &input = QByteArray())
{
    return runAs(root,
                 QStringLiteral(SANDBOX),
                 {QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"), script},
                 input);
}

QByteArray outputOf(const char *script)
{
    return sandboxed(QString::fromLatin1(script)).standardOutput;
}

/// Runs the sandbox $1 within itself, on a root that is an overlay, as a container's is.
const char nestedScript[] = R"SHELL(set -e
folder=$(dirname "$1") root=/
if [ "$(stat --file-system --format=%T /)" != overlayfs ]; then
    root=/mnt/root
    mount -t tmpfs tmpfs /mnt
    mkdir /mnt/upper /mnt/work $root
    mount -t overlay overlay -o lowerdir=/,upperdir=/mnt/upper,workdir=/mnt/work $root
    mkdir -p "$root$folder"
    mount --bind "$folder" "$root$folder"
    mount --rbind /dev $root/dev
    mount --rbind /proc $root/proc
fi
chroot $root "$1" -- sh -c "
echo outer >/etc/of-outer; rm /etc/login.defs
'$1' -- sh -c 'cat /etc/of-outer; ls /etc/login.defs /etc/default/useradd; echo inner >/etc/of-outer; touch /etc/of-inner'
cat /etc/of-outer; ls /etc/of-inner" 2>&1)SHELL";
}

class SandboxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void passesExitStatusOn_data();
    void passesExitStatusOn();
    void passesInputAndOutputOn();
    void throwsChangesAway_data();
    void throwsChangesAway();
    void showsFilesOfTheMachine();
    void guardsFilesOfTheMachine();
    void letsEverybodyInWhateverTheCallersUmask();
    void startsWithEmptyRun();
    void hasProcessesOfItsOwn();
    void leavesNoProcessBehind();
    void makesNoMountOutside();
    void standsOnTheChangesOfAnOuterOne();
    void tellsInOneLineWhyItCannot_data();
    void tellsInOneLineWhyItCannot();
};

void SandboxTest::passesExitStatusOn_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("status");

    QTest::newRow("success") << "exit 0" << 0;
    QTest::newRow("failure") << "exit 7" << 7;
    QTest::newRow("signal") << "kill -9 $$" << 137;
}

void SandboxTest::passesExitStatusOn()
{
    QFETCH(QString, script);

    QTEST(sandboxed(script).exitCode, "status");
}

void SandboxTest::passesInputAndOutputOn()
{
    const ProgramResult result = sandboxed(QStringLiteral("cat; echo two >&2"), "one");

    QCOMPARE(result.standardOutput, QByteArray("one"));
    QCOMPARE(result.standardError, QByteArray("two\n"));
}

void SandboxTest::throwsChangesAway_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("etc") << "/etc/sandbox-test";
    QTest::newRow("usr") << "/usr/share/pam-configs/sandbox-test";
    QTest::newRow("var") << "/var/lib/sandbox-test";
    QTest::newRow("run") << "/run/sandbox-test";
}

void SandboxTest::throwsChangesAway()
{
    QFETCH(QString, path);

    const ProgramResult result = sandboxed(QStringLiteral("echo x > %1 && cat %1").arg(path));

    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.standardOutput, QByteArray("x\n"));
    QVERIFY(!QFile::exists(path));
}

void SandboxTest::showsFilesOfTheMachine()
{
    QCOMPARE(outputOf("cat /etc/login.defs"), contentOf(QStringLiteral("/etc/login.defs")));
}

void SandboxTest::guardsFilesOfTheMachine()
{
    // it keeps a way to the folders under its overlays, for sandboxes in it
    QCOMPARE(outputOf("for folder in etc usr var; do touch /run/overlay/$folder/layer0/sandbox-test 2>&1; done"),
             QByteArray("touch: cannot touch '/run/overlay/etc/layer0/sandbox-test': Read-only file system\n"
                        "touch: cannot touch '/run/overlay/usr/layer0/sandbox-test': Read-only file system\n"
                        "touch: cannot touch '/run/overlay/var/layer0/sandbox-test': Read-only file system\n"));
}

void SandboxTest::letsEverybodyInWhateverTheCallersUmask()
{
    const QString script = QStringLiteral("umask 077; " SANDBOX " -- stat --format=%a /etc /usr /var /run /run/tmp");

    QCOMPARE(runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), script}).standardOutput,
             QByteArray("755\n755\n755\n755\n1777\n"));
}

void SandboxTest::startsWithEmptyRun()
{
    // but for what mount(8) notes there
    QCOMPARE(outputOf("ls -I mount /run"), QByteArray("accountpolicies-sandbox\noverlay\ntmp\n"));
}

void SandboxTest::hasProcessesOfItsOwn()
{
    const QByteArray processes = outputOf("ls -d /proc/[0-9]* | wc -l").trimmed();

    // the sandbox's shell, this one, and the two of the pipeline
    QVERIFY2(processes.toInt() > 0 && processes.toInt() <= 4, processes.constData());
}

void SandboxTest::leavesNoProcessBehind()
{
    QCOMPARE(sandboxed(QStringLiteral("setsid sleep 86399.25 >/dev/null 2>&1 &")).exitCode, 0);

    QCOMPARE(runAs(root, QStringLiteral("pgrep"), {QStringLiteral("-f"), QStringLiteral("^sleep 86399.25")}).exitCode,
             1);
}

void SandboxTest::makesNoMountOutside()
{
    const QByteArray before = contentOf(QStringLiteral("/proc/self/mounts"));

    QCOMPARE(sandboxed(QStringLiteral("mount -t tmpfs tmpfs /mnt")).exitCode, 0);

    QCOMPARE(contentOf(QStringLiteral("/proc/self/mounts")), before);
}

void SandboxTest::standsOnTheChangesOfAnOuterOne()
{
    const ProgramResult result = runAs(root,
                                       QStringLiteral("unshare"),
                                       {QStringLiteral("--mount"),
                                        QStringLiteral("sh"),
                                        QStringLiteral("-c"),
                                        QString::fromLatin1(nestedScript),
                                        QStringLiteral("sh"),
                                        QStringLiteral(SANDBOX)});

    QCOMPARE(result.standardError, QByteArray());
    QCOMPARE(result.standardOutput,
             QByteArray("outer\n"
                        "ls: cannot access '/etc/login.defs': No such file or directory\n"
                        "/etc/default/useradd\n"
                        "outer\n"
                        "ls: cannot access '/etc/of-inner': No such file or directory\n"));
}

void SandboxTest::tellsInOneLineWhyItCannot_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("message");

    const QByteArray usage = "usage: scripts/sandbox [--install BUILDDIR]... [--bus] -- COMMAND [ARGUMENT...]";
    QTest::newRow("nothing") << "SANDBOX" << usage;
    QTest::newRow("no command") << "SANDBOX --" << usage;
    QTest::newRow("unknown option") << "SANDBOX --what -- true" << usage;
    QTest::newRow("no build folder") << "SANDBOX --install" << usage;
    QTest::newRow("ordinary user") << "setpriv --reuid nobody --clear-groups SANDBOX -- true"
                                   << QByteArray("must be run by root, who alone may make the mounts");
    // as root is in most containers
    QTest::newRow("no namespaces") << "setpriv --bounding-set=-sys_admin --inh-caps=-sys_admin SANDBOX -- true"
                                   << QByteArray("this machine refuses mount and process namespaces: "
                                                 "unshare: unshare failed: Operation not permitted");
}

void SandboxTest::tellsInOneLineWhyItCannot()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, message);
    // from a place that everybody may read, wherever the sources are
    QTemporaryDir folder;
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(QFlag(0x7755))));
    const QString copy = folder.filePath(QStringLiteral("sandbox"));
    QVERIFY(QFile::copy(QStringLiteral(SANDBOX), copy));
    QStringList arguments = command.replace(QStringLiteral("SANDBOX"), copy).split(QLatin1Char(' '));
    const QString program = arguments.takeFirst();

    const ProgramResult result = runAs(root, program, arguments);

    QCOMPARE(result.exitCode, noSandbox);
    QCOMPARE(result.standardError, "scripts/sandbox: " + message + '\n');
}

QTEST_GUILESS_MAIN(SandboxTest)
#include "SandboxTest.moc"
