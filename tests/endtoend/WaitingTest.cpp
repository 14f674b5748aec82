// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client that waits: for a helper that takes its time, for a person, and for those who never answer.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/PromptFixture.h"
#include "tests/support/Files.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <csignal>

namespace
{
/// As people do, who need longer than it takes to see that they are asked, and than the waiting line.
void answerSlowly(PseudoTerminal *terminal)
{
    awaitPrompt(terminal);
    QTest::qWait(1500);
    terminal->type(password + QByteArray("\r"));
}

/// A program that waits at its start, but not in a preview, until letGo() or the end of this object.
class HeldProgram
{
public:
    explicit HeldProgram(const QString &path) : m_path(path), m_program(contentOf(path))
    {
        QFile::remove(m_signal);
        const QByteArray moved = path.toLatin1() + ".real";
        writeProgram(QString::fromLatin1(moved), m_program);
        // by a new file: the old one may be running
        QFile::remove(path);
        writeProgram(path,
                     "#!/bin/sh\n[ \"$1\" = --root ] || until [ -e " + m_signal.toLatin1()
                         + " ]; do sleep 0.1; done\nexec " + moved + " \"$@\"\n");
    }
    ~HeldProgram()
    {
        letGo();
        QFile::remove(m_path);
        writeProgram(m_path, m_program);
    }
    void letGo() const
    {
        writeContent(m_signal, QByteArray());
    }

private:
    Q_DISABLE_COPY_MOVE(HeldProgram)

    QString m_signal = QStringLiteral("/run/go");
    QString m_path;
    QByteArray m_program;
};

QString pamAuthUpdate()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}

/// A line that came and was taken away again.
QByteArray waitedFor(const QByteArray &whom)
{
    return "waiting for the " + whom + "\xe2\x80\xa6\r\033[K";
}

bool killPolkit()
{
    const QDBusReply<uint> polkit =
        QDBusConnection::systemBus().interface()->servicePid(QStringLiteral("org.freedesktop.PolicyKit1"));
    return polkit.isValid() && kill(static_cast<pid_t>(polkit.value()), SIGKILL) == 0;
}

/// A client that sets something, and has these limits in ms: for the answer, and for a person at the prompt.
PseudoTerminal impatientClient(const char *limitsAndWords)
{
    return {administrator,
            copyForEverybody(QStringLiteral(IMPATIENT_CLIENT)),
            splitWords(QString::fromLatin1(limitsAndWords))};
}
}

class WaitingTest : public PromptFixture
{
    Q_OBJECT

private Q_SLOTS:
    void givesUpAPromptThatNobodyAnswers();
    void givesUpAPromptWhenPolkitIsGone_data();
    void givesUpAPromptWhenPolkitIsGone();
    void goesOnWithoutPolkitOnceItHasDecided();
    void goesOnWithoutAnAgentThatDoesNotRegister();
    void tellsThatAnAnsweredChangeMayStillCome();
    void showsThatItWaits_data();
    void showsThatItWaits();
    void showsNoWaitingOnceThePromptMayCome();
    void showsThatItWaitsAfterAPrompt();
    void showsNoWaitingOffTheTerminal();
    void tellsThatHelperIsBusyAtAPrompt();
};

void WaitingTest::givesUpAPromptThatNobodyAnswers()
{
    PseudoTerminal terminal = impatientClient("70000 8000 expiration maxInterval=7");
    awaitPrompt(&terminal);

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

void WaitingTest::givesUpAPromptWhenPolkitIsGone_data()
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

void WaitingTest::givesUpAPromptWhenPolkitIsGone()
{
    QFETCH(QString, otherGroups);
    QFETCH(QByteArray, prompt);
    QFETCH(QByteArray, error);
    QFETCH(int, changesKept);
    putIntoGroups(QStringLiteral("otheradmin"), otherGroups);
    PseudoTerminal terminal = clientAtTerminal();
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

void WaitingTest::goesOnWithoutPolkitOnceItHasDecided()
{
    const HeldProgram update(pamAuthUpdate());
    PseudoTerminal terminal = clientAtTerminal("set complexity minlen=12");
    answerSlowly(&terminal);
    QVERIFY2(terminal.waitFor("waiting for the helper"), terminal.output().constData());

    QVERIFY(killPolkit());
    update.letGo();

    QCOMPARE(terminal.waitForEnd(), 0);
    QCOMPARE(lastLine(shown(terminal)), QByteArray("complexity: in force"));
}

void WaitingTest::goesOnWithoutAnAgentThatDoesNotRegister()
{
    const HeldProgram agent(QStringLiteral("/usr/bin/pkttyagent"));
    QElapsedTimer clock;
    clock.start();

    PseudoTerminal terminal = clientAtTerminal();

    QCOMPARE(terminal.waitForEnd(), 3);
    QCOMPARE(shown(terminal), QByteArray("accountpolicyctl: not authorized\r\n"));
    QVERIFY(terminal.output().contains(waitedFor("helper")));
    QVERIFY2(clock.elapsed() >= 10000 && clock.elapsed() < 30000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(loginDefs(), QByteArray("PASS_MAX_DAYS 90\n"));
}

void WaitingTest::tellsThatAnAnsweredChangeMayStillCome()
{
    const HeldProgram update(pamAuthUpdate());
    PseudoTerminal terminal = impatientClient("6000 60000 complexity minlen=12");
    answerSlowly(&terminal);

    const int exitCode = terminal.waitForEnd();
    QVERIFY2(exitCode == 5, terminal.output().constData());
    QCOMPARE(lastLine(shown(terminal)),
             QByteArray("accountpolicyctl: the helper has not answered in time; it may still carry the change out"));
    QVERIFY(client(administrator, QStringLiteral("history")).standardOutput.endsWith("  set\n"));
    update.letGo();
    // once the helper has done with it
    QTRY_VERIFY(
        client(root, QStringLiteral("show complexity")).standardOutput.contains("minlen            12 characters"));
}

void WaitingTest::showsThatItWaits_data()
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
    QTest::newRow("for the helper's start") << QString::fromLatin1(helperFile) << QStringLiteral("doctor")
                                            << QByteArray("helper") << QByteArray("ok    nothing was left behind\r\n");
}

void WaitingTest::showsThatItWaits()
{
    QFETCH(QString, program);
    QFETCH(QString, words);
    QFETCH(QByteArray, whom);
    QFETCH(QByteArray, result);
    const HeldProgram held(program);
    endHelper();

    PseudoTerminal terminal(root, QStringLiteral("accountpolicyctl"), splitWords(words));
    QVERIFY2(terminal.waitFor("waiting for"), terminal.output().constData());
    held.letGo();

    QCOMPARE(terminal.waitForEnd(), 0);
    // the line comes, and goes before the result is printed
    QVERIFY2(terminal.output().startsWith(waitedFor(whom)), terminal.output().constData());
    QVERIFY2(shown(terminal).endsWith(result), terminal.output().constData());
    QVERIFY(!shown(terminal).contains("waiting"));
}

void WaitingTest::showsNoWaitingOnceThePromptMayCome()
{
    const PolkitRule rule("writepasswordexpirationpolicy", "policyadmin", "AUTH_ADMIN", 2);
    killPolkit(); // the next one knows the rule

    PseudoTerminal terminal = clientAtTerminal();

    awaitPrompt(&terminal);
    // while polkit was asked whether it would need a password, but not while it was asked for the decision
    QVERIFY(terminal.output().contains(waitedFor("helper")));
    QVERIFY2(!shown(terminal).contains("waiting"), terminal.output().constData());
    terminal.type(password + QByteArray("\r"));
    QCOMPARE(terminal.waitForEnd(), 0);
}

void WaitingTest::showsThatItWaitsAfterAPrompt()
{
    const HeldProgram update(pamAuthUpdate());
    PseudoTerminal terminal = clientAtTerminal("set complexity minlen=12 --replace");
    answerSlowly(&terminal);
    QVERIFY2(terminal.waitFor("waiting for"), terminal.output().constData());
    update.letGo();

    QCOMPARE(terminal.waitForEnd(), 0);
    // not while the person thought about it
    QVERIFY2(terminal.output().contains("\nPassword: \r\n"), terminal.output().constData());
    QCOMPARE(lastLine(shown(terminal)), QByteArray("complexity: in force"));
}

void WaitingTest::showsNoWaitingOffTheTerminal()
{
    const HeldProgram update(pamAuthUpdate());

    const ProgramResult set = shell(
        root, QStringLiteral("accountpolicyctl set complexity minlen=12 --replace & sleep 2; touch /run/go; wait"));

    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("complexity: in force\n"));
}

void WaitingTest::tellsThatHelperIsBusyAtAPrompt()
{
    PseudoTerminal other = clientAtTerminal();
    awaitPrompt(&other);
    QElapsedTimer clock;
    clock.start();

    // reads what it would change, for which nothing but the helper will do
    const ProgramResult set = client(nobody, QStringLiteral("set lockout deny=3"));

    QCOMPARE(set, failure(5, "the helper is busy; try again later"));
    QVERIFY(clock.elapsed() > 69000 && clock.elapsed() < 100000); // ms
    // the one at the prompt isn't disturbed by it
    other.type(password + QByteArray("\r"));
    const int exitCode = other.waitForEnd(100000);
    QVERIFY2(exitCode == 0, other.output().constData());
    const ProgramResult show = client(nobody, QStringLiteral("show lockout"));
    QCOMPARE(show, success(show.standardOutput));
}

QTEST_GUILESS_MAIN(WaitingTest)
#include "WaitingTest.moc"
