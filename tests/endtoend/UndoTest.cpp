// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client's history, and the way back from each change.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/ClientFixture.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <unistd.h>

namespace
{
/// For env(1): as a unit of the system has it.
const QStringList withoutHome{QStringLiteral("--unset=HOME"), QStringLiteral("--unset=XDG_STATE_HOME")};

/// The commands of a history, without numbers and times.
QByteArray commandsIn(const QByteArray &history)
{
    static const QRegularExpression start(QStringLiteral("^\\d+  \\S+ \\S+  "), QRegularExpression::MultilineOption);
    return QString::fromUtf8(history).remove(start).toUtf8();
}
}

class UndoTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void goesBackAndForthByUndo();
    void undoesOlderChange();
    void remembersThatAllWasReplaced();
    void undoesDocument();
    void undoDoesNotRememberRefusedChange();
    void undoReachesTheLastChangeAfterRefusal();
    void undoReachesTheLastChangeAfterFailure();
    void failedUndoLeavesTheChangeToUndo();
    void keepsWayBackFromFailureThatChangedSomething();
    void keepsWayBackWhereNothingCanBeReadAfterFailure();
    void keepsWayBackFromWriteWithoutAnswer();
    void keepsWayBackFromWhatIsNotInForce();
    void undoBringsBackTheStackNotTheProfile();
    void bringsBackValuesThatMayNotBeSet();
    void refusesToUndoWhatCannotBeUnderstood();
    void refusesToUndoForUnknownAccount();
    void writesNothingWithoutWayBack();
    void writesNothingWithoutHome();
    void keepsHistoryInTheHomeOfTheAccount();
};

void UndoTest::goesBackAndForthByUndo()
{
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=7")).exitCode, 0);

    const ProgramResult preview = client(root, QStringLiteral("undo --dry-run"));
    QCOMPARE(preview.standardOutput, QByteArray("expiration   now     then\nmaxInterval  7 days  90 days\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));

    const ProgramResult undone = client(root, QStringLiteral("undo"));
    QCOMPARE(undone.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));

    // the undoing is the newest change now
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("undo of: set expiration maxInterval=7\nset expiration maxInterval=7\n"));
    QCOMPARE(client(root, QStringLiteral("undo")).exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));
}

void UndoTest::undoesOlderChange()
{
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=7")).exitCode, 0);
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);

    const QByteArray history = client(root, QStringLiteral("history")).standardOutput;
    const QRegularExpression lines(
        QStringLiteral("^1  \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d  set expiration maxInterval=8\n"
                       "2  \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d  set expiration maxInterval=7\n$"));
    QVERIFY2(lines.match(QString::fromUtf8(history)).hasMatch(), history.constData());
    QCOMPARE(client(root, QStringLiteral("undo 3")).standardError, complaint("there is no change 3; the oldest is 2"));

    QCOMPARE(client(root, QStringLiteral("undo 2")).exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void UndoTest::remembersThatAllWasReplaced()
{
    QCOMPARE(client(root, QStringLiteral("set --replace expiration minInterval=1")).exitCode, 0);

    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set expiration minInterval=1 --replace\n"));
}

void UndoTest::undoesDocument()
{
    QCOMPARE(client(root, QStringLiteral("apply -"), document(R"({"maxInterval": 7})")).exitCode, 0);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput), QByteArray("apply -\n"));

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("expiration: in force\n"));

    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void UndoTest::undoDoesNotRememberRefusedChange()
{
    QCOMPARE(client(nobody, QStringLiteral("set expiration maxInterval=7")).exitCode, 3);

    QCOMPARE(client(nobody, QStringLiteral("history")).standardOutput, QByteArray());
}

void UndoTest::undoReachesTheLastChangeAfterRefusal()
{
    const PolkitRule rule("writepasswordexpirationpolicy", "nobody", "YES");
    QTRY_COMPARE(client(nobody, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
    QCOMPARE(client(nobody, QStringLiteral("set expiration maxInterval=7")).exitCode, 0);

    QCOMPARE(client(nobody, QStringLiteral("set complexity minlen=12")).exitCode, 3);
    QCOMPARE(client(nobody, QStringLiteral("set lockout deny=5")).exitCode, 3);
    const ProgramResult undo = client(nobody, QStringLiteral("undo"));

    QCOMPARE(undo.standardError, QByteArray());
    QCOMPARE(undo.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 8\n"));
}

void UndoTest::undoReachesTheLastChangeAfterFailure()
{
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=30")).exitCode, 0);
    QCOMPARE(client(root, QStringLiteral("set lockout deny=5")).exitCode, 1); // there is no profile
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set expiration maxInterval=30\n"));

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.standardError, QByteArray());
    QCOMPARE(undo.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void UndoTest::failedUndoLeavesTheChangeToUndo()
{
    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 0);
    writeProgram(toolPath(), "#!/bin/sh\nexit 1\n");
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(client(root, QStringLiteral("undo")).exitCode, 1);
    }
    writeProgram(toolPath(), m_tool);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("complexity: in force\n"));
    QCOMPARE(client(root, QStringLiteral("show complexity")).standardOutput, QByteArray(complexityTable));
}

void UndoTest::keepsWayBackFromFailureThatChangedSomething()
{
    {
        const ScopedMount pinned = ScopedMount::readOnly(QStringLiteral("/etc/default/useradd"));
        QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=7 inactiveInterval=3")).exitCode, 1);
    }
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("expiration: in force\n"));

    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("INACTIVE=-1\nEXPIRE=1970-01-02\n"));
}

void UndoTest::keepsWayBackWhereNothingCanBeReadAfterFailure()
{
    writeProgram(toolPath(), "#!/bin/sh\nrm /etc/pam.d/common-password\nexit 1\n");

    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 1);

    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));
}

void UndoTest::keepsWayBackFromWriteWithoutAnswer()
{
    writeProgram(toolPath(), "#!/bin/sh\nkill -STOP $PPID\n"); // the helper

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));
    kill(static_cast<pid_t>(helperProcess()), SIGCONT);

    QCOMPARE(set.standardError, complaint("the helper has not answered in time; it may still carry the change out"));
    QCOMPARE(set.exitCode, 5);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));
    QCOMPARE(client(root, QStringLiteral("show")).exitCode, 0);
}

void UndoTest::keepsWayBackFromWhatIsNotInForce()
{
    m_stockPam.restore();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());

    QCOMPARE(client(root, QStringLiteral("set lockout deny=5")).exitCode, 4);

    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput), QByteArray("set lockout deny=5\n"));
}

void UndoTest::undoBringsBackTheStackNotTheProfile()
{
    const QString profile = QStringLiteral("/usr/share/pam-configs/tally");
    m_stockPam.restore();
    writeContent(profile, tallyProfile());

    QCOMPARE(client(root, QStringLiteral("set lockout deny=5")).exitCode, 4);
    QVERIFY(contentOf(profile).endsWith("required pam_tally.so onerr=fail deny=5\n"));
    QCOMPARE(client(root, QStringLiteral("set lockout unlock_time=900")).exitCode, 4);
    QVERIFY(contentOf(profile).endsWith("required pam_tally.so onerr=fail unlock_time=900\n"));

    // there was no deny in the stack, which is all that is read
    QCOMPARE(client(root, QStringLiteral("undo 2")).standardOutput, QByteArray("lockout: in force\n"));
    QVERIFY(contentOf(profile).endsWith("required pam_tally.so onerr=fail\n"));
}

void UndoTest::bringsBackValuesThatMayNotBeSet()
{
    const QByteArray loginDefs = "PASS_MAX_DAYS -2\n";
    const QByteArray useradd = "INACTIVE=-7\nEXPIRE=1969-01-01\n";
    writeContent(QStringLiteral("/etc/login.defs"), loginDefs);
    writeContent(QStringLiteral("/etc/default/useradd"), useradd);
    const QString words = QStringLiteral("set expiration maxInterval=30 inactiveInterval=5 expireDate=2030-01-01");
    QCOMPARE(client(root, words).exitCode, 0);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput), words.toUtf8() + '\n');

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.standardError, QByteArray());
    QCOMPARE(undo.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), loginDefs);
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), useradd);
}

void UndoTest::refusesToUndoWhatCannotBeUnderstood()
{
    const QString file = stateFolder(root) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json");
    writeContent(file, "{\"of\": \"expiration\", \"time\": \"today\"}");

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.exitCode, 1);
    QCOMPARE(undo.standardError, complaint(file.toUtf8() + " cannot be understood"));
    QCOMPARE(client(root, QStringLiteral("history")).standardOutput,
             QByteArray("1  cannot be read: " + file.toUtf8() + '\n'));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void UndoTest::refusesToUndoForUnknownAccount()
{
    writeContent(stateFolder(root) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"user -l\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.standardError, complaint("the account -l does not exist"));
    QCOMPARE(undo.exitCode, 1);
}

void UndoTest::writesNothingWithoutWayBack()
{
    const ScopedVariable home("XDG_STATE_HOME", "/dev/null");
    const ProgramResult set =
        runAs(root,
              QStringLiteral("accountpolicyctl"),
              {QStringLiteral("set"), QStringLiteral("expiration"), QStringLiteral("maxInterval=7")});

    const QRegularExpression error(
        QStringLiteral("^accountpolicyctl: nothing was changed, since the way back cannot be saved; set XDG_STATE_HOME "
                       "to a folder of yours\n/dev/null/accountpolicyctl/\\d{8}T\\d{9}-\\d+\\.json: .+\n$"));
    QVERIFY2(error.match(QString::fromUtf8(set.standardError)).hasMatch(), set.standardError.constData());
    QCOMPARE(set.exitCode, 1);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void UndoTest::writesNothingWithoutHome()
{
    const QString folder = QStringLiteral("/run/without-home");
    writeContent(folder + QStringLiteral("/1.json"), "{}");
    const QString database = QStringLiteral("/etc/passwd");
    const QByteArray accounts = contentOf(database);
    writeContent(database, QByteArray(accounts).replace(accountHome, "nowhere"));
    const QStringList bare =
        withoutHome + QStringList{QStringLiteral("-C"), folder, QStringLiteral("accountpolicyctl")};
    const auto run = [&](const char *words) {
        return runAs(accountId, QStringLiteral("env"), bare + splitWords(QString::fromLatin1(words)));
    };

    const ProgramResult set = run("set expiration maxInterval=7");
    const ProgramResult history = run("history");
    writeContent(database, accounts);

    QCOMPARE(
        set.standardError,
        complaint("nothing was changed, since the way back cannot be saved; set XDG_STATE_HOME to a folder of yours\n"
                  "this account has no home folder"));
    QCOMPARE(set.exitCode, 1);
    QCOMPARE(history.standardOutput, QByteArray());
    QCOMPARE(history.exitCode, 0);
}

void UndoTest::keepsHistoryInTheHomeOfTheAccount()
{
    QVERIFY(QDir().mkpath(QString::fromLatin1(accountHome)) && chown(accountHome, accountId, accountId) == 0);
    const ProgramResult set =
        runAs(accountId,
              QStringLiteral("env"),
              withoutHome + splitWords(QStringLiteral("accountpolicyctl set expiration maxInterval=7")));

    QCOMPARE(set.standardError, complaint("not authorized"));
    QVERIFY(QDir(QString::fromLatin1(accountHome) + QStringLiteral("/.local/state/accountpolicyctl")).exists());
}

QTEST_GUILESS_MAIN(UndoTest)
#include "UndoTest.moc"
