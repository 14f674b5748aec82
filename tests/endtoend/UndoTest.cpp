// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client's history, and the way back from each change: UndoTest.answers, UndoTest.changesPam, and what needs more than a shell.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/Sessions.h"

#include <QTest>

#include <csignal>

class UndoTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void changesPam_data();
    void changesPam();
    void undoReachesTheLastChangeAfterRefusal();
    void keepsWayBackFromWriteWithoutAnswer();
    void refusesToUndoForUnknownAccount();
};

void UndoTest::changesPam_data()
{
    addSessions();
}

void UndoTest::changesPam()
{
    play();
}

void UndoTest::undoReachesTheLastChangeAfterRefusal()
{
    const ProgramResult inForce = success("expiration: in force\n");
    {
        const PolkitRule rule("writepasswordexpirationpolicy", "nobody", "YES");
        QCOMPARE(client(nobody, "set expiration maxInterval=8"), inForce);
        QCOMPARE(client(nobody, "set expiration maxInterval=7"), inForce);
    }

    QCOMPARE(client(nobody, "set complexity minlen=12"), failure(3, withoutTerminal));
    QCOMPARE(client(nobody, "set lockout deny=5 --force"), failure(3, withoutTerminal));

    const PolkitRule rule("writepasswordexpirationpolicy", "nobody", "YES");
    QCOMPARE(client(nobody, "undo"),
             success("expiration   now     then\nmaxInterval  7 days  8 days\nexpiration: in force\n"));
    QCOMPARE(contentOf(loginDefsFile), QByteArray("PASS_MAX_DAYS 8\n"));
}

// takes longer than all else
void UndoTest::keepsWayBackFromWriteWithoutAnswer()
{
    replaceTool("kill -STOP $PPID"); // the helper

    const ProgramResult set = client(root, "set complexity minlen=12");
    kill(static_cast<pid_t>(helperProcess()), SIGCONT);

    QCOMPARE(set, failure(5, "the helper has not answered in time; it may still carry the change out"));
    QCOMPARE(shell(root, QStringLiteral("accountpolicyctl history | cut -d ' ' -f 6-")),
             success("set complexity minlen=12\n"));
    QCOMPARE(client(root, "show").exitCode, 0);
}

void UndoTest::refusesToUndoForUnknownAccount()
{
    writeContent(stateFolder(root) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"user -l\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");

    QCOMPARE(client(root, "undo"), failure(1, "the account -l does not exist"));
}

QTEST_GUILESS_MAIN(UndoTest)
#include "UndoTest.moc"
