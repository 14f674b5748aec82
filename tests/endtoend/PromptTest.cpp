// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client on a terminal: a password prompt of polkit's own agent, answered by a person.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <atomic>
#include <thread>

namespace
{
constexpr int root = 0;
constexpr int administrator = 4322;
const char password[] = "Kw7-zR4q-Tm2xBv9";

const QString accountpolicyctl = QStringLiteral("accountpolicyctl");

QByteArray loginDefs()
{
    return contentOf(QStringLiteral("/etc/login.defs"));
}

/// What the client itself says at the end of the terminal's text, where the agent may have left its colours.
QByteArray lastLine(const QByteArray &output)
{
    return output.trimmed().split('\n').constLast().trimmed().replace("\033[0m", "");
}

void prepareStateFolder()
{
    client(administrator, QStringLiteral("--version"));
    qputenv("XDG_STATE_HOME", stateFolder(administrator).toLocal8Bit());
}

/// Types the password once the agent is ready for it: what comes before it hides what is typed is thrown away.
void answer(PseudoTerminal *terminal, const QByteArray &typed)
{
    QTRY_VERIFY(!terminal->echoes());
    terminal->type(typed + '\r');
}

void slowDown(const QString &tool)
{
    const QByteArray moved = tool.toLatin1() + ".real";
    writeProgram(QString::fromLatin1(moved), contentOf(tool));
    writeProgram(tool, "#!/bin/sh\nsleep 3\nexec " + moved + " \"$@\"\n");
}
}

class PromptTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void asksAndWrites();
    void refusesWrongPassword();
    void ctrlCAtThePromptChangesNothing();
    void asksNothingIfToldSo();
    void asksNothingToRead();
    void asksOnceAmidRefusalsOfOthers();
    void asksForReadingWhereARuleWantsIt();
    void showsThatItWaits();
    void showsNoWaitingOffTheTerminal();
    void tellsThatHelperIsBusyAtAPrompt();

private:
    PamState m_stockPam;
    QByteArray m_tool = contentOf(QStringLiteral("/usr/sbin/pam-auth-update"));
};

void PromptTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    const QString add = QStringLiteral("-u %1 -M -G sudo policyadmin").arg(administrator);
    QCOMPARE(runAs(root, QStringLiteral("useradd"), splitWords(add)).exitCode, 0);
    const QByteArray line = "policyadmin:" + QByteArray(password) + '\n';
    QCOMPARE(runAs(root, QStringLiteral("chpasswd"), {QStringLiteral("-c"), QStringLiteral("SHA512")}, line).exitCode,
             0);
    qputenv("TERM", "dumb");
    prepareStateFolder();
}

void PromptTest::init()
{
    m_stockPam.restore();
    writeProgram(QStringLiteral("/usr/sbin/pam-auth-update"), m_tool);
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\n");
}

void PromptTest::asksAndWrites()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Authentication is required to change when passwords and accounts of new users expire"),
             terminal.output().constData());
    QVERIFY(terminal.waitFor("Password: "));
    answer(&terminal, password);

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(lastLine(terminal.output()), QByteArray("expiration: in force"));
    QVERIFY(!terminal.output().contains(password));
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::refusesWrongPassword()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    answer(&terminal, "wrong");

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: not authorized"));
    QCOMPARE(terminal.output().count("Password: "), 1);
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
}

void PromptTest::ctrlCAtThePromptChangesNothing()
{
    {
        PseudoTerminal terminal(
            administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
        QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
        QTRY_VERIFY(!terminal.echoes());
        terminal.type("\x03");

        QCOMPARE(terminal.waitForEnd(), 3);
        QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: cancelled"));
        QVERIFY(terminal.echoes());
        QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
    }
    // and the helper is free for the next
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
}

void PromptTest::asksNothingIfToldSo()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7 --no-ask-password")));

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(terminal.output(), QByteArray("accountpolicyctl: not authorized\r\n"));
}

void PromptTest::asksNothingToRead()
{
    PseudoTerminal terminal(administrator, accountpolicyctl, splitWords(QStringLiteral("show expiration")));

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(terminal.output(),
             QByteArray("Password expiration of new accounts\r\n"
                        "  maxInterval       90 days\r\n"
                        "  minInterval       not set\r\n"
                        "  warningInterval   not set\r\n"
                        "  inactiveInterval  never\r\n"
                        "  expireDate        not set\r\n"));
}

void PromptTest::asksOnceAmidRefusalsOfOthers()
{
    std::atomic<bool> done{false};
    std::atomic<int> refusals{0};
    std::thread others([&done, &refusals] {
        while (!done) {
            refusals += client(nobody, QStringLiteral("set expiration maxInterval=9")).exitCode == 3 ? 1 : 1000;
        }
    });
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    const bool asked = terminal.waitFor("Password: ");
    done = true; // those who are turned away meanwhile wait for their turn
    answer(&terminal, password);
    const int exitCode = terminal.waitForEnd();
    others.join();

    QVERIFY2(asked, terminal.output().constData());
    QCOMPARE(exitCode, 0);
    QCOMPARE(terminal.output().count("Password: "), 1);
    QVERIFY2(refusals > 0 && refusals < 1000, qPrintable(QString::number(refusals)));
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::asksForReadingWhereARuleWantsIt()
{
    const QString rule = QStringLiteral("/etc/polkit-1/rules.d/10-restrict.rules");
    writeContent(
        rule,
        "polkit.addRule(function(action, subject) {\n"
        "    if (action.id.indexOf(\"accountpolicieshelper.read\") >= 0 && subject.user == \"policyadmin\") {\n"
        "        return polkit.Result.AUTH_ADMIN;\n    }\n});\n");
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 3);

    PseudoTerminal terminal(administrator, accountpolicyctl, splitWords(QStringLiteral("show expiration")));
    const bool asked = terminal.waitFor("Password: ");
    answer(&terminal, password);
    const int exitCode = terminal.waitForEnd();
    QFile::remove(rule);

    QVERIFY2(asked, terminal.output().constData());
    QCOMPARE(exitCode, 0);
    QVERIFY(terminal.output().contains("  maxInterval       90 days\r\n"));
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 0);
}

void PromptTest::showsThatItWaits()
{
    slowDown(QStringLiteral("/usr/sbin/pam-auth-update"));
    PseudoTerminal terminal(root, accountpolicyctl, splitWords(QStringLiteral("set complexity minlen=12 --replace")));

    QCOMPARE(terminal.waitForEnd(), 0);
    // the line comes, and goes before the result is printed
    QCOMPARE(terminal.output(), QByteArray("waiting for the helper\xe2\x80\xa6\r\033[Kcomplexity: in force\r\n"));
}

void PromptTest::showsNoWaitingOffTheTerminal()
{
    slowDown(QStringLiteral("/usr/sbin/pam-auth-update"));

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12 --replace"));

    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("complexity: in force\n"));
}

void PromptTest::tellsThatHelperIsBusyAtAPrompt()
{
    PseudoTerminal other(administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(other.waitFor("Password: "), other.output().constData());
    QElapsedTimer clock;
    clock.start();

    const ProgramResult show = client(nobody, QStringLiteral("show lockout"));

    QCOMPARE(show.standardError, QByteArray("accountpolicyctl: the helper is busy; try again later\n"));
    QCOMPARE(show.standardOutput, QByteArray());
    QCOMPARE(show.exitCode, 5);
    QVERIFY(clock.elapsed() > 69000 && clock.elapsed() < 80000); // ms
    // the one at the prompt isn't disturbed by it
    answer(&other, password);
    const int exitCode = other.waitForEnd(100000);
    QVERIFY2(exitCode == 0, other.output().constData());
    QCOMPARE(client(nobody, QStringLiteral("show lockout")).exitCode, 0);
}

QTEST_GUILESS_MAIN(PromptTest)
#include "PromptTest.moc"
