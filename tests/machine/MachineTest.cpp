// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The packages on a Debian machine that has booted: started by its systemd, confined, used by people who log in.

#include "tests/machine/Machine.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace
{
const char maxDays[] = "grep ^PASS_MAX_DAYS /etc/login.defs";
const char maxDaysOfDebian[] = "0: PASS_MAX_DAYS\t99999\n";

const char setMaxDays[] = "accountpolicyctl set expiration maxInterval=77";
const char maxDaysAfterSet[] = "0: PASS_MAX_DAYS 77\n";

/// The command that tells how agents were started, and what it tells where there is but the client's own. For a moment the
/// program that an agent starts to ask a password looks like another agent.
const char agentsArguments[] = "ps -C pkttyagent -o args= | sed 's/[0-9][0-9]*/N/'";
const char argumentsOfOurAgent[] = "0: /usr/bin/pkttyagent --notify-fd N --fallback\n";

/// Logs in where the terminal asks for a password; false if that fails.
bool logIn(PseudoTerminal *terminal)
{
    return answerPassword(terminal) && terminal->waitFor("ready> ");
}

/// Logs in as from another machine, by login(1) and PAM, on a terminal that belongs to no seat; null if that fails.
std::unique_ptr<PseudoTerminal> logInFromAfar(const Machine &machine, const QByteArray &account)
{
    auto terminal = machine.onTerminal("systemd-run --quiet --pty /bin/login -h far.example.org " + account);
    return logIn(terminal.get()) ? std::move(terminal) : nullptr;
}

/// Logs in by ssh, from the machine itself; null if that fails.
std::unique_ptr<PseudoTerminal> logInBySsh(const Machine &machine, const QByteArray &account)
{
    auto terminal = machine.ssh(account);
    return logIn(terminal.get()) ? std::move(terminal) : nullptr;
}

/// A shell as a unit of the system has it, on a terminal but in no session; null if it doesn't start.
std::unique_ptr<PseudoTerminal> startInNoSession(const Machine &machine, const QByteArray &account)
{
    auto terminal = machine.onTerminal("systemd-run --quiet --pty --uid=" + account + " /bin/bash");
    return terminal->waitFor("ready> ") ? std::move(terminal) : nullptr;
}

/// How a shell comes about that is not on the console.
using Start = decltype(&startInNoSession);

/// Types a command, which ends with printing its exit code.
void type(PseudoTerminal *terminal, const QByteArray &command)
{
    terminal->type(command + "; echo exit''ed $?\r");
}

/// Types a command and waits for its end; what it printed, and its exit code.
QByteArray typed(PseudoTerminal *terminal, const QByteArray &command)
{
    const auto start = terminal->output().size();
    type(terminal, command);
    return terminal->waitFor("exited ") && terminal->waitFor("ready> ") ? terminal->output().mid(start)
                                                                        : "nothing: " + terminal->output();
}

/// What to type for a program that an agent asks for: the agent knows it by its process, and tells when it listens by closing
/// its stream 3.
QByteArray withAgent(const QByteArray &command)
{
    return "(me=$BASHPID; cat < <(exec pkttyagent --process $me --notify-fd 3 3>&1 >/dev/tty); exec " + command + ")\r";
}

/// So that the machine has each file and folder that the file "guarded" lists, and something in it; but no folder that apt
/// leaves in debconf's from Debian 13 on.
const char makeAllThatIsGuarded[] = R"SHELL(rm -rf /var/cache/debconf/tmp.ci
while read -r how path; do
    case $path in
        */) mkdir -p $path && touch ${path}entry ;;
        *) [ -s $path ] || echo '#' >$path ;;
    esac
done </usr/libexec/guarded)SHELL";

QByteArray withoutComments(const QByteArray &content)
{
    QByteArrayList lines = content.split('\n');
    const auto isNothing = [](const QByteArray &line) {
        return line.isEmpty() || line.startsWith('#');
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isNothing), lines.end());
    return lines.join('\n') + '\n';
}

double exposureOf(const Machine &machine, const QByteArray &unit)
{
    const QByteArray analysis = machine.run("systemd-analyze --no-pager security --offline=true /lib/systemd/system/"
                                            + unit + ".service 2>/dev/null");
    const QRegularExpression line(QStringLiteral("Overall exposure level for .*: ([0-9.]+) "));
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(analysis));
    return match.hasMatch() ? match.captured(1).toDouble() : 99;
}
}
Q_DECLARE_METATYPE(Start)

class MachineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void followsTranscript_data();
    void followsTranscript();
    void asksAdministrator_data();
    void asksAdministrator();
    void asksAdministratorBesideTheSession();
    void refusesWrongPassword_data();
    void refusesWrongPassword();
    void refusesUserOutsideTheGroupUnasked();
    void asksOnceForAllPolicies_data();
    void asksOnceForAllPolicies();
    void saysAtThePromptWhatTheCallerSays();
    void asksAdministratorWhoseProgramUsesFrameworks();
    void letsRootWriteInRemoteSession();
    void confinesTheHelper();
    void isNoMoreExposedThanOthers();
    void tellsInOneLineWhereNoMachineBoots();

private:
    /// Runs a shell script on the machine as root; its exit code, ": ", and what it printed.
    QByteArray run(const QByteArray &script) const;
    /// Logs in on the console; null if that fails.
    PseudoTerminal *logInOnConsole(const QByteArray &account);

    std::unique_ptr<Machine> m_machine;
};

void MachineTest::init()
{
    m_machine = std::make_unique<Machine>();
    writeProgram(m_machine->root().path("/usr/bin/attacker"), contentOf(QStringLiteral(ATTACKER)));
    writeProgram(m_machine->root().path("/usr/bin/kauthcaller"), contentOf(QStringLiteral(KAUTHCALLER)));
}

void MachineTest::cleanup()
{
    m_machine.reset();
}

QByteArray MachineTest::run(const QByteArray &script) const
{
    return m_machine->run(script);
}

PseudoTerminal *MachineTest::logInOnConsole(const QByteArray &account)
{
    PseudoTerminal *console = m_machine->console();
    console->type(account + '\r');
    return logIn(console) ? console : nullptr;
}

void MachineTest::followsTranscript_data()
{
    QTest::addColumn<QString>("file");

    const QString folder = QStringLiteral(MACHINE_SOURCES "/transcripts");
    const QString folderOfQt = folder + QLatin1String("/qt") + QString::number(QT_VERSION_MAJOR);
    for (const QDir files : {folder, folderOfQt}) {
        const QStringList names = files.entryList(QDir::Files);
        QVERIFY(!names.isEmpty());
        for (const QString &name : names) {
            QTest::newRow(qPrintable(name)) << files.filePath(name);
        }
    }
}

void MachineTest::followsTranscript()
{
    QFETCH(QString, file);
    // a command, and what is printed up to the next one or a comment
    const QRegularExpression step(QStringLiteral("^\\$ (.*\\n(?:> .*\\n)*)((?:(?!\\$ |#).*\\n)*)"),
                                  QRegularExpression::MultilineOption);
    QRegularExpressionMatchIterator steps = step.globalMatch(QString::fromUtf8(contentOf(file)));
    QVERIFY(steps.hasNext());
    while (steps.hasNext()) {
        const QRegularExpressionMatch next = steps.next();
        const QByteArray command = next.captured(1).toUtf8();
        const QByteArray script = QByteArray(command).replace("\n> ", "\n");
        const QString expected =
            next.captured(2).replace(QLatin1String("\"cp: "), QLatin1Char('"') + nameOfCp() + QLatin1String(": "));

        const QByteArray printed =
            run("exec 2>&1\n" + script + "status=$?; [ $status = 0 ] || echo exit status $status");

        QCOMPARE(command + printed, command + "0: " + expected.toUtf8());
    }
}

void MachineTest::asksAdministrator_data()
{
    QTest::addColumn<Start>("start");

    QTest::newRow("on the console") << Start(nullptr);
    QTest::newRow("in a remote session") << Start(logInFromAfar);
    QTest::newRow("by ssh") << Start(logInBySsh);
}

void MachineTest::asksAdministrator()
{
    QFETCH(Start, start);
    const std::unique_ptr<PseudoTerminal> elsewhere = start ? start(*m_machine, "admin") : nullptr;
    PseudoTerminal *terminal = start ? elsewhere.get() : logInOnConsole("admin");
    QVERIFY(terminal);
    const QByteArray shown = typed(terminal, "accountpolicyctl show expiration");
    QVERIFY2(shown.contains("  maxInterval       99999 days (never)  /etc/login.defs\r\n"), shown.constData());

    type(terminal, setMaxDays);
    QVERIFY2(terminal->waitFor("Authenticating as: admin"), terminal->output().constData());
    // an agent that the session has already would be asked before this one
    QTRY_COMPARE(run(agentsArguments), QByteArray(argumentsOfOurAgent));
    QVERIFY2(answerPassword(terminal), terminal->output().constData());
    QVERIFY2(terminal->waitFor("expiration: in force"), terminal->output().constData());
    QVERIFY(terminal->waitFor("exited 0"));

    QCOMPARE(run(maxDays), QByteArray(maxDaysAfterSet));
}

void MachineTest::asksAdministratorBesideTheSession()
{
    const std::unique_ptr<PseudoTerminal> session = logInFromAfar(*m_machine, "admin");
    QVERIFY(session);

    // as in a unit of the user's own systemd, which belongs to no session, while polkit knows the user's
    // a unit's last words can be lost at its end, so this one stays
    const std::unique_ptr<PseudoTerminal> terminal = m_machine->onTerminal(
        QByteArray("systemd-run --quiet --pty --uid=admin --slice=user-$(id -u admin).slice sh -c '") + setMaxDays
        + "; exec cat'");
    QVERIFY2(terminal->waitFor("Authenticating as: admin"), terminal->output().constData());
    QTRY_COMPARE(run(agentsArguments), QByteArray(argumentsOfOurAgent));
    QVERIFY2(answerPassword(terminal.get()), terminal->output().constData());
    QVERIFY2(terminal->waitFor("expiration: in force"), terminal->output().constData());

    QCOMPARE(run(maxDays), QByteArray(maxDaysAfterSet));
}

void MachineTest::refusesWrongPassword_data()
{
    QTest::addColumn<QByteArray>("account");

    QTest::newRow("of an administrator") << QByteArray("admin");
    // who is asked for an administrator's
    QTest::newRow("of somebody else") << QByteArray("guest");
}

void MachineTest::refusesWrongPassword()
{
    QFETCH(QByteArray, account);
    PseudoTerminal *console = logInOnConsole(account);
    QVERIFY(console);

    type(console, setMaxDays);
    QVERIFY2(console->waitFor("Authenticating as: admin"), console->output().constData());
    QVERIFY2(answerPassword(console, "wrong"), console->output().constData());
    QVERIFY2(console->waitFor("accountpolicyctl: not authorized"), console->output().constData());
    QVERIFY(console->waitFor("exited 3"));

    QCOMPARE(run(maxDays), QByteArray(maxDaysOfDebian));
}

void MachineTest::refusesUserOutsideTheGroupUnasked()
{
    PseudoTerminal *console = logInOnConsole("guest");
    QVERIFY(console);

    const QByteArray refused = typed(console, QByteArray(setMaxDays) + " --no-ask-password");

    QVERIFY2(refused.contains("accountpolicyctl: not authorized\r\nexited 3"), refused.constData());
    QCOMPARE(run(maxDays), QByteArray(maxDaysOfDebian));
}

void MachineTest::asksOnceForAllPolicies_data()
{
    QTest::addColumn<Start>("start");

    QTest::newRow("on the console") << Start(nullptr);
    QTest::newRow("in a remote session") << Start(logInFromAfar);
    QTest::newRow("by ssh") << Start(logInBySsh);
    QTest::newRow("in no session") << Start(startInNoSession);
}

void MachineTest::asksOnceForAllPolicies()
{
    QFETCH(Start, start);
    const std::unique_ptr<PseudoTerminal> elsewhere = start ? start(*m_machine, "admin") : nullptr;
    PseudoTerminal *terminal = start ? elsewhere.get() : logInOnConsole("admin");
    QVERIFY(terminal);
    const QByteArray document =
        R"({"version": 1, "policies": {"expiration": {"maxInterval": 77}, "complexity": {"minlen": 14}}})";
    writeContent(m_machine->root().path("/wanted.json"), document);
    const auto before = terminal->output().size();

    type(terminal, "accountpolicyctl apply /wanted.json");
    QVERIFY2(answerPassword(terminal), terminal->output().constData());
    QVERIFY2(terminal->waitFor("exited "), terminal->output().constData());

    const QByteArray shown = terminal->output().mid(before);
    QVERIFY2(shown.contains("complexity: in force\r\nexpiration: in force\r\n"), shown.constData());
    QCOMPARE(shown.count("Password: "), 1);
    QCOMPARE(run(maxDays), QByteArray(maxDaysAfterSet));

    // what polkit remembers is about that process
    type(terminal, "accountpolicyctl set expiration maxInterval=78");
    QVERIFY2(answerPassword(terminal), terminal->output().constData());
    QVERIFY2(terminal->waitFor("expiration: in force"), terminal->output().constData());
}

void MachineTest::saysAtThePromptWhatTheCallerSays()
{
    const std::unique_ptr<PseudoTerminal> terminal = startInNoSession(*m_machine, "admin");
    QVERIFY(terminal);

    terminal->type(withAgent("attacker writepasswordexpirationpolicy message"));

    QVERIFY2(terminal->waitFor(
                 "writepasswordexpirationpolicy ====\r\n\033[0mYour password is wanted for something else\r\n"),
             terminal->output().constData());
}

void MachineTest::asksAdministratorWhoseProgramUsesFrameworks()
{
    const std::unique_ptr<PseudoTerminal> terminal = startInNoSession(*m_machine, "admin");
    QVERIFY(terminal);

    terminal->type(withAgent("kauthcaller writepasswordexpirationpolicy maxInterval=77"));
    QVERIFY2(answerPassword(terminal.get()), terminal->output().constData());
    QVERIFY2(terminal->waitFor("done"), terminal->output().constData());

    QCOMPARE(run(maxDays), QByteArray(maxDaysAfterSet));
}

void MachineTest::letsRootWriteInRemoteSession()
{
    const std::unique_ptr<PseudoTerminal> terminal = logInFromAfar(*m_machine, "root");
    QVERIFY(terminal);
    const QByteArray session =
        typed(terminal.get(), "loginctl show-session $XDG_SESSION_ID -p Name -p Remote -p RemoteHost -p Seat -p State");
    QVERIFY2(
        session.contains("Name=root\r\nSeat=\r\nRemote=yes\r\nRemoteHost=far.example.org\r\nState=active\r\nexited 0"),
        session.constData());

    const QByteArray set = typed(terminal.get(), setMaxDays);

    QVERIFY2(set.contains("expiration: in force\r\nexited 0"), set.constData());
    QVERIFY2(!set.contains("Password"), set.constData());
    QCOMPARE(run(maxDays), QByteArray(maxDaysAfterSet));
}

void MachineTest::confinesTheHelper()
{
    const QByteArray guarded = withoutComments(contentOf(QStringLiteral(MACHINE_SOURCES "/guarded")));
    writeContent(m_machine->root().path("/usr/libexec/guarded"), guarded);
    writeProgram(m_machine->root().path("/usr/libexec/probe"), contentOf(QStringLiteral(MACHINE_SOURCES "/probe")));
    QCOMPARE(run(makeAllThatIsGuarded), QByteArray("0: "));
    // the helper's own unit, with another program in it
    QCOMPARE(run("sed -e 's,^ExecStart=.*,ExecStart=/usr/libexec/probe,; s,^Type=.*,Type=oneshot,; /^BusName=/d' "
                 "/lib/systemd/system/accountpolicieshelper.service > /run/systemd/system/probe.service && "
                 "systemctl daemon-reload && systemctl start probe"),
             QByteArray("0: "));

    // the journal may be a moment behind
    QByteArray output;
    QTRY_VERIFY((output = run("journalctl -q -o cat _SYSTEMD_UNIT=probe.service")).contains("tried "));
    const int tries = 31 + 3 * guarded.count('\n');
    QCOMPARE(
        output,
        "0: writable: /dev/hugepages /dev/mqueue /dev/pts /etc /etc/default /etc/pam.d /tmp /usr/share/pam-configs "
        "/var/cache/debconf /var/lib/pam /var/tmp\nwritable in /etc/default: useradd\ntried "
            + QByteArray::number(tries) + '\n');

    // and with all that guarded the helper goes on doing its work
    QCOMPARE(run("accountpolicyctl set complexity minlen=12; accountpolicyctl set expiration inactiveInterval=7"),
             QByteArray("0: complexity: in force\nexpiration: in force\n"));
}

void MachineTest::isNoMoreExposedThanOthers()
{
    QCOMPARE(run("systemd-analyze verify accountpolicieshelper.service"), QByteArray("0: "));

    const double ours = exposureOf(*m_machine, "accountpolicieshelper");

    QVERIFY2(ours <= 1.3, qPrintable(QString::number(ours)));
    for (const char *unit : {"systemd-hostnamed", "systemd-timedated", "polkit"}) {
        const double other = exposureOf(*m_machine, unit);
        QVERIFY2(ours <= other && other < 10, unit);
    }
}

void MachineTest::tellsInOneLineWhereNoMachineBoots()
{
    QTemporaryDir folder;
    writeProgram(folder.filePath(QStringLiteral("systemd-nspawn")),
                 "#!/bin/sh\necho first\necho 'Failed to do what it should: no reason'\nexit 1\n");
    const ScopedVariable path("PATH", QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));

    const ProgramResult ended =
        runAs(root, QCoreApplication::applicationFilePath(), {QStringLiteral("confinesTheHelper")});

    QVERIFY(ended.exitCode != 0);
    QByteArrayList told;
    for (const QByteArray &line : (ended.standardOutput + ended.standardError).split('\n')) {
        if (line.startsWith("QFATAL") || line.contains("first")) {
            told += line;
        }
    }
    const QString console = machineFile(QStringLiteral("console.log"));
    QCOMPARE(told,
             QByteArrayList{"QFATAL : MachineTest::confinesTheHelper() systemd-nspawn cannot boot a machine here: "
                            "Failed to do what it should: no reason (its console: "
                            + QFile::encodeName(console) + ")"});
    QCOMPARE(contentOf(console), QByteArray("first\r\nFailed to do what it should: no reason\r\n"));
}

QTEST_GUILESS_MAIN(MachineTest)
#include "MachineTest.moc"
