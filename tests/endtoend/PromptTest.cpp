// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client on a terminal: a password prompt of polkit's own agent, answered by a person.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/support/Files.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>

namespace
{
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

/// As people do, who need a moment; they may need longer than the waiting line.
void answerSlowly(PseudoTerminal *terminal)
{
    QTest::qWait(1500);
    answer(terminal, password);
}

void putIntoGroups(const QString &account, const QString &groups)
{
    QCOMPARE(runAs(root, QStringLiteral("usermod"), {QStringLiteral("-G"), groups, account}).exitCode, 0);
}

/// A program that takes some seconds more, until this object ends.
class SlowProgram
{
public:
    explicit SlowProgram(const QString &path, int seconds = 3) : m_path(path), m_program(contentOf(path))
    {
        const QByteArray moved = path.toLatin1() + ".real";
        writeProgram(QString::fromLatin1(moved), m_program);
        // by a new file: the old one may be running
        QFile::remove(path);
        writeProgram(path, "#!/bin/sh\nsleep " + QByteArray::number(seconds) + "\nexec " + moved + " \"$@\"\n");
    }
    ~SlowProgram()
    {
        QFile::remove(m_path);
        writeProgram(m_path, m_program);
    }

private:
    Q_DISABLE_COPY_MOVE(SlowProgram)

    QString m_path;
    QByteArray m_program;
};

bool killPolkit()
{
    const QDBusReply<uint> polkit =
        QDBusConnection::systemBus().interface()->servicePid(QStringLiteral("org.freedesktop.PolicyKit1"));
    return polkit.isValid() && kill(static_cast<pid_t>(polkit.value()), SIGKILL) == 0;
}

QString pamAuthUpdate()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}

/// A line that came and was taken away again.
QByteArray waitedFor(const QByteArray &whom)
{
    return "waiting for the " + whom + "\xe2\x80\xa6\r\033[K";
}

/// A client with these limits, in ms: for the answer, and for a person at the prompt.
QStringList setImpatiently(int answerLimit, int promptLimit, const QString &words)
{
    return QStringList{QString::number(answerLimit), QString::number(promptLimit)} + splitWords(words);
}
}

class PromptTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

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
    void givesUpAPromptThatNobodyAnswers();
    void givesUpAPromptWhenPolkitIsGone_data();
    void givesUpAPromptWhenPolkitIsGone();
    void goesOnWithoutPolkitOnceItHasDecided();
    void goesOnWithoutAnAgentThatDoesNotRegister();
    void tellsThatAnAnsweredChangeMayStillCome();
    void asksNothingIfToldSo();
    void asksNothingToRead();
    void asksOnceAmidRefusalsOfOthers();
    void asksForReadingWhereARuleWantsIt();
    void asksOnceForReading_data();
    void asksOnceForReading();
    void showsThatItWaits_data();
    void showsThatItWaits();
    void showsNoWaitingOnceThePromptMayCome();
    void showsThatItWaitsAfterAPrompt();
    void showsNoWaitingOffTheTerminal();
    void tellsThatHelperIsBusyAtAPrompt();

private:
    PamState m_stockPam;
};

void PromptTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QCOMPARE(runAs(root, QStringLiteral("useradd"), splitWords(QStringLiteral("-M otheradmin"))).exitCode, 0);
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
    putIntoGroups(QStringLiteral("otheradmin"), QString());
    m_stockPam.restore();
    QDir(stateFolder(administrator) + QStringLiteral("/accountpolicyctl")).removeRecursively();
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\n");
}

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

void PromptTest::givesUpAPromptThatNobodyAnswers()
{
    PseudoTerminal terminal(administrator,
                            QStringLiteral(IMPATIENT_CLIENT),
                            setImpatiently(70000, 8000, QStringLiteral("expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());

    QCOMPARE(terminal.waitForEnd(), 3);
    QVERIFY2(terminal.output().endsWith(
                 "\r\naccountpolicyctl: not authorized: nobody has answered the question for a password in time\r\n"),
             terminal.output().constData());
    QVERIFY(terminal.echoes());
    QCOMPARE(client(administrator, QStringLiteral("history")).standardOutput, QByteArray());
    // and the helper is free for the next
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 8\n"));
}

void PromptTest::givesUpAPromptWhenPolkitIsGone_data()
{
    QTest::addColumn<QString>("otherGroups");
    QTest::addColumn<QByteArray>("prompt");
    QTest::addColumn<QByteArray>("error");
    QTest::addColumn<int>("changesKept");
    QTest::newRow("for a password") << QString() << QByteArray("Password: ")
                                    << QByteArray("not authorized: polkit has ended before it could decide") << 0;
    QTest::newRow("for one of two administrators")
        << QStringLiteral("sudo") << QByteArray("Choose identity to authenticate as")
        << QByteArray("polkit has ended; the helper may still carry it out") << 1;
}

void PromptTest::givesUpAPromptWhenPolkitIsGone()
{
    QFETCH(QString, otherGroups);
    QFETCH(QByteArray, prompt);
    QFETCH(QByteArray, error);
    QFETCH(int, changesKept);
    putIntoGroups(QStringLiteral("otheradmin"), otherGroups);
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));
    QVERIFY2(terminal.waitFor(prompt), terminal.output().constData());
    QVERIFY(killPolkit());

    const int exitCode = terminal.waitForEnd(20000);
    endHelper(); // it waits for polkit's answer for good

    QCOMPARE(exitCode, 3);
    QVERIFY2(terminal.output().contains("\r\naccountpolicyctl: " + error + "\r\n"), terminal.output().constData());
    QVERIFY(terminal.echoes());
    QCOMPARE(client(administrator, QStringLiteral("history")).standardOutput.count('\n'), changesKept);
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
}

void PromptTest::goesOnWithoutPolkitOnceItHasDecided()
{
    const SlowProgram slow(pamAuthUpdate());
    PseudoTerminal terminal(administrator, accountpolicyctl, splitWords(QStringLiteral("set complexity minlen=12")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    answerSlowly(&terminal);
    QVERIFY2(terminal.waitFor("waiting for the helper"), terminal.output().constData());

    QVERIFY(killPolkit());

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(lastLine(terminal.output()).split('\r').constLast(), QByteArray("\033[Kcomplexity: in force"));
}

void PromptTest::goesOnWithoutAnAgentThatDoesNotRegister()
{
    const SlowProgram agent(QStringLiteral("/usr/bin/pkttyagent"), 100);
    QElapsedTimer clock;
    clock.start();

    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(lastLine(terminal.output()), waitedFor("helper") + "accountpolicyctl: not authorized");
    QVERIFY2(clock.elapsed() >= 10000 && clock.elapsed() < 30000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
}

void PromptTest::tellsThatAnAnsweredChangeMayStillCome()
{
    const SlowProgram slow(pamAuthUpdate(), 12);
    PseudoTerminal terminal(administrator,
                            QStringLiteral(IMPATIENT_CLIENT),
                            setImpatiently(3000, 60000, QStringLiteral("complexity minlen=12")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    answerSlowly(&terminal);

    const int exitCode = terminal.waitForEnd();
    QVERIFY2(exitCode == 5, terminal.output().constData());
    QCOMPARE(
        lastLine(terminal.output()).split('\r').constLast(),
        QByteArray("\033[Kaccountpolicyctl: the helper has not answered in time; it may still carry the change out"));
    QVERIFY(client(administrator, QStringLiteral("history")).standardOutput.endsWith("  set\n"));
    QTRY_VERIFY_WITH_TIMEOUT(
        client(root, QStringLiteral("show complexity")).standardOutput.contains("minlen            12 characters"),
        20000);
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

void PromptTest::showsThatItWaits_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("whom");
    QTest::addColumn<QByteArray>("result");
    QTest::newRow("for a write") << pamAuthUpdate() << QStringLiteral("set complexity minlen=12 --replace")
                                 << QByteArray("helper") << QByteArray("complexity: in force\r\n");
    QTest::newRow("for an account") << QStringLiteral("/usr/bin/chage")
                                    << QStringLiteral("set user policyadmin maxInterval=40") << QByteArray("accounts")
                                    << QByteArray("user policyadmin: in force\r\n");
    QTest::newRow("for the helper's start")
        << QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper") << QStringLiteral("doctor")
        << QByteArray("helper") << QByteArray("ok    nothing was left behind\r\n");
}

void PromptTest::showsThatItWaits()
{
    QFETCH(QString, program);
    QFETCH(QString, words);
    QFETCH(QByteArray, whom);
    QFETCH(QByteArray, result);
    const SlowProgram slow(program);
    endHelper();

    PseudoTerminal terminal(root, accountpolicyctl, splitWords(words));

    QCOMPARE(terminal.waitForEnd(), 0);
    // the line comes, and goes before the result is printed
    QVERIFY2(terminal.output().startsWith(waitedFor(whom)), terminal.output().constData());
    QVERIFY2(terminal.output().endsWith(result), terminal.output().constData());
    QCOMPARE(terminal.output().count("waiting for"), 1);
}

void PromptTest::showsNoWaitingOnceThePromptMayCome()
{
    const PolkitRule rule("writepasswordexpirationpolicy", "policyadmin", "AUTH_ADMIN", 2);
    killPolkit(); // the next one knows the rule

    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set expiration maxInterval=7")));

    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    // while polkit was asked whether it would need a password, but not while it was asked for the decision
    QCOMPARE(terminal.output().count("waiting for"), 1);
    answer(&terminal, password);
    QCOMPARE(terminal.waitForEnd(), 0);
}

void PromptTest::showsThatItWaitsAfterAPrompt()
{
    const SlowProgram slow(pamAuthUpdate());
    PseudoTerminal terminal(
        administrator, accountpolicyctl, splitWords(QStringLiteral("set complexity minlen=12 --replace")));
    QVERIFY2(terminal.waitFor("Password: "), terminal.output().constData());
    answerSlowly(&terminal);

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(terminal.output().count("waiting for"), 1);
    QVERIFY2(terminal.output().endsWith(waitedFor("helper") + "complexity: in force\r\n"),
             terminal.output().constData());
}

void PromptTest::showsNoWaitingOffTheTerminal()
{
    const SlowProgram slow(pamAuthUpdate());

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
