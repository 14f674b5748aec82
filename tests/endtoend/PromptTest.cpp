// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client on a terminal: a password prompt of polkit's own agent, answered by a person.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/PromptFixture.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

namespace
{
using Deed = std::function<void(PseudoTerminal *)>;

void interrupt(PseudoTerminal *terminal)
{
    kill(terminal->process(), SIGINT);
}

/// Without an answer.
void leave(PseudoTerminal *terminal)
{
    interrupt(terminal);
    QCOMPARE(terminal->waitForEnd(), 3);
}

Deed typing(const QByteArray &keys)
{
    return [keys](PseudoTerminal *terminal) {
        terminal->type(keys);
    };
}

void signalAgent(const char *signal)
{
    QCOMPARE(runAs(root,
                   QStringLiteral("pkill"),
                   {QLatin1String(signal), QStringLiteral("-x"), QStringLiteral("pkttyagent")})
                 .exitCode,
             0);
}

void killAgent(PseudoTerminal *)
{
    signalAgent("-KILL");
}

QByteArray outputOf(const QString &script)
{
    const ProgramResult result = runAs(root, QStringLiteral("bash"), {QStringLiteral("-c"), script});
    return result.standardOutput + result.standardError;
}

/// polkit's program that checks a password; this one takes none, and does something else when its agent is gone.
class Questioner
{
public:
    explicit Questioner(const QByteArray &script)
    {
        QFile::rename(m_path, m_path + QStringLiteral(".real"));
        writeProgram(m_path, "#!/bin/sh\necho 'PAM_PROMPT_ECHO_OFF Password: '\ncat >/dev/null\n" + script + '\n');
    }
    ~Questioner()
    {
        QFile::remove(m_path);
        QFile::rename(m_path + QStringLiteral(".real"), m_path);
    }

private:
    Q_DISABLE_COPY_MOVE(Questioner)

    QString m_path = QStringLiteral("/usr/lib/polkit-1/polkit-agent-helper-1");
};

/// polkit's releases have different ones.
QByteArray withoutColours(const QByteArray &text)
{
    static const QRegularExpression colour(QStringLiteral("\033\\[[0-9;]*m"));
    return QString::fromUtf8(text).remove(colour).toUtf8();
}

QByteArray shownFrom(const PseudoTerminal &terminal, const QByteArray &text)
{
    return shown(terminal).mid(shown(terminal).indexOf(text));
}

const char complete[] = "==== AUTHENTICATION COMPLETE ====\r\n";
const char failed[] = "polkit-agent-helper-1: pam_authenticate failed: Authentication failure\r\n";

void hangUpAfter(int delay)
{
    const ScopedVariable counters = uncounted();
    PseudoTerminal terminal = clientAtTerminal();
    QTest::qWait(delay);
    terminal.hangUp();
    terminal.waitForEnd();
}
}
Q_DECLARE_METATYPE(Deed)

class PromptTest : public PromptFixture
{
    Q_OBJECT

private Q_SLOTS:
    void asksAndWrites();
    void givesTheAgentNoPipeOfItsOwn();
    void keepsNoTerminalOpenButItsStreams();
    void letsTheSessionsAgentGoFirst_data();
    void letsTheSessionsAgentGoFirst();
    void hasTheLastWordAfterAPrompt_data();
    void hasTheLastWordAfterAPrompt();
    void hasTheLastWordAfterAChoice_data();
    void hasTheLastWordAfterAChoice();
    void hasTheLastWordWhateverIsLeftBehind_data();
    void hasTheLastWordWhateverIsLeftBehind();
    void asksOnTheTerminalOfRedirectedClient_data();
    void asksOnTheTerminalOfRedirectedClient();
    void closedTerminalLeavesTheHelperFree();
    void asksNothing_data();
    void asksNothing();
    void asksOnceAmidRefusalsOfOthers();
    void asksForReadingWhereARuleWantsIt_data();
    void asksForReadingWhereARuleWantsIt();
    void asksOnBehalfOfTheService_data();
    void asksOnBehalfOfTheService();
    void asksNothingOnBehalfOfTheService_data();
    void asksNothingOnBehalfOfTheService();
};

void PromptTest::asksAndWrites()
{
    PseudoTerminal terminal = clientAtTerminal();
    // sooner than the limit for an agent that does not register
    QVERIFY2(
        terminal.waitFor("Authentication is required to change when passwords and accounts of new users expire", 9000),
        terminal.output().constData());
    answer(&terminal);

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(lastLine(shown(terminal)), QByteArray("expiration: in force"));
    QVERIFY(!terminal.output().contains(QByteArray(password)));
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::givesTheAgentNoPipeOfItsOwn()
{
    PseudoTerminal terminal = clientAtTerminal();
    awaitPrompt(&terminal);

    // its streams are the client's; another pipe is the agent's and its child's, or came from whoever started the client
    QCOMPARE(outputOf(QStringLiteral("pipes() { find \"${@/%//fd}\" -lname 'pipe:*' -printf '%l\\n' | sort -u; }; "
                                     "agent=$(pgrep -x pkttyagent) && child=$(pgrep -P $agent) && "
                                     "client=$(pgrep -x accountpolicyct) && cd /proc && "
                                     "cmp <(readlink $agent/fd/{0,1,2}) <(readlink $client/fd/{0,1,2}) && "
                                     "comm -12 <(pipes $agent) <(pipes $child) | wc -l && "
                                     "comm -23 <(pipes $agent) <(pipes $child $client) | wc -l")),
             QByteArray("2\n0\n"));
    leave(&terminal);
}

void PromptTest::keepsNoTerminalOpenButItsStreams()
{
    PseudoTerminal terminal = clientAtTerminal();
    awaitPrompt(&terminal);

    QCOMPARE(outputOf(QStringLiteral("cd /proc/%1/fd && find . -lname '/dev/tty' -o -lname '/dev/pts/*' | sort | xargs")
                          .arg(terminal.process())),
             QByteArray("./0 ./1 ./2\n"));
    leave(&terminal);
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
    awaitPrompt(&terminal);

    QCOMPARE(outputOf(QStringLiteral("ps -o args= $(pgrep -x pkttyagent) | sed -E 's/(notify-fd) [0-9]+/\\1 N/'")),
             arguments + '\n');
    leave(&terminal);
}

void PromptTest::hasTheLastWordAfterAPrompt_data()
{
    QTest::addColumn<Deed>("deed");
    QTest::addColumn<QByteArray>("ending");
    const QByteArray cancelled = "accountpolicyctl: cancelled\r\n";
    const QByteArray refused = "accountpolicyctl: not authorized\r\n";
    QTest::newRow("wrong password") << typing(
        "wrong\r") << failed + QByteArray("\033[1;31m==== AUTHENTICATION FAILED ====\r\n\033[0m") + refused;
    QTest::newRow("Ctrl-C") << typing("\x03") << cancelled;
    QTest::newRow("signal for it alone") << Deed(interrupt) << failed + cancelled;
    QTest::newRow("stopped agent") << Deed([](PseudoTerminal *terminal) {
        signalAgent("-STOP");
        interrupt(terminal);
    }) << failed + cancelled;
    QTest::newRow("Ctrl-C, but the refusal comes first") << Deed([](PseudoTerminal *terminal) {
        kill(terminal->process(), SIGSTOP);
        terminal->type("\x03");
        // is answered when the helper has answered the other
        QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=7 --dry-run")).exitCode, 0);
        kill(terminal->process(), SIGCONT);
    }) << cancelled;
}

void PromptTest::hasTheLastWordAfterAPrompt()
{
    QFETCH(Deed, deed);
    QFETCH(QByteArray, ending);
    PseudoTerminal terminal = clientAtTerminal();
    awaitPrompt(&terminal);

    deed(&terminal);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(shownFrom(terminal, "Password: "), "Password: \r\n" + ending);
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
    // and the helper is free for the next
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
}

void PromptTest::hasTheLastWordAfterAChoice_data()
{
    QTest::addColumn<Deed>("deed");
    QTest::addColumn<QByteArray>("ending");
    QTest::newRow("Ctrl-C") << typing("\x03") << QByteArray("^C\r\naccountpolicyctl: cancelled\r\n");
    QTest::newRow("signal for it alone") << Deed(interrupt) << QByteArray("\r\naccountpolicyctl: cancelled\r\n");
    QTest::newRow("killed agent") << Deed(killAgent) << QByteArray("\r\naccountpolicyctl: not authorized\r\n");
}

void PromptTest::hasTheLastWordAfterAChoice()
{
    QFETCH(Deed, deed);
    QFETCH(QByteArray, ending);
    putIntoGroups(QStringLiteral("otheradmin"), QStringLiteral("sudo"));
    PseudoTerminal terminal = clientAtTerminal();
    const QByteArray choice = "Choose identity to authenticate as (1-2): ";
    QVERIFY2(terminal.waitFor(choice), terminal.output().constData());

    deed(&terminal);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(shownFrom(terminal, choice), choice + ending);
}

void PromptTest::hasTheLastWordWhateverIsLeftBehind_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<Deed>("deed");
    QTest::addColumn<QByteArray>("output");
    const QByteArray talk = "sleep 1; echo last >&2";
    QTest::newRow("it talks on") << talk << Deed(interrupt)
                                 << QByteArray("Password: \r\nlast\r\naccountpolicyctl: cancelled\r\n");
    QTest::newRow("it stays") << QByteArray("kill -STOP $$") << Deed(interrupt)
                              << QByteArray("Password: \r\naccountpolicyctl: cancelled\r\n");
    QTest::newRow("the agent was killed")
        << talk << Deed(killAgent) << QByteArray("Password: \r\nlast\r\naccountpolicyctl: not authorized\r\n");
}

void PromptTest::hasTheLastWordWhateverIsLeftBehind()
{
    QFETCH(QByteArray, script);
    QFETCH(Deed, deed);
    QFETCH(QByteArray, output);
    const Questioner questioner(script);
    PseudoTerminal terminal = clientAtTerminal();
    awaitPrompt(&terminal);

    deed(&terminal);

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(shownFrom(terminal, "Password: "), output);
    QCOMPARE(outputOf(QStringLiteral("pgrep -x polkit-agent-he")), QByteArray());
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
    answer(&terminal);

    QCOMPARE(terminal.waitForEnd(), 0);
    QVERIFY(terminal.echoes());
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::closedTerminalLeavesTheHelperFree()
{
    // a helper whose caller is gone while polkit is asked about it never answers anybody again
    for (int delay = 0; delay < 40; ++delay) {
        hangUpAfter(4 * delay);

        const ProgramResult reader = client(nobody, QStringLiteral("show lockout"));
        QCOMPARE(reader, success(reader.standardOutput)); // by the helper, or it would say so
    }
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
}

void PromptTest::asksNothing_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    const QString set = QStringLiteral("accountpolicyctl set expiration maxInterval=7 ");
    const QByteArray refused = "accountpolicyctl: not authorized\r\n";
    QTest::newRow("redirected") << set + QStringLiteral("</dev/null 2>/dev/null") << 3 << QByteArray();
    QTest::newRow("on a terminal of somebody else") << QStringLiteral("setsid -w ")
            + set << 3 << QByteArray("accountpolicyctl: ") + QByteArray(withoutTerminal).replace("\n", "\r\n") + "\r\n";
    QTest::newRow("if told so") << set + QStringLiteral("--no-ask-password") << 3 << refused;
    QTest::newRow("to read") << QStringLiteral("accountpolicyctl show expiration") << 0
                             << QByteArray("Password expiration of new accounts\r\n"
                                           "  maxInterval       90 days  /etc/login.defs\r\n"
                                           "  minInterval       not set\r\n"
                                           "  warningInterval   not set\r\n"
                                           "  inactiveInterval  never    /etc/default/useradd\r\n"
                                           "  expireDate        never\r\n");
}

void PromptTest::asksNothing()
{
    QFETCH(QString, script);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);

    PseudoTerminal terminal(administrator, QStringLiteral("sh"), {QStringLiteral("-c"), script});

    QCOMPARE(terminal.waitForEnd(), exitCode);
    QCOMPARE(shown(terminal), output);
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
    QTRY_VERIFY(refusals > 0);
    PseudoTerminal terminal = clientAtTerminal();
    awaitPrompt(&terminal);
    done = true; // those who are turned away meanwhile wait for their turn
    terminal.type(password + QByteArray("\r"));
    const int exitCode = terminal.waitForEnd();
    others.join();

    QCOMPARE(exitCode, 0);
    QCOMPARE(terminal.output().count("Password: "), 1);
    QVERIFY2(refusals < 1000, qPrintable(QString::number(refusals)));
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 7\n"));
}

void PromptTest::asksForReadingWhereARuleWantsIt_data()
{
    QTest::addColumn<QByteArray>("decision");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("last");
    const QByteArray refused = "accountpolicyctl: not authorized";
    QTest::newRow("right password") << QByteArray("AUTH_ADMIN") << QByteArray(password) << 0
                                    << QByteArray("expireDate        never");
    QTest::newRow("wrong password") << QByteArray("AUTH_ADMIN") << QByteArray("wrong") << 3 << refused;
    QTest::newRow("no password would help") << QByteArray("NO") << QByteArray() << 3 << refused;
}

void PromptTest::asksForReadingWhereARuleWantsIt()
{
    QFETCH(QByteArray, decision);
    QFETCH(QByteArray, typed);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, last);
    auto rule = std::make_unique<PolkitRule>("accountpolicieshelper.read", "policyadmin", decision);
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 3);

    PseudoTerminal terminal = clientAtTerminal("show expiration");
    if (!typed.isEmpty()) {
        answer(&terminal, typed);
    }
    const int ended = terminal.waitForEnd();
    rule.reset();

    QCOMPARE(ended, exitCode);
    QCOMPARE(terminal.output().count("Password: "), typed.isEmpty() ? 0 : 1);
    QCOMPARE(lastLine(shown(terminal)), last);
    QTRY_COMPARE(client(administrator, QStringLiteral("show expiration")).exitCode, 0);
}

void PromptTest::asksOnBehalfOfTheService_data()
{
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QByteArray>("question");
    QTest::addColumn<QByteArray>("typed");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("ending");
    QTest::addColumn<QByteArray>("deny");
    const QByteArray before = "3\n";
    const QByteArray set = "set faillock deny=4";
    const QByteArray toWrite = "Authentication is required to change after how many failed logins accounts are locked";
    const QByteArray cancelled = "accountpolicyctl: cancelled\r\n";
    const QByteArray enter = password + QByteArray("\r");
    QTest::newRow("to write") << set << toWrite << enter << 0 << complete + QByteArray("faillock: in force\r\n")
                              << QByteArray("4\n");
    QTest::newRow("to list") << QByteArray(
        "locked") << QByteArray("Authentication is required to list the accounts that failed logins have locked")
                             << enter << 0 << complete + QByteArray("no account is locked after failed logins\r\n")
                             << before;
    QTest::newRow("to unlock") << QByteArray("unlock otheradmin")
                               << QByteArray(
                                      "Authentication is required to unlock an account that failed logins have locked")
                               << enter << 0 << complete + QByteArray("no failed logins count against otheradmin\r\n")
                               << before;
    QTest::newRow("wrong password") << set << toWrite << QByteArray("wrong\r") << 3
                                    << failed + QByteArray("==== AUTHENTICATION FAILED ====\r\n")
            + "accountpolicyctl: not authorized\r\n"
                                    << before;
    QTest::newRow("Ctrl-C") << set << toWrite << QByteArray("\x03") << 3 << cancelled << before;
}

void PromptTest::asksOnBehalfOfTheService()
{
    QFETCH(QByteArray, words);
    QFETCH(QByteArray, question);
    QFETCH(QByteArray, typed);
    QFETCH(QByteArray, ending);
    PseudoTerminal terminal = clientAtTerminal(words.constData());
    QVERIFY2(terminal.waitFor(question), terminal.output().constData());
    awaitPrompt(&terminal);

    terminal.type(typed);

    QTEST(terminal.waitForEnd(), "exitCode");
    QCOMPARE(withoutColours(shownFrom(terminal, "Password: ")), "Password: \r\n" + ending);
    QVERIFY(terminal.echoes());
    QTEST(client(nobody, QStringLiteral("show faillock deny")).standardOutput, "deny");
}

void PromptTest::asksNothingOnBehalfOfTheService_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QByteArray>("output");
    const QString locked = QStringLiteral("accountpolicyctl locked ");
    QTest::newRow("on a terminal of somebody else") << QStringLiteral("setsid -w ")
            + locked << QByteArray("accountpolicyctl: ") + QByteArray(withoutTerminal).replace("\n", "\r\n") + "\r\n";
    QTest::newRow("if told so") << locked + QStringLiteral("--no-ask-password")
                                << QByteArray("accountpolicyctl: not authorized\r\n");
}

void PromptTest::asksNothingOnBehalfOfTheService()
{
    QFETCH(QString, script);

    PseudoTerminal terminal(administrator, QStringLiteral("sh"), {QStringLiteral("-c"), script});

    QCOMPARE(terminal.waitForEnd(), 3);
    QTEST(shown(terminal), "output");
}

QTEST_GUILESS_MAIN(PromptTest)
#include "PromptTest.moc"
