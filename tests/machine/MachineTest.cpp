// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The packages on a Debian machine that has booted: started by its systemd, confined, used by people who log in.

#include "tests/machine/Machine.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedVariable.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace
{
QByteArray tallyProfile()
{
    return "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
           "\trequired pam_tally.so deny=3 onerr=fail\n";
}

QByteArray described(const ProgramResult &result)
{
    return QByteArray::number(result.exitCode) + ": " + result.standardOutput + result.standardError;
}

/// The command that tells how agents were started.
QString agentsArguments()
{
    return QStringLiteral("ps -C pkttyagent -o args= | sed 's/[0-9][0-9]*/N/'");
}

double exposure(const QByteArray &analysis)
{
    const QRegularExpression line(QStringLiteral("Overall exposure level for .*: ([0-9.]+) "));
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(analysis));
    return match.hasMatch() ? match.captured(1).toDouble() : 99;
}

/// Tries in turn what the helper must not do; prints for each whether it could.
const char probeScript[] = R"PROBE(#!/bin/sh
try() {
    what=$1
    shift
    if "$@" >/dev/null 2>&1; then echo "$what: could"; else echo "$what: could not"; fi
}
# what it may, so that "could not" below says something
try 'read /etc' grep -q . /etc/login.defs
try 'write the profiles' touch /usr/share/pam-configs/probe
try 'write /etc' touch /etc/probe
try 'give a file away' chown nobody /etc/probe
try 'open a local socket' perl -MSocket -e 'socket(S, AF_UNIX, SOCK_STREAM, 0) or exit 1'
# what it must not
try 'write a home' touch /home/admin/probe
try 'write the home of root' touch /root/probe
try 'write /usr' touch /usr/probe
try 'write /usr/sbin' touch /usr/sbin/probe
try 'write /boot' touch /boot/probe
try 'write /var' touch /var/probe
try 'read the shadow database' grep -q . /etc/shadow
try 'read who may sudo' grep -q . /etc/sudoers
try 'write the password database' sh -c 'echo x >>/etc/passwd'
try 'write a polkit rule' touch /etc/polkit-1/rules.d/probe
try 'write a job' touch /etc/cron.d/probe
try 'write a unit' touch /etc/systemd/system/probe
try 'make a set-user-id program' sh -c 'cp /bin/true /etc/probe2 && chmod 4755 /etc/probe2'
try 'open an internet socket' perl -MSocket -e 'socket(S, AF_INET, SOCK_STREAM, 0) or exit 1'
try 'open a netlink socket' perl -e 'socket(S, 16, 3, 0) or exit 1'
try 'load a module' perl -e 'syscall(175, "x", 1, "") == 0 or $!{ENOEXEC} or exit 1'
try 'mount' mount -t tmpfs tmpfs /mnt
try 'make a namespace' unshare --user true
try 'see settings of the kernel' test -e /proc/sys/kernel/hostname
try 'trace a process' perl -e 'syscall(101, 16, $$, 0, 0) == 0 or exit 1'
try 'change the clock' date -s '2001-01-01'
try 'change the host name' sh -c 'echo probe >/proc/sys/kernel/hostname'
try 'make a device' mknod /etc/probe-device c 1 3
try 'become real-time' perl -e 'my $p = pack("i", 1); syscall(144, 0, 1, $p) == 0 or exit 1'
try 'change user' perl -e '$> = 65534; $> == 65534 or exit 1'
)PROBE";

const char probeResult[] = "read /etc: could\n"
                           "write the profiles: could\n"
                           "write /etc: could\n"
                           "give a file away: could\n"
                           "open a local socket: could\n"
                           "write a home: could not\n"
                           "write the home of root: could not\n"
                           "write /usr: could not\n"
                           "write /usr/sbin: could not\n"
                           "write /boot: could not\n"
                           "write /var: could not\n"
                           "read the shadow database: could not\n"
                           "read who may sudo: could not\n"
                           "write the password database: could not\n"
                           "write a polkit rule: could not\n"
                           "write a job: could not\n"
                           "write a unit: could not\n"
                           "make a set-user-id program: could not\n"
                           "open an internet socket: could not\n"
                           "open a netlink socket: could not\n"
                           "load a module: could not\n"
                           "mount: could not\n"
                           "make a namespace: could not\n"
                           "see settings of the kernel: could not\n"
                           "trace a process: could not\n"
                           "change the clock: could not\n"
                           "change the host name: could not\n"
                           "make a device: could not\n"
                           "become real-time: could not\n"
                           "change user: could not\n";
}

class MachineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void startsHelperByItsUnit();
    void carriesOutAllSixActions();
    void keepsCommentOfAnyLanguage();
    void putsLockoutInForceWhereTheToolKnowsTheModule();
    void asksAdministratorOnTheConsole();
    void refusesWrongPassword();
    void refusesUserOutsideTheGroup();
    void letsRootWriteInRemoteSession();
    void asksAdministratorInRemoteSession();
    void asksAdministratorBesideTheSession();
    void makesPasswdRefuseShortPasswords();
    void makesUseraddGiveTheSettings();
    void confinesTheHelper();
    void isLessExposedThanOthers();
    void waitsForDebconf();
    void keepsFilesInFoldersOfRootAlone();
    void readsWhereNoToolOfPamIsInstalled();
    void tellsOfFileWithSetIdBit_data();
    void tellsOfFileWithSetIdBit();
    void tellsInOneLineWhereNoMachineBoots();

private:
    /// Types a command on the console and waits for its end; what it printed, and its exit code.
    QByteArray typed(const QByteArray &command);
    static QByteArray typed(PseudoTerminal *terminal, const QByteArray &command);

    /// Logs in as from another machine, by login(1) and PAM, on a terminal that belongs to no seat; null if that fails.
    std::unique_ptr<PseudoTerminal> logInFromAfar(const QByteArray &account) const;
    static void answerPassword(PseudoTerminal *terminal);

    /// Whether the probe has printed its last line; what it has printed.
    bool probeEnded(QByteArray *output) const;

    std::unique_ptr<Machine> m_machine;
};

void MachineTest::init()
{
    m_machine = std::make_unique<Machine>();
}

void MachineTest::cleanup()
{
    m_machine.reset();
}

QByteArray MachineTest::typed(const QByteArray &command)
{
    return typed(m_machine->console(), command);
}

QByteArray MachineTest::typed(PseudoTerminal *terminal, const QByteArray &command)
{
    terminal->type(command + "; echo exit''ed $?\r");
    const int start = terminal->output().size();
    if (!terminal->waitFor("exited ") || !terminal->waitFor("ready> ")) {
        return "nothing: " + terminal->output();
    }
    return terminal->output().mid(start);
}

std::unique_ptr<PseudoTerminal> MachineTest::logInFromAfar(const QByteArray &account) const
{
    auto terminal = m_machine->onTerminal(
        QStringLiteral("systemd-run --quiet --pty /bin/login -h far.example.org %1").arg(QString::fromLatin1(account)));
    if (!terminal->waitFor("Password: ")) {
        return nullptr;
    }
    answerPassword(terminal.get());
    return terminal->waitFor("ready> ") ? std::move(terminal) : nullptr;
}

void MachineTest::answerPassword(PseudoTerminal *terminal)
{
    QThread::msleep(300); // until what was typed too early has been thrown away
    terminal->type(Machine::password + '\r');
}

void MachineTest::startsHelperByItsUnit()
{
    QCOMPARE(described(m_machine->run(QStringLiteral("systemctl is-system-running"))), QByteArray("0: running\n"));
    QCOMPARE(described(m_machine->run(QStringLiteral("systemctl is-active accountpolicieshelper"))),
             QByteArray("3: inactive\n"));

    QCOMPARE(m_machine->run(QStringLiteral("accountpolicyctl show")).exitCode, 0);

    QCOMPARE(described(m_machine->run(QStringLiteral("systemctl is-active accountpolicieshelper"))),
             QByteArray("0: active\n"));
    const QString status = QStringLiteral("grep -E '^(CapEff|CapBnd|NoNewPrivs|Seccomp):' /proc/$(systemctl show -P "
                                          "MainPID accountpolicieshelper)/status");
    // CAP_CHOWN, CAP_DAC_OVERRIDE, CAP_FOWNER
    QCOMPARE(described(m_machine->run(status)),
             QByteArray("0: CapEff:\t000000000000000b\nCapBnd:\t000000000000000b\nNoNewPrivs:\t1\nSeccomp:\t2\n"));
    const QString environment = QStringLiteral("tr '\\0' '\\n' < /proc/$(systemctl show -P MainPID "
                                               "accountpolicieshelper)/environ | grep -E '^(PATH|LC_ALL)=' | sort");
    QCOMPARE(described(m_machine->run(environment)),
             QByteArray("0: LC_ALL=C.UTF-8\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n"));
    // and it quits by itself when nobody asks for anything
    QTRY_COMPARE_WITH_TIMEOUT(described(m_machine->run(QStringLiteral("systemctl is-active accountpolicieshelper"))),
                              QByteArray("3: inactive\n"),
                              15000);
    QCOMPARE(described(m_machine->run(QStringLiteral("journalctl -q -p warning -u accountpolicieshelper"))),
             QByteArray("0: "));
}

void MachineTest::carriesOutAllSixActions()
{
    writeContent(m_machine->root().file(QStringLiteral("/usr/share/pam-configs/tally")), tallyProfile());

    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set complexity minlen=12 dcredit=-1"))),
             QByteArray("0: complexity: in force\n"));
    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set expiration maxInterval=90 "
                                                     "inactiveInterval=7 expireDate=2027-12-31"))),
             QByteArray("0: expiration: in force\n"));
    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set lockout deny=5"))),
             QByteArray("4: accountpolicyctl: the lockout policy was written, but is not in force\n"
                        "deny: asked for 5, found not set\n"
                        "pam-auth-update of this system leaves out every profile that names pam_tally\n"));
    QCOMPARE(
        contentOf(m_machine->root().file(QStringLiteral("/usr/share/pam-configs/tally"))),
        tallyProfile().replace("\trequired pam_tally.so deny=3 onerr=fail", "required pam_tally.so onerr=fail deny=5"));
    QCOMPARE(
        described(m_machine->run(QStringLiteral("accountpolicyctl show | grep -E 'minlen|dcredit|max|inact|expireD'"))),
        QByteArray("0:   minlen            12 characters\n"
                   "  dcredit           -1 (at least 1 character)\n"
                   "  maxInterval       90 days\n"
                   "  inactiveInterval  7 days\n"
                   "  expireDate        2027-12-31\n"));
    // and nothing is left behind, and everybody can still read the stacks
    QCOMPARE(described(m_machine->run(QStringLiteral("find /etc /usr/share/pam-configs -name '*.tmp'; "
                                                     "stat -c '%a %U' /etc/pam.d/common-password /etc/login.defs"))),
             QByteArray("0: 644 root\n644 root\n"));
}

void MachineTest::keepsCommentOfAnyLanguage()
{
    const QString loginDefs = m_machine->root().file(QStringLiteral("/etc/login.defs"));
    writeContent(loginDefs,
                 "PASS_MAX_DAYS 1 # Gr\xc3\xb6\xc3\x9f"
                 "e \xe4\xb8\xad\n");

    QCOMPARE(m_machine->run(QStringLiteral("accountpolicyctl set expiration maxInterval=2")).exitCode, 0);

    QCOMPARE(contentOf(loginDefs),
             QByteArray("PASS_MAX_DAYS 2\t# Gr\xc3\xb6\xc3\x9f"
                        "e \xe4\xb8\xad\n"));
}

void MachineTest::putsLockoutInForceWhereTheToolKnowsTheModule()
{
    const QString tool = m_machine->root().file(QStringLiteral("/usr/sbin/pam-auth-update"));
    writeContent(m_machine->root().file(QStringLiteral("/usr/share/pam-configs/tally")), tallyProfile());
    writeProgram(tool, contentOf(tool).replace("@invalid_modules = ('pam_tally')", "@invalid_modules = ()"));

    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set lockout deny=5 unlock_time=900"))),
             QByteArray("0: lockout: in force\n"));

    QCOMPARE(described(m_machine->run(QStringLiteral("grep pam_tally /etc/pam.d/common-auth"))),
             QByteArray("0: auth\trequired pam_tally.so onerr=fail deny=5 unlock_time=900\n"));
}

void MachineTest::asksAdministratorOnTheConsole()
{
    QVERIFY2(m_machine->logIn("admin"), m_machine->console()->output().constData());
    QVERIFY(typed("accountpolicyctl show expiration").contains("  maxInterval       99999 days\r\n"));

    m_machine->console()->type("accountpolicyctl set expiration maxInterval=77; echo exit''ed $?\r");
    QVERIFY2(m_machine->console()->waitFor("Authenticating as: admin"), m_machine->console()->output().constData());
    QVERIFY(m_machine->console()->waitFor("Password: "));
    QThread::msleep(300);
    m_machine->console()->type(Machine::password + '\r');
    QVERIFY2(m_machine->console()->waitFor("expiration: in force"), m_machine->console()->output().constData());
    QVERIFY(m_machine->console()->waitFor("exited 0"));

    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS 77\n"));
}

void MachineTest::refusesWrongPassword()
{
    QVERIFY2(m_machine->logIn("admin"), m_machine->console()->output().constData());

    m_machine->console()->type("accountpolicyctl set expiration maxInterval=77; echo exit''ed $?\r");
    QVERIFY2(m_machine->console()->waitFor("Password: "), m_machine->console()->output().constData());
    QThread::msleep(300);
    m_machine->console()->type("wrong\r");
    QVERIFY2(m_machine->console()->waitFor("accountpolicyctl: not authorized"),
             m_machine->console()->output().constData());
    QVERIFY(m_machine->console()->waitFor("exited 3"));

    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS\t99999\n"));
}

void MachineTest::refusesUserOutsideTheGroup()
{
    QVERIFY2(m_machine->logIn("guest"), m_machine->console()->output().constData());
    const QByteArray refused = typed("accountpolicyctl set expiration maxInterval=77 --no-ask-password");
    QVERIFY2(refused.contains("accountpolicyctl: not authorized\r\nexited 3"), refused.constData());

    // an administrator's password is asked for, and the user's own is none
    m_machine->console()->type("accountpolicyctl set expiration maxInterval=77; echo exit''ed $?\r");
    QVERIFY2(m_machine->console()->waitFor("Authenticating as: admin"), m_machine->console()->output().constData());
    QVERIFY(m_machine->console()->waitFor("Password: "));
    QThread::msleep(300);
    m_machine->console()->type("no administrator's\r");
    QVERIFY(m_machine->console()->waitFor("exited 3"));
    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS\t99999\n"));
}

void MachineTest::letsRootWriteInRemoteSession()
{
    const std::unique_ptr<PseudoTerminal> terminal = logInFromAfar("root");
    QVERIFY(terminal);
    const QByteArray session =
        typed(terminal.get(), "loginctl show-session $XDG_SESSION_ID -p Name -p Remote -p RemoteHost -p Seat -p State");
    QVERIFY2(
        session.contains("Name=root\r\nSeat=\r\nRemote=yes\r\nRemoteHost=far.example.org\r\nState=active\r\nexited 0"),
        session.constData());

    const QByteArray set = typed(terminal.get(), "accountpolicyctl set expiration maxInterval=77");

    QVERIFY2(set.contains("expiration: in force\r\nexited 0"), set.constData());
    QVERIFY2(!set.contains("Password"), set.constData());
    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS 77\n"));
}

void MachineTest::asksAdministratorInRemoteSession()
{
    const std::unique_ptr<PseudoTerminal> terminal = logInFromAfar("admin");
    QVERIFY(terminal);
    const QByteArray shown = typed(terminal.get(), "accountpolicyctl show expiration");
    QVERIFY2(shown.contains("  maxInterval       99999 days\r\n"), shown.constData());

    terminal->type("accountpolicyctl set expiration maxInterval=77; echo exit''ed $?\r");
    QVERIFY2(terminal->waitFor("Password: "), terminal->output().constData());
    // an agent that the session has already would be asked before this one
    QCOMPARE(described(m_machine->run(agentsArguments())),
             QByteArray("0: /usr/bin/pkttyagent --notify-fd N --fallback\n"));
    answerPassword(terminal.get());
    QVERIFY2(terminal->waitFor("expiration: in force"), terminal->output().constData());
    QVERIFY(terminal->waitFor("exited 0"));
    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS 77\n"));
}

void MachineTest::asksAdministratorBesideTheSession()
{
    const std::unique_ptr<PseudoTerminal> session = logInFromAfar("admin");
    QVERIFY(session);

    // as in a unit of the user's own systemd, which belongs to no session, while polkit knows the user's
    const std::unique_ptr<PseudoTerminal> terminal =
        m_machine->onTerminal(QStringLiteral("systemd-run --quiet --pty --uid=admin --slice=user-$(id -u admin).slice "
                                             "accountpolicyctl set expiration maxInterval=77"));
    QVERIFY2(terminal->waitFor("Password: "), terminal->output().constData());
    QCOMPARE(described(m_machine->run(agentsArguments())),
             QByteArray("0: /usr/bin/pkttyagent --notify-fd N --fallback\n"));
    answerPassword(terminal.get());
    QVERIFY2(terminal->waitFor("expiration: in force"), terminal->output().constData());
    QCOMPARE(described(m_machine->run(QStringLiteral("grep ^PASS_MAX_DAYS /etc/login.defs"))),
             QByteArray("0: PASS_MAX_DAYS 77\n"));
}

void MachineTest::makesPasswdRefuseShortPasswords()
{
    const auto change = [this](const QByteArray &present, const QByteArray &next) {
        const QString script =
            QStringLiteral("printf '%s\\n%s\\n%s\\n' '%1' '%2' '%2' | setpriv --reuid guest --regid guest "
                           "--init-groups passwd")
                .arg(QString::fromLatin1(present), QString::fromLatin1(next));
        return m_machine->run(script).exitCode;
    };
    QCOMPARE(m_machine->run(QStringLiteral("accountpolicyctl set complexity minlen=16")).exitCode, 0);

    QVERIFY(change(Machine::password, "Vq8-kLp2xY") != 0);
    QCOMPARE(change(Machine::password, "Vq8-kLp2xY-Rt5nW3zG"), 0);
}

void MachineTest::makesUseraddGiveTheSettings()
{
    QCOMPARE(m_machine
                 ->run(QStringLiteral("accountpolicyctl set expiration maxInterval=90 minInterval=2 warningInterval=14 "
                                      "inactiveInterval=30 expireDate=2027-12-31"))
                 .exitCode,
             0);

    QCOMPARE(described(m_machine->run(QStringLiteral("useradd newcomer && chage -l newcomer | tail -n 4 && "
                                                     "getent shadow newcomer | cut -d : -f 4-8"))),
             QByteArray("0: Account expires\t\t\t\t\t\t: Dec 31, 2027\n"
                        "Minimum number of days between password change\t\t: 2\n"
                        "Maximum number of days between password change\t\t: 90\n"
                        "Number of days of warning before password expires\t: 14\n"
                        "2:90:14:30:21183\n"));
}

void MachineTest::confinesTheHelper()
{
    const QString script = QStringLiteral("/usr/lib/kauth/libexec/probe");
    writeProgram(m_machine->root().file(script), probeScript);
    // the helper's own unit, with another program in it
    const QString makeUnit = QStringLiteral(
        "sed -e 's,^ExecStart=.*,ExecStart=/usr/lib/kauth/libexec/probe,; s,^Type=.*,Type=oneshot,; /^BusName=/d' "
        "/lib/systemd/system/accountpolicieshelper.service > /run/systemd/system/probe.service && "
        "systemctl daemon-reload && systemctl start probe");
    QCOMPARE(described(m_machine->run(makeUnit)), QByteArray("0: "));

    QByteArray output;
    QTRY_VERIFY(probeEnded(&output));
    QCOMPARE(output.split('\n'), QByteArray(probeResult).split('\n'));
}

bool MachineTest::probeEnded(QByteArray *output) const
{
    // the journal may be a moment behind
    *output = m_machine->run(QStringLiteral("journalctl -q -o cat _SYSTEMD_UNIT=probe.service")).standardOutput;
    return output->contains("change user: ");
}

void MachineTest::isLessExposedThanOthers()
{
    const auto exposureOf = [this](const QString &unit) {
        return exposure(
            m_machine
                ->run(
                    QStringLiteral("systemd-analyze --no-pager security --offline=true /lib/systemd/system/%1.service")
                        .arg(unit))
                .standardOutput);
    };
    QCOMPARE(described(m_machine->run(QStringLiteral("systemd-analyze verify accountpolicieshelper.service"))),
             QByteArray("0: "));

    const double ours = exposureOf(QStringLiteral("accountpolicieshelper"));

    QVERIFY2(ours <= 1.3, qPrintable(QString::number(ours)));
    for (const char *unit : {"systemd-hostnamed", "systemd-timedated", "polkit"}) {
        const double other = exposureOf(QString::fromLatin1(unit));
        QVERIFY2(ours < other && other < 10, unit);
    }
}

void MachineTest::waitsForDebconf()
{
    // as apt holds it
    const QString hold =
        QStringLiteral("perl -e 'use Fcntl \":flock\"; open(F, \"+<\", \"/var/cache/debconf/config.dat\"); "
                       "flock(F, LOCK_EX); open(R, \">\", \"/run/held\"); close(R); sleep 60' "
                       ">/dev/null 2>&1 & while [ ! -e /run/held ]; do sleep 0.1; done; echo $!");
    const QByteArray holder = m_machine->run(hold).standardOutput.trimmed();
    QVERIFY(!holder.isEmpty());

    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set complexity minlen=12"))),
             QByteArray("5: accountpolicyctl: the complexity policy could not be changed\n"
                        "Update default password complexity policy\n"
                        "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                        "\"debconf: DbDriver \"config\": /var/cache/debconf/config.dat is locked by another process: "
                        "Resource temporarily unavailable\n\"\n"));
    QCOMPARE(m_machine->run(QStringLiteral("kill ") + QString::fromLatin1(holder)).exitCode, 0);
    QTRY_COMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set complexity minlen=12"))),
                 QByteArray("0: complexity: in force\n"));
    QCOMPARE(described(m_machine->run(QStringLiteral("ls /usr/share/pam-configs"))),
             QByteArray("0: mkhomedir\npwquality\nsystemd\nunix\n"));
}

void MachineTest::keepsFilesInFoldersOfRootAlone()
{
    QCOMPARE(described(m_machine->run(
                 QStringLiteral("stat -c '%a %U:%G %F' / /etc /etc/default /usr /usr/share /usr/share/pam-configs"))),
             QByteArray("0: 755 root:root directory\n").append(QByteArray("755 root:root directory\n").repeated(5)));
}

void MachineTest::readsWhereNoToolOfPamIsInstalled()
{
    QCOMPARE(m_machine->run(QStringLiteral("rm -r /usr/share/pam-configs /var/lib/pam /var/cache/debconf")).exitCode,
             0);

    QCOMPARE(m_machine->run(QStringLiteral("accountpolicyctl show")).exitCode, 0);
    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set expiration maxInterval=90"))),
             QByteArray("0: expiration: in force\n"));
    QCOMPARE(described(m_machine->run(QStringLiteral("accountpolicyctl set complexity minlen=12"))),
             QByteArray("1: accountpolicyctl: the complexity policy could not be changed\n"
                        "Update default password complexity policy\n"
                        "Both profiles of supported PAM modules do not exist (/usr/share/pam-configs/cracklib, "
                        "/usr/share/pam-configs/pwquality)\n"));
}

void MachineTest::tellsOfFileWithSetIdBit_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("tried");

    QTest::newRow("profile") << "/usr/share/pam-configs/pwquality"
                             << "accountpolicyctl set complexity minlen=12"
                             << QByteArray("the complexity policy could not be changed\n"
                                           "Update default password complexity policy");
    QTest::newRow("login.defs") << "/etc/login.defs"
                                << "accountpolicyctl set expiration maxInterval=90"
                                << QByteArray("the expiration policy could not be changed\n"
                                              "Update default password expiration policy");
}

void MachineTest::tellsOfFileWithSetIdBit()
{
    QFETCH(QString, file);
    QFETCH(QString, command);
    QFETCH(QByteArray, tried);
    const QByteArray content = contentOf(m_machine->root().file(file));
    QCOMPARE(m_machine->run(QStringLiteral("chmod u+s ") + file).exitCode, 0);

    // the unit forbids to make such a file, and without its mode the copy would be another file
    const QByteArray path = file.toLatin1();
    QCOMPARE(described(m_machine->run(command)),
             "1: accountpolicyctl: " + tried + "\nProcess: \"cp --force --preserve=mode,ownership " + path + ' ' + path
                 + ".tmp\". Exit code: 1.\n\"/usr/bin/cp: preserving permissions for \u2018" + path
                 + ".tmp\u2019: Operation not permitted\"\n");

    QCOMPARE(contentOf(m_machine->root().file(file)), content);
    QCOMPARE(contentOf(m_machine->root().file(file + QStringLiteral(".tmp"))), content);
}

void MachineTest::tellsInOneLineWhereNoMachineBoots()
{
    QTemporaryDir folder;
    writeProgram(folder.filePath(QStringLiteral("systemd-nspawn")),
                 "#!/bin/sh\necho first\necho 'Failed to do what it should: no reason'\nexit 1\n");
    const ScopedVariable path("PATH", QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));

    const ProgramResult run =
        runAs(0, QCoreApplication::applicationFilePath(), {QStringLiteral("startsHelperByItsUnit")});

    QVERIFY(run.exitCode != 0);
    QByteArrayList told;
    for (const QByteArray &line : (run.standardOutput + run.standardError).split('\n')) {
        if (line.startsWith("QFATAL") || line.contains("first")) {
            told += line;
        }
    }
    const QByteArray console = QFile::encodeName(machineFolder()) + "/console.log";
    QCOMPARE(told,
             QByteArrayList{"QFATAL : MachineTest::startsHelperByItsUnit() systemd-nspawn cannot boot a machine here: "
                            "Failed to do what it should: no reason (its console: "
                            + console + ")"});
    QCOMPARE(contentOf(QString::fromLocal8Bit(console)),
             QByteArray("first\r\nFailed to do what it should: no reason\r\n"));
}

QTEST_GUILESS_MAIN(MachineTest)
#include "MachineTest.moc"
