// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What callers are told when the machine does not play along, and what is left on disk.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace
{
/// What scripts of faults may use.
const char words[] = "tool=/usr/sbin/pam-auth-update profiles=/usr/share/pam-configs defs=/etc/login.defs\n"
                     "tally=$profiles/tally temporary=$profiles/tally.tmp\n"
                     "run_instead() { printf '#!/bin/sh\\n%s\\n' \"$1\" >$tool; }\n"
                     "pin() { mount --bind $1 $1; }\n"
                     "lock() { pin $1; mount -o remount,bind,ro $1; }\n";

const char endMounts[] = "for place in $temporary $tally $profiles; do\n"
                         "    if mountpoint -q $place; then umount --lazy $place; fi\n"
                         "done\n";

void runScript(const QByteArray &script)
{
    const ProgramResult result =
        runAs(root, QStringLiteral("sh"), {QStringLiteral("-ec"), QString::fromUtf8(words + script)});
    if (result.exitCode != 0) {
        qFatal("%s: %s", script.constData(), result.standardError.constData());
    }
}

/// @param message null where the action succeeds all the same
/// @param written whether the first file that the action writes has its new content
void addFault(const char *name,
              const char *script,
              const char *action,
              const QByteArray &message,
              const QString &leftovers,
              bool written)
{
    QTest::newRow(name) << QByteArray(script) << QString::fromLatin1(action) << message << splitWords(leftovers)
                        << written;
}

// clang-format off
void addLockoutFaults()
{
    const auto add = [](const char *name, const char *script, const QByteArray &message, const char *left, bool written) {
        addFault(name, script, "writeaccountslockoutpolicy", message, QString::fromLatin1(left), written);
    };
    const char none[] = "";
    const char temporary[] = "/usr/share/pam-configs/tally.tmp";
    const QByteArray tool = "Process: \"/usr/sbin/pam-auth-update --force --package\". ";
    const QByteArray copy = "Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally "
                            "/usr/share/pam-configs/tally.tmp\". ";
    add("tool fails with output", "run_instead 'echo \"  config.dat is locked %1\" >&2; exit 7'",
        tool + "Exit code: 7.\n\"  config.dat is locked %1\n\"", none, true);
    add("tool fails without output", "run_instead 'exit 1'", tool + "Exit code: 1.\n\"\"", none, true);
    add("tool crashes", "run_instead 'kill -SEGV $$'", tool + "Error: Process crashed.\n\"Not finished\"", none, true);
    add("tool missing", "rm $tool",
        tool + "Error: execvp: No such file or directory.\n\"Not started\"", none, true);
    add("tool warns and succeeds", "run_instead 'echo warning >&2'", {}, none, true);
    add("profile missing", "rm $tally", "\"/usr/share/pam-configs/tally\" not exists", none, false);
    add("profile without the module", "echo Name: empty >$tally",
        "\"/usr/share/pam-configs/tally\" not contain \"pam_tally\"", none, false);
    add("profile can't be written", "lock $tally",
        "Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally.tmp "
        "/usr/share/pam-configs/tally\". " + failureOfCp("cannot remove '/usr/share/pam-configs/tally': Device or resource busy").toUtf8(),
        temporary, false);
    add("temporary file is a folder", "mkdir $temporary",
        "\"/usr/share/pam-configs/tally.tmp\" error 5\nIs a directory", temporary, false);
    add("temporary file can't be written", ": >$temporary; lock $temporary",
        copy + failureOfCp("cannot remove '/usr/share/pam-configs/tally.tmp': Device or resource busy").toUtf8(),
        temporary, false);
    add("temporary file can't be removed", "echo left by an earlier failure >$temporary; pin $temporary", {},
        temporary, true);
    add("temporary file left by an earlier failure", "echo old >$temporary", {}, none, true);
    add("cp missing", "rm /usr/bin/cp",
        copy + "Error: execvp: No such file or directory.\n\"Not started\"", none, false);
    add("disk full", "profile=$(cat $tally); mount -t tmpfs -o size=4k tmpfs $profiles; echo \"$profile\" >$tally",
        copy + failureOfCp("error copying '/usr/share/pam-configs/tally' to '/usr/share/pam-configs/tally.tmp': "
                           "No space left on device").toUtf8(), temporary, false);
}

void addExpirationFaults()
{
    const auto add = [](const char *name, const char *script, const QByteArray &message, const char *left, bool written) {
        addFault(name, script, "writepasswordexpirationpolicy", message, QString::fromLatin1(left), written);
    };
    add("login.defs missing", "rm $defs", "\"/etc/login.defs\" not exists", "", false);
    add("useradd's defaults missing", "rm /etc/default/useradd", "\"/etc/default/useradd\" not exists",
        "/etc/login.defs.bak", true);
    add("backup is a folder", "mkdir -p $defs.bak/x", "\"/etc/login.defs\" error 14\nDestination file exists",
        "/etc/login.defs.bak /etc/login.defs.tmp", false);
    add("nothing wrong", "", {}, "/etc/login.defs.bak /etc/default/useradd.bak", true);
}
// clang-format on

void addAllButTimeouts()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<bool>("written");
    addLockoutFaults();
    addExpirationFaults();
}

/// The temporary and backup files in the folders that the actions write to.
QStringList leftovers()
{
    QStringList paths;
    for (const char *folder : {"/etc", "/etc/default", "/etc/pam.d", "/usr/share/pam-configs"}) {
        const QFileInfoList found =
            QDir(QString::fromLatin1(folder)).entryInfoList({QStringLiteral("*.tmp"), QStringLiteral("*.bak")});
        for (const QFileInfo &file : found) {
            paths += file.filePath();
        }
    }
    return paths;
}

QVariantMap arguments()
{
    return {{QStringLiteral("deny"), 5}, {QStringLiteral("maxInterval"), 90}};
}
}

class FaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void tellsWhatFailed_data();
    void tellsWhatFailed();
    void succeedsOnceTheFaultIsGone_data();
    void succeedsOnceTheFaultIsGone();

private:
    void bringBackFiles();

    PamState m_stockPam;
    QByteArray m_tool = contentOf(toolFile);
    QByteArray m_cp = contentOf(cpFile);
};

void FaultsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void FaultsTest::init()
{
    runScript(endMounts);
    runScript("rm -rf /etc/*.tmp /etc/*.bak /etc/default/*.bak $temporary");
    m_stockPam.restore();
    bringBackFiles();
}

void FaultsTest::bringBackFiles()
{
    writeProgram(cpFile, m_cp);
    writeProgram(toolFile, m_tool);
    writeContent(tallyFile, "required pam_tally.so deny=3\n");
    writeContent(loginDefsFile, "PASS_MAX_DAYS 7\n");
    writeContent(useraddFile, "INACTIVE=1\n");
}

void FaultsTest::tellsWhatFailed_data()
{
    addAllButTimeouts();
    addFault("tool hangs",
             "run_instead 'exec sleep 50'",
             "writeaccountslockoutpolicy",
             "Process: \"/usr/sbin/pam-auth-update --force --package\". "
             "Error: Process operation timed out.\n\"Not finished\"",
             QString(),
             true);
}

void FaultsTest::tellsWhatFailed()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, action);
    QFETCH(QByteArray, message);
    QVariantMap expected = arguments();
    if (!message.isNull()) {
        const bool ofLockout = action == QLatin1String("writeaccountslockoutpolicy");
        expected.insert(QStringLiteral("error"), true);
        expected.insert(QStringLiteral("description"),
                        ofLockout ? QStringLiteral("Update default lockout account policy")
                                  : QStringLiteral("Update default password expiration policy"));
        expected.insert(QStringLiteral("message"), QString::fromUtf8(message));
    }
    runScript(script);

    const BusReply reply = callAs(root, action, arguments());

    QCOMPARE(reply.error, 0);
    QCOMPARE(typedEntries(reply.data), typedEntries(expected));
    QTEST(leftovers(), "left");
    QTEST(contentOf(tallyFile) == "required pam_tally.so deny=5\n" || contentOf(loginDefsFile) == "PASS_MAX_DAYS 90\n",
          "written");
}

void FaultsTest::succeedsOnceTheFaultIsGone_data()
{
    // half a minute more for a tool that hangs would tell nothing that the crashing tool doesn't
    addAllButTimeouts();
}

void FaultsTest::succeedsOnceTheFaultIsGone()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, action);
    runScript(script);
    callAs(root, action, arguments());
    runScript(endMounts);
    bringBackFiles();
    // a person's part: nobody else removes folders that stand in the way
    runScript("if [ -d $temporary ]; then rm -r $temporary; fi; if [ -d $defs.bak ]; then rm -r $defs.bak; fi");

    const BusReply reply = callAs(root, action, arguments());

    QCOMPARE(typedEntries(reply.data), typedEntries(arguments()));
    QCOMPARE(leftovers().filter(QStringLiteral(".tmp")), QStringList());
}

QTEST_GUILESS_MAIN(FaultsTest)
#include "FaultsTest.moc"
