// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client on a terminal: a password prompt of polkit's own agent, answered by a person.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/PromptFixture.h"
#include "tests/support/Files.h"
#include "tests/support/PseudoTerminal.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>

class PromptTest : public PromptFixture
{
    Q_OBJECT

private Q_SLOTS:
    void asksAndWrites();
    void givesTheAgentNoPipeOfItsOwn();
    void keepsNoTerminalOpenButItsStreams();
    void letsTheSessionsAgentGoFirst_data();
    void letsTheSessionsAgentGoFirst();
    void refusesWrongPassword();
    void ctrlCAtThePromptChangesNothing();
    void isCancelledByASignalForItAlone();
    void bringsTheTerminalBackFromAStoppedAgent();
    void tellsCtrlCFromARefusalThatComesFirst();
    void asksOnTheTerminalOfRedirectedClient_data();
    void asksOnTheTerminalOfRedirectedClient();
    void asksNothingWithoutTerminal_data();
    void asksNothingWithoutTerminal();
    void asksNothingIfToldSo();
    void asksNothingToRead();
    void asksOnceAmidRefusalsOfOthers();
    void asksForReadingWhereARuleWantsIt();
    void asksOnceForReading_data();
    void asksOnceForReading();
};

void PromptTest::asksAndWrites()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    // sooner than the limit for an agent that does not register
    QVERIFY2(
        terminal.waitFor("Authentication is required to change when passwords and accounts of new users expire", 9000),
        terminal.output().constData());
    QVERIFY(terminal.waitFor("Password: "));
    answer(&terminal, password);

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(lastLine(terminal.output()), QByteArray("expiration: in force"));
    QVERIFY(!terminal.output().contains(password));
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::givesTheAgentNoPipeOfItsOwn()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());

    // its streams are the client's; another pipe is the agent's and its child's, or came from whoever started the client
    const ProgramResult pipes =
        runAs(root,
              QStringLiteral("bash"),
              {QStringLiteral("-c"),
               QStringLiteral("pipes() { find \"${@/%//fd}\" -lname 'pipe:*' -printf '%l\\n' | sort -u; }; "
                              "agent=$(pgrep -x pkttyagent) && child=$(pgrep -P $agent) && "
                              "client=$(pgrep -x accountpolicyct) && cd /proc && "
                              "cmp <(readlink $agent/fd/{0,1,2}) <(readlink $client/fd/{0,1,2}) && "
                              "comm -12 <(pipes $agent) <(pipes $child) | wc -l && "
                              "comm -23 <(pipes $agent) <(pipes $child $client) | wc -l")});

    QCOMPARE(pipes.standardOutput + pipes.standardError, QByteArray("2\n0\n"));
    answer(&terminal, password);
    QCOMPARE(terminal.waitForEnd(), 0);
}

void PromptTest::keepsNoTerminalOpenButItsStreams()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());

    const ProgramResult terminals = runAs(root,
                                          QStringLiteral("find"),
                                          {QStringLiteral("/proc/%1/fd").arg(terminal.process()),
                                           QStringLiteral("("),
                                           QStringLiteral("-lname"),
                                           QStringLiteral("/dev/tty"),
                                           QStringLiteral("-o"),
                                           QStringLiteral("-lname"),
                                           QStringLiteral("/dev/pts/*"),
                                           QStringLiteral(")"),
                                           QStringLiteral("-printf"),
                                           QStringLiteral("%f ")});

    QCOMPARE(terminals.standardOutput.simplified(), QByteArray("0 1 2"));
    answer(&terminal, password);
    QCOMPARE(terminal.waitForEnd(), 0);
}

void PromptTest::letsTheSessionsAgentGoFirst_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<QByteArray>("arguments");
    const QByteArray session = "/user.slice/user-4322.slice/session-c7.scope";
    const QByteArray unit = "/user.slice/user-4322.slice/user@4322.service/app.slice/terminal.service";
    const QByteArray withDisplay = "NAME=policyadmin\nSTATE=active\nDISPLAY=c7\n";
    const QByteArray withoutDisplay = "NAME=policyadmin\nSTATE=lingering\n";
    const QByteArray alone = "/usr/bin/pkttyagent --notify-fd N";
    const QByteArray asFallback = alone + " --fallback";
    QTest::newRow("in a session") << session << withoutDisplay << asFallback;
    QTest::newRow("in a unit beside the session") << unit << withDisplay << asFallback;
    QTest::newRow("in a unit without any session") << unit << withoutDisplay << alone;
    QTest::newRow("in a unit of the system") << QByteArray("/system.slice/cron.service") << withDisplay << alone;
}

void PromptTest::letsTheSessionsAgentGoFirst()
{
    QFETCH(QByteArray, group);
    QFETCH(QByteArray, user);
    QFETCH(QByteArray, arguments);
    // where no logind runs: the control group that it would put the client into, and what it would keep of the user
    writeContent(QStringLiteral("/run/cgroup"), "1:name=systemd:" + group + "\n0::" + group + '\n');
    QVERIFY(QDir().mkpath(QStringLiteral("/run/systemd/users")));
    writeContent(QStringLiteral("/run/systemd/users/%1").arg(administrator), user);

    PseudoTerminal terminal(root,
                            QStringLiteral("sh"),
                            {QStringLiteral("-c"),
                             QStringLiteral("mount --bind /run/cgroup /proc/$$/cgroup && "
                                            "exec setpriv --reuid %1 --regid %1 --init-groups "
                                            "accountpolicyctl set expiration maxInterval=7")
                                 .arg(administrator)});
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    const ProgramResult agent =
        runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("ps -o args= $(pgrep -x pkttyagent)")});
    answer(&terminal, password);

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(QString::fromLatin1(agent.standardOutput.trimmed())
                 .replace(QRegularExpression(QStringLiteral("--notify-fd \\d+")), QStringLiteral("--notify-fd N"))
                 .toLatin1(),
             arguments);
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

void PromptTest::isCancelledByASignalForItAlone()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    QTRY_VERIFY(!terminal.echoes());

    kill(terminal.process(), SIGINT);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: cancelled"));
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
}

void PromptTest::bringsTheTerminalBackFromAStoppedAgent()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    QTRY_VERIFY(!terminal.echoes());

    QCOMPARE(runAs(root, QStringLiteral("pkill"), splitWords(QStringLiteral("-STOP -x pkttyagent"))).exitCode, 0);
    kill(terminal.process(), SIGINT);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: cancelled"));
    QVERIFY(terminal.echoes());
}

void PromptTest::tellsCtrlCFromARefusalThatComesFirst()
{
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    QTRY_VERIFY(!terminal.echoes());

    kill(static_cast<pid_t>(terminal.process()), SIGSTOP);
    terminal.type("\x03");
    QTest::qWait(1000); // the agent ends, and the helper answers
    kill(static_cast<pid_t>(terminal.process()), SIGCONT);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: cancelled"));
}

void PromptTest::asksOnTheTerminalOfRedirectedClient_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("document from a file") << QStringLiteral("accountpolicyctl apply - </run/wanted.json");
    QTest::newRow("document from a pipe") << QStringLiteral("cat /run/wanted.json | accountpolicyctl apply -");
    QTest::newRow("without input") << QStringLiteral("accountpolicyctl apply /run/wanted.json <&-");
    QTest::newRow("output into a file") << QStringLiteral(
        "accountpolicyctl apply /run/wanted.json >/dev/null 2>/dev/null");
}

void PromptTest::asksOnTheTerminalOfRedirectedClient()
{
    QFETCH(QString, script);
    writeContent(QStringLiteral("/run/wanted.json"),
                 R"({"version": 1, "policies": {"expiration": {"maxInterval": 7}}})");

    PseudoTerminal terminal(administrator, QStringLiteral("sh"), {QStringLiteral("-c"), script});
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    answer(&terminal, password);

    QCOMPARE(terminal.waitForEnd(), 0);
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::asksNothingWithoutTerminal_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("redirected") << QStringLiteral(
        "accountpolicyctl set expiration maxInterval=7 </dev/null 2>/dev/null")
                                << QByteArray();
    QTest::newRow("on a terminal of somebody else")
        << QStringLiteral("setsid -w accountpolicyctl set expiration maxInterval=7")
        << QByteArray("accountpolicyctl: not authorized\r\n");
}

void PromptTest::asksNothingWithoutTerminal()
{
    QFETCH(QString, script);
    QFETCH(QByteArray, output);

    PseudoTerminal terminal(administrator, QStringLiteral("sh"), {QStringLiteral("-c"), script});

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(terminal.output(), output);
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
    auto rule = std::make_unique<PolkitRule>("accountpolicieshelper.read", "policyadmin", "AUTH_ADMIN");
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 3);

    PseudoTerminal terminal(administrator, accountpolicyctl, splitWords(QStringLiteral("show expiration")));
    const bool asked = terminal.waitFor("Password: ");
    answer(&terminal, password);
    const int exitCode = terminal.waitForEnd();
    rule.reset();

    QVERIFY2(asked, terminal.output().constData());
    QCOMPARE(exitCode, 0);
    QVERIFY(terminal.output().contains("  maxInterval       90 days\r\n"));
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 0);
}

void PromptTest::asksOnceForReading_data()
{
    QTest::addColumn<QByteArray>("decision");
    QTest::addColumn<int>("questions");
    QTest::newRow("wrong password") << QByteArray("AUTH_ADMIN") << 1;
    QTest::newRow("no password would help") << QByteArray("NO") << 0;
}

void PromptTest::asksOnceForReading()
{
    QFETCH(QByteArray, decision);
    QFETCH(int, questions);
    auto rule = std::make_unique<PolkitRule>("accountpolicieshelper.read", "policyadmin", decision);
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 3);

    PseudoTerminal terminal(administrator, accountpolicyctl, splitWords(QStringLiteral("show expiration")));
    if (questions > 0) {
        QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
        answer(&terminal, "wrong");
    }
    const int exitCode = terminal.waitForEnd();
    rule.reset();

    QCOMPARE(exitCode, 3);
    QCOMPARE(terminal.output().count("Password: "), questions);
    QCOMPARE(lastLine(terminal.output()), QByteArray("accountpolicyctl: not authorized"));
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 0);
}

QTEST_GUILESS_MAIN(PromptTest)
#include "PromptTest.moc"
