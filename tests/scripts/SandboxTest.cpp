// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The sandbox must keep its promise, or all other tests would change the machine that they run on.

#include "tests/support/Files.h"
#include "tests/support/Program.h"

#include <QFile>
#include <QTest>

namespace
{
constexpr int noSandbox = 125;

ProgramResult sandboxed(const QStringList &command, int user = root)
{
    return runAs(user, QStringLiteral(SANDBOX), QStringList{QStringLiteral("--")} + command);
}

ProgramResult sandboxedShell(const QString &script)
{
    return sandboxed({QStringLiteral("sh"), QStringLiteral("-c"), script});
}
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
    void startsWithEmptyRun();
    void hasProcessesOfItsOwn();
    void leavesNoProcessBehind();
    void makesNoMountOutside();
    void tellsOrdinaryUserInOneLineThatItCannot();
    void tellsInOneLineWhereNamespacesAreRefused();
    void explainsItsUse_data();
    void explainsItsUse();
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
    QFETCH(int, status);

    QCOMPARE(sandboxedShell(script).exitCode, status);
}

void SandboxTest::passesInputAndOutputOn()
{
    const ProgramResult result =
        runAs(root,
              QStringLiteral(SANDBOX),
              {QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("cat; echo two >&2")},
              "one");

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

    const ProgramResult result = sandboxedShell(QStringLiteral("echo x > %1 && cat %1").arg(path));

    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.standardOutput, QByteArray("x\n"));
    QVERIFY(!QFile::exists(path));
}

void SandboxTest::showsFilesOfTheMachine()
{
    QCOMPARE(sandboxed({QStringLiteral("cat"), QStringLiteral("/etc/login.defs")}).standardOutput,
             contentOf(QStringLiteral("/etc/login.defs")));
}

void SandboxTest::startsWithEmptyRun()
{
    // but for what mount(8) notes there
    QCOMPARE(sandboxedShell(QStringLiteral("ls -I mount /run")).standardOutput,
             QByteArray("accountpolicies-sandbox\noverlay\ntmp\n"));
}

void SandboxTest::hasProcessesOfItsOwn()
{
    const ProgramResult result = sandboxedShell(QStringLiteral("ls -d /proc/[0-9]* | wc -l"));

    // the sandbox's shell, this one, and the two of the pipeline
    QVERIFY2(result.standardOutput.trimmed().toInt() <= 4, result.standardOutput.constData());
}

void SandboxTest::leavesNoProcessBehind()
{
    const QString mark = QStringLiteral("86399.25");

    QCOMPARE(sandboxedShell(QStringLiteral("setsid sleep %1 >/dev/null 2>&1 &").arg(mark)).exitCode, 0);

    QCOMPARE(runAs(root, QStringLiteral("pgrep"), {QStringLiteral("-f"), QStringLiteral("^sleep ") + mark}).exitCode,
             1);
}

void SandboxTest::makesNoMountOutside()
{
    const QByteArray before = contentOf(QStringLiteral("/proc/self/mounts"));

    QCOMPARE(sandboxedShell(QStringLiteral("mount -t tmpfs tmpfs /mnt")).exitCode, 0);

    QCOMPARE(contentOf(QStringLiteral("/proc/self/mounts")), before);
}

void SandboxTest::tellsOrdinaryUserInOneLineThatItCannot()
{
    // from a place that everybody may read, wherever the sources are
    QFile::remove(QStringLiteral("/tmp/sandbox-of-ordinary-user"));
    QVERIFY(QFile::copy(QStringLiteral(SANDBOX), QStringLiteral("/tmp/sandbox-of-ordinary-user")));
    const ProgramResult result =
        runAs(nobody, QStringLiteral("/tmp/sandbox-of-ordinary-user"), {QStringLiteral("--"), QStringLiteral("true")});
    QFile::remove(QStringLiteral("/tmp/sandbox-of-ordinary-user"));

    QCOMPARE(result.exitCode, noSandbox);
    QCOMPARE(result.standardError, QByteArray("scripts/sandbox: must be run by root, who alone may make the mounts\n"));
}

void SandboxTest::tellsInOneLineWhereNamespacesAreRefused()
{
    // root without the capability to make namespaces, as in most containers
    const ProgramResult result = runAs(root,
                                       QStringLiteral("setpriv"),
                                       {QStringLiteral("--bounding-set=-sys_admin"),
                                        QStringLiteral("--inh-caps=-sys_admin"),
                                        QStringLiteral(SANDBOX),
                                        QStringLiteral("--"),
                                        QStringLiteral("true")});

    QCOMPARE(result.exitCode, noSandbox);
    QCOMPARE(result.standardError,
             QByteArray("scripts/sandbox: this machine refuses mount and process namespaces: unshare: unshare failed: "
                        "Operation not permitted\n"));
}

void SandboxTest::explainsItsUse_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("nothing") << QStringList();
    QTest::newRow("no command") << QStringList{QStringLiteral("--")};
    QTest::newRow("unknown option") << QStringList{
        QStringLiteral("--what"), QStringLiteral("--"), QStringLiteral("true")};
    QTest::newRow("no build folder") << QStringList{QStringLiteral("--install")};
}

void SandboxTest::explainsItsUse()
{
    QFETCH(QStringList, arguments);

    const ProgramResult result = runAs(root, QStringLiteral(SANDBOX), arguments);

    QCOMPARE(result.exitCode, noSandbox);
    QCOMPARE(result.standardError,
             QByteArray(
                 "scripts/sandbox: usage: scripts/sandbox [--install BUILDDIR]... [--bus] -- COMMAND [ARGUMENT...]\n"));
}

QTEST_GUILESS_MAIN(SandboxTest)
#include "SandboxTest.moc"
