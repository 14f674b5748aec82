// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as people type it, on the bus: it shows, sets, applies and checks policies, and says why not.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/ClientFixture.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace
{
const char lockoutTable[] = "Lockout after failed logins\n"
                            "  per_user     yes\n"
                            "  magic_root   no\n"
                            "  no_reset     no\n"
                            "  deny         3 failed logins\n"
                            "  lock_time    not set\n"
                            "  unlock_time  900 s (15 min)\n";
const char expirationTable[] = "Password expiration of new accounts\n"
                               "  maxInterval       90 days\n"
                               "  minInterval       not set\n"
                               "  warningInterval   not set\n"
                               "  inactiveInterval  never\n"
                               "  expireDate        1970-01-02\n";

const char expirationDocument[] = R"({
    "policies": {
        "expiration": {
            "expireDate": "1970-01-02",
            "inactiveInterval": -1,
            "maxInterval": 90,
            "minInterval": null,
            "warningInterval": null
        }
    },
    "version": 1
}
)";

const char help[] = "see accountpolicyctl --help\n";

/// Opens debconf's database, and keeps others from it as apt does, if @p locked.
int openDebconf(bool locked)
{
    const int database = open("/var/cache/debconf/config.dat", O_RDWR | O_CLOEXEC);
    if (database < 0 || (locked && flock(database, LOCK_EX) != 0)) {
        qFatal("debconf's database cannot be locked");
    }
    return database;
}

QByteArray debconfIsBusy()
{
    return complaint("the complexity policy could not be changed\n"
                     "Update default password complexity policy\n"
                     "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                     "\"debconf: DbDriver \"config\": /var/cache/debconf/config.dat is locked by another process: "
                     "Resource temporarily unavailable\n\"");
}

void addColumns()
{
    QTest::addColumn<int>("user");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("error");
}

struct Row {
    const char *name;
    int user;
    const char *words;
    QByteArray input;
    int exitCode;
    QByteArray output;
    QByteArray error;
};

void addRow(const Row &row)
{
    QTest::newRow(row.name) << row.user << QString::fromUtf8(row.words) << row.input << row.exitCode << row.output
                            << row.error;
}

void addReadingRows()
{
    const QByteArray all = QByteArray(lockoutTable) + '\n' + complexityTable + '\n' + expirationTable;
    addRow({"no words", nobody, "", {}, 0, all, {}});
    addRow({"show", nobody, "show", {}, 0, all, {}});
    addRow({"show lockout", nobody, "show lockout", {}, 0, lockoutTable, {}});
    addRow({"show complexity", nobody, "show complexity", {}, 0, complexityTable, {}});
    addRow({"show expiration", nobody, "show expiration", {}, 0, expirationTable, {}});
    addRow({"json without command", nobody, "--json", {}, 0, fullDocument, {}});
    addRow({"show one as json", nobody, "show expiration --json", {}, 0, expirationDocument, {}});
    addRow({"option before command", nobody, "--json show expiration", {}, 0, expirationDocument, {}});
    addRow({"export", nobody, "export", {}, 0, fullDocument, {}});
    addRow({"version", nobody, "--version", {}, 0, "accountpolicyctl 0.1.0\n", {}});
    addRow({"history without changes", root, "history", {}, 0, {}, {}});
}

void addUsageRows()
{
    const auto wrong = [](const char *name, const char *words, const QByteArray &text) {
        addRow({name, root, words, {}, 2, {}, complaint(text) + help});
    };
    wrong("unknown command", "shwo", "there is no command \"shwo\"; did you mean \"show\"?");
    wrong("command like no other", "frobnicate", "there is no command \"frobnicate\"");
    wrong("unknown option", "show --jsn", "Unknown option 'jsn'.");
    wrong("unknown policy", "show lokout", "there is no policy \"lokout\"; did you mean \"lockout\"?");
    wrong("policy like no other", "show x", "there is no policy \"x\"; there are lockout, complexity, expiration");
    wrong("show too much", "show lockout deny", "\"deny\" is not expected here");
    wrong("set nothing", "set", "what is to be set? a policy (lockout, complexity, expiration), or \"user NAME\"");
    wrong("set user without name",
          "set user",
          "what is to be set? a policy (lockout, complexity, expiration), or \"user NAME\"");
    wrong("set unknown policy", "set lokout deny=3", "there is no policy \"lokout\"; did you mean \"lockout\"?");
    wrong("set no setting",
          "set lockout",
          "which settings? per_user, magic_root, no_reset, deny, lock_time, unlock_time");
    wrong("set unknown key",
          "set lockout denny=3",
          "the lockout policy has no setting \"denny\"; did you mean \"deny\"?");
    wrong("set key without value", "set lockout deny", "\"deny\" is not of the form KEY=VALUE");
    wrong("set word for number",
          "set lockout deny=three",
          "deny: \"three\" is not allowed; allowed is a whole number from 0 to 65535");
    wrong("set number out of range",
          "set complexity minlen=5",
          "minlen: \"5\" is not allowed; allowed is a whole number from 6 to 512");
    wrong("set number for flag", "set lockout per_user=1", "per_user: \"1\" is not allowed; allowed is yes or no");
    wrong(
        "set day that isn't",
        "set expiration expireDate=2027-02-30",
        "expireDate: \"2027-02-30\" is not allowed; allowed is a date from 1970-01-01 to 9999-12-31, as YYYY-MM-DD or "
        "in days since 1970-01-01, or \"never\"");
    wrong("set twice", "set lockout deny=3 deny=4", "deny is given twice");
    wrong("export too much", "export lockout", "\"lockout\" is not expected here");
    wrong("apply without file", "apply", "which document? FILE, or - for the standard input");
    wrong("check two files", "check - -", "\"-\" is not expected here");
    wrong("undo no number",
          "undo yesterday",
          "\"yesterday\" is not the number of a change; see accountpolicyctl history");
    wrong("undo number 0", "undo 0", "\"0\" is not the number of a change; see accountpolicyctl history");
    wrong("undo too much", "undo 1 2", "\"2\" is not expected here");
    wrong("history too much", "history 1", "\"1\" is not expected here");
    wrong("user without name", "user", "which account?");
    wrong("user two names", "user a b", "\"b\" is not expected here");
    wrong("report without file", "report", "into which file?");
    wrong("report two files", "report a b", "\"b\" is not expected here");
    wrong("doctor too much", "doctor x", "\"x\" is not expected here");
}

void addDocumentRows()
{
    const QByteArray drift = document(R"({"maxInterval": 30, "expireDate": "2027-01-31"})");
    const QByteArray same = document(R"({"maxInterval": 90, "expireDate": 1, "minInterval": null})");
    addRow({"check without drift", nobody, "check -", same, 0, {}, {}});
    addRow({"check with drift",
            nobody,
            "check -",
            drift,
            6,
            "policy      setting      wanted      found\n"
            "expiration  maxInterval  30 days     90 days\n"
            "expiration  expireDate   2027-01-31  1970-01-02\n",
            {}});
    addRow({"check exported document", nobody, "check -", fullDocument, 0, {}, {}});
    addRow({"preview of what is in force",
            nobody,
            "set --dry-run expiration maxInterval=90",
            {},
            0,
            "expiration: already in force\n",
            {}});
    addRow({"apply what is in force", root, "apply -", same, 0, "expiration: already in force\n", {}});
    addRow({"apply dry",
            nobody,
            "apply - --dry-run",
            drift,
            0,
            "expiration   now         then\n"
            "maxInterval  90 days     30 days\n"
            "expireDate   1970-01-02  2027-01-31\n",
            {}});
    addRow({"apply no document",
            root,
            "apply -",
            "{",
            2,
            {},
            complaint("-: not a JSON document: unterminated object (at byte 1)")});
    addRow({"apply wrong value",
            root,
            "apply -",
            document(R"({"maxInterval": "x"})"),
            2,
            {},
            complaint("-: maxInterval: \"\"x\"\" is not allowed; allowed is a whole number from -1 to 2147483647, or "
                      "\"never\"")});
    addRow({"check value that may not be set",
            nobody,
            "check -",
            document(R"({"maxInterval": -2})"),
            6,
            "policy      setting      wanted   found\n"
            "expiration  maxInterval  -2 days  90 days\n",
            {}});
    addRow({"apply value that may not be set",
            root,
            "apply -",
            document(R"({"minInterval": 1, "maxInterval": -2})"),
            2,
            {},
            complaint("-: maxInterval: \"-2\" is not allowed; allowed is a whole number from -1 to 2147483647, or "
                      "\"never\"")});
    addRow(
        {"apply day that may not be set",
         root,
         "apply -",
         document(R"({"expireDate": -1})"),
         2,
         {},
         complaint("-: expireDate: \"1969-12-31\" is not allowed; allowed is a date from 1970-01-01 to 9999-12-31, as "
                   "YYYY-MM-DD or in days since 1970-01-01, or \"never\"")});
    addRow({"check missing file",
            root,
            "check /run/none.json",
            {},
            1,
            {},
            complaint("/run/none.json cannot be read\nNo such file or directory")});
}

void addRefusalRows()
{
    const QByteArray refused = complaint("not authorized");
    addRow({"set refused", nobody, "set expiration maxInterval=7", {}, 3, {}, refused});
    addRow({"apply refused", nobody, "apply -", document(R"({"maxInterval": 7})"), 3, {}, refused});
    const QByteArray rootOnly = complaint("the settings of accounts are for root alone; try sudo");
    addRow({"user refused", nobody, "user nobody", {}, 3, {}, rootOnly});
    addRow({"set user refused", nobody, "set user nobody maxInterval=9", {}, 3, {}, rootOnly});
    addRow({"report of account refused", nobody, "report /run/tmp/x.html --user root", {}, 3, {}, rootOnly});
    addRow({"nothing to undo", root, "undo", {}, 1, {}, complaint("there is nothing to undo")});
    addRow({"unknown account",
            root,
            "user nosuchaccount",
            {},
            1,
            {},
            complaint("the account nosuchaccount could not be read\nRead user password expiration policy\nInternal "
                      "error: getpwnum() == 0\nSuccess")});
    const QByteArray missing = complaint("the account -l does not exist");
    addRow({"option for account", root, "set user --replace -- -l maxInterval=9", {}, 1, {}, missing});
    addRow({"option for account, dry", root, "set user --replace --dry-run -- -l maxInterval=9", {}, 1, {}, missing});
    addRow({"option for account, kept",
            root,
            "set user -- -l maxInterval=9",
            {},
            1,
            {},
            complaint("the account -l could not be read\nRead user password expiration policy\nInternal error: "
                      "getpwnum() == 0\nSuccess\n"
                      "what is not known cannot be kept; --replace writes just what is typed")});
    addRow({"replacing for unknown account",
            root,
            "set user nosuchaccount --replace maxInterval=9",
            {},
            1,
            {},
            complaint("the account nosuchaccount does not exist")});
}
}

class ClientTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void helps_data();
    void helps();
    void printsCandidates_data();
    void printsCandidates();
    void changesOnlyWhatIsNamed();
    void replacesIfAsked();
    void dropsSettingWithoutValue();
    void previewsWithoutSending();
    void tellsThatPolicyIsNotInForce();
    void tellsThatNothingCanBeReadAfterWrite();
    void tellsThatProfileIsNotEnabled();
    void putsLockoutInForceWhereTheToolKnowsTheModule();
    void refusesToGuessWhatCannotBeRead();
    void replacesWhatCannotBeRead();
    void tellsThatDriftCannotBeKnown();
    void appliesOnlyWhatDiffers();
    void keepsValuesThatMayNotBeSet();
    void appliesNothingWhereOneValueMayNotBeSet_data();
    void appliesNothingWhereOneValueMayNotBeSet();
    void endsWithTheWorstOfSeveral();
    void leavesOtherPoliciesAloneAfterRefusal_data();
    void leavesOtherPoliciesAloneAfterRefusal();
    void tellsThatDebconfIsBusy();
    void tellsThatHelperWasKilled();
    void tellsThatHelperCannotStart();
    void tellsThatBusIsMissing();
    void keepsControlCharactersFromTheTerminal();
    void obeysRuleThatRestrictsReading();
    void readsNothingMoreAfterRefusal();
    void speaksTheUsersLanguage();
};

void ClientTest::answers_data()
{
    addColumns();
    addReadingRows();
    addUsageRows();
    addDocumentRows();
    addRefusalRows();
}

void ClientTest::answers()
{
    QFETCH(int, user);
    QFETCH(QString, words);
    QFETCH(QByteArray, input);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, error);

    const ProgramResult result = client(user, words, input);

    QCOMPARE(result.standardError, error);
    QCOMPARE(result.standardOutput, output);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void ClientTest::helps_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray texts = contentOf(QFINDTESTDATA("help.txt"));
    const QByteArray prompt = "$ accountpolicyctl ";
    for (int start = texts.indexOf(prompt); start >= 0;) {
        const int next = texts.indexOf(prompt, start + 1);
        const QByteArray section = texts.mid(start, next < 0 ? -1 : next - start);
        const int lineEnd = section.indexOf('\n');
        QTest::newRow(section.mid(prompt.size(), lineEnd - prompt.size()).constData()) << section.mid(lineEnd + 1);
        start = next;
    }
}

void ClientTest::helps()
{
    QFETCH(QByteArray, text);
    const QString words = QString::fromUtf8(QTest::currentDataTag());

    for (const QString &typed : {words, QString(words).replace(QLatin1String("--help"), QLatin1String("-h"))}) {
        const ProgramResult help = client(nobody, typed);

        QCOMPARE(help.standardOutput, text);
        QCOMPARE(help.standardError, QByteArray());
        QCOMPARE(help.exitCode, 0);
    }
}

void ClientTest::printsCandidates_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("candidates");
    const QByteArray all = "show\nset\nexport\napply\ncheck\nundo\nhistory\nuser\nreport\ndoctor\n--help\n--version\n";
    QTest::newRow("nothing yet") << QStringLiteral("complete --") << all;
    QTest::newRow("all options") << QStringLiteral("complete -- set --")
                                 << QByteArray("--replace\n--dry-run\n--no-ask-password\n--help\n");
    QTest::newRow("behind an option") << QStringLiteral("complete -- set --replace lockout den")
                                      << QByteArray("deny=\n");
    for (const char *name : {"apply", "check", "report"}) {
        const QString words = QStringLiteral("complete -- %1 ").arg(QLatin1String(name));
        QTest::addRow("file to %s", name) << words + QLatin1Char('x') << QByteArray("<file>\n");
        QTest::addRow("no second file to %s", name) << words + QLatin1String("x y") << QByteArray();
    }
    QTest::newRow("command") << QStringLiteral("complete -- sh") << QByteArray("show\n");
    QTest::newRow("command, without mark") << QStringLiteral("complete sh") << QByteArray("show\n");
    QTest::newRow("behind no command") << QStringLiteral("complete -- se s") << QByteArray();
    QTest::newRow("option") << QStringLiteral("complete -- set --re") << QByteArray("--replace\n");
    QTest::newRow("switch") << QStringLiteral("complete -- set lockout per_user=")
                            << QByteArray("per_user=yes\nper_user=no\n");
    QTest::newRow("not twice") << QStringLiteral("complete -- set lockout deny=3 de") << QByteArray();
}

void ClientTest::printsCandidates()
{
    QFETCH(QString, typed);
    QFETCH(QByteArray, candidates);

    const ProgramResult complete = client(nobody, typed);

    QCOMPARE(complete.standardOutput, candidates);
    QCOMPARE(complete.standardError, QByteArray());
    QCOMPARE(complete.exitCode, 0);
}

void ClientTest::changesOnlyWhatIsNamed()
{
    const ProgramResult set = client(root, QStringLiteral("set expiration warningInterval=14 expireDate=2027-01-31"));

    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(set.exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\nPASS_WARN_AGE 14\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("INACTIVE=-1\nEXPIRE=2027-01-31\n"));
}

void ClientTest::replacesIfAsked()
{
    QCOMPARE(client(root, QStringLiteral("set expiration minInterval=1 --replace")).exitCode, 0);

    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("\nPASS_MIN_DAYS 1\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("\n\n"));
}

void ClientTest::dropsSettingWithoutValue()
{
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval= expireDate=never")).exitCode, 0);

    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("INACTIVE=-1\n\n"));
}

void ClientTest::previewsWithoutSending()
{
    const ProgramResult preview = client(
        nobody, QStringLiteral("set --dry-run lockout deny=5 unlock_time= per_user=no magic_root=yes lock_time=90"));

    QCOMPARE(preview.standardError, QByteArray());
    QCOMPARE(preview.standardOutput,
             QByteArray("lockout      now              then\n"
                        "per_user     yes              no\n"
                        "magic_root   no               yes\n"
                        "deny         3 failed logins  5 failed logins\n"
                        "lock_time    not set          90 s (1 min 30 s)\n"
                        "unlock_time  900 s (15 min)   not set\n"));
    QCOMPARE(preview.exitCode, 0);
    QVERIFY(!QFile::exists(QStringLiteral("/usr/share/pam-configs/tally")));
    QVERIFY(QDir(stateFolder(nobody)).isEmpty());
}

void ClientTest::tellsThatPolicyIsNotInForce()
{
    m_stockPam.restore();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());

    const ProgramResult set = client(root, QStringLiteral("set lockout deny=5 per_user=yes"));

    QCOMPARE(set.standardError,
             complaint("the lockout policy was written, but is not in force\n"
                       "per_user: asked for yes, found no\n"
                       "deny: asked for 5, found not set\n"
                       "pam-auth-update of this system leaves out every profile that names pam_tally"));
    QCOMPARE(set.standardOutput, QByteArray());
    QCOMPARE(set.exitCode, 4);
    QVERIFY(contentOf(QStringLiteral("/usr/share/pam-configs/tally"))
                .endsWith("Auth:\nrequired pam_tally.so onerr=fail per_user deny=5\n"));
}

void ClientTest::tellsThatNothingCanBeReadAfterWrite()
{
    const QString cp = QStringLiteral("/usr/bin/cp");
    const QByteArray program = contentOf(cp);
    writeProgram(QStringLiteral("/usr/bin/cp.real"), program);
    writeProgram(cp,
                 "#!/bin/sh\ncp.real \"$@\" || exit\ncase \"$*\" in *.tmp\\ */useradd) rm /etc/login.defs ;; esac\n");

    const ProgramResult set = client(root, QStringLiteral("set expiration maxInterval=7"));
    writeProgram(cp, program);

    QCOMPARE(set.standardError,
             complaint("the expiration policy was written, but is not in force\n"
                       "the expiration policy could not be read\n"
                       "Read default password expiration policy\n"
                       "\"/etc/login.defs\" not exists"));
    QCOMPARE(set.exitCode, 4);
}

void ClientTest::tellsThatProfileIsNotEnabled()
{
    m_stockPam.restore();
    acceptRetiredModules();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile().replace("Default: yes", "Default: no"));

    const ProgramResult set = client(root, QStringLiteral("set lockout deny=5"));

    QCOMPARE(set.standardError,
             complaint("the lockout policy was written, but is not in force\n"
                       "deny: asked for 5, found not set\n"
                       "the profile has changed, but /etc/pam.d/common-auth does not name its module; "
                       "is the profile enabled in pam-auth-update?"));
    QCOMPARE(set.exitCode, 4);
}

void ClientTest::putsLockoutInForceWhereTheToolKnowsTheModule()
{
    m_stockPam.restore();
    acceptRetiredModules();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());

    const ProgramResult set = client(root, QStringLiteral("set lockout deny=5 unlock_time=900 per_user=yes"));

    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("lockout: in force\n"));
    QCOMPARE(set.exitCode, 0);
    QVERIFY(contentOf(QStringLiteral("/etc/pam.d/common-auth"))
                .contains("pam_tally.so onerr=fail per_user deny=5 unlock_time=900\n"));
}

void ClientTest::refusesToGuessWhatCannotBeRead()
{
    QVERIFY(QFile::remove(QStringLiteral("/etc/default/useradd")));

    const ProgramResult set = client(root, QStringLiteral("set expiration maxInterval=7"));

    QCOMPARE(set.standardError,
             complaint("the expiration policy could not be read\n"
                       "Read default password expiration policy\n"
                       "\"/etc/default/useradd\" not exists\n"
                       "what is not known cannot be kept; --replace writes just what is typed"));
    QCOMPARE(set.exitCode, 1);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void ClientTest::replacesWhatCannotBeRead()
{
    writeContent(QStringLiteral("/etc/pam.d/common-password"), "password required pam_unix.so\n");

    const ProgramResult set = client(root, QStringLiteral("set complexity --replace minlen=11"));

    QCOMPARE(set.standardError,
             complaint("the complexity policy could not be read, so that there is no way back from this change"));
    QCOMPARE(set.standardOutput, QByteArray("complexity: in force\n"));
    QCOMPARE(set.exitCode, 0);
    QCOMPARE(client(root, QStringLiteral("history")).standardOutput, QByteArray());
}

void ClientTest::tellsThatDriftCannotBeKnown()
{
    QVERIFY(QFile::remove(QStringLiteral("/etc/default/useradd")));

    const QByteArray wanted = QByteArray(fullDocument).replace("\"deny\": 3", "\"deny\": 4");
    const ProgramResult check = client(nobody, QStringLiteral("check -"), wanted);
    const ProgramResult apply = client(root, QStringLiteral("apply -"), document(R"({"maxInterval": 30})"));

    const QByteArray error = complaint(unreadableExpiration);
    QCOMPARE(check.standardError, error);
    QCOMPARE(check.standardOutput,
             QByteArray("policy   setting  wanted           found\n"
                        "lockout  deny     4 failed logins  3 failed logins\n"));
    QCOMPARE(check.exitCode, 1);
    QCOMPARE(apply.standardError, error);
    QCOMPARE(apply.exitCode, 1);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void ClientTest::appliesOnlyWhatDiffers()
{
    const QByteArray before = contentOf(QStringLiteral("/usr/share/pam-configs/pwquality"));
    const QByteArray wanted = QByteArray(fullDocument).replace("\"maxInterval\": 90", "\"maxInterval\": 30");

    const ProgramResult apply = client(root, QStringLiteral("apply -"), wanted);

    QCOMPARE(apply.standardError, QByteArray());
    QCOMPARE(apply.standardOutput,
             QByteArray("lockout: already in force\ncomplexity: already in force\nexpiration: in force\n"));
    QCOMPARE(apply.exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 30\n"));
    QCOMPARE(contentOf(QStringLiteral("/usr/share/pam-configs/pwquality")), before);
    QCOMPARE(client(root, QStringLiteral("check -"), wanted).exitCode, 0);
}

void ClientTest::keepsValuesThatMayNotBeSet()
{
    writeContent(QStringLiteral("/etc/pam.d/common-password"), "password requisite pam_pwquality.so minlen=4\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS -2\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-7\nEXPIRE=1969-01-01\n");
    const QByteArray exported = client(root, QStringLiteral("export")).standardOutput;
    QVERIFY(exported.contains("\"minlen\": 4,") && exported.contains("\"maxInterval\": -2,"));

    const ProgramResult check = client(root, QStringLiteral("check -"), exported);
    const ProgramResult apply = client(root, QStringLiteral("apply -"), exported);
    QByteArray wanted = exported;
    const ProgramResult change =
        client(root, QStringLiteral("apply -"), wanted.replace("\"minInterval\": null", "\"minInterval\": 1"));

    QCOMPARE(check.standardError, QByteArray());
    QCOMPARE(check.exitCode, 0);
    QCOMPARE(apply.standardError, QByteArray());
    QCOMPARE(apply.standardOutput,
             QByteArray("lockout: already in force\ncomplexity: already in force\nexpiration: already in force\n"));
    QCOMPARE(change.standardError, QByteArray());
    QCOMPARE(change.exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS -2\nPASS_MIN_DAYS 1\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("INACTIVE=-7\nEXPIRE=1969-01-01\n"));
}

void ClientTest::appliesNothingWhereOneValueMayNotBeSet_data()
{
    QTest::addColumn<bool>("readable");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("another is in force")
        << true << 2
        << complaint("-: maxInterval: \"-2\" is not allowed; allowed is a whole number from -1 to 2147483647, or "
                     "\"never\"");
    QTest::newRow("unknown what is in force")
        << false << 1
        << complaint("the expiration policy could not be read\nRead default password expiration "
                     "policy\n\"/etc/default/useradd\" not exists");
}

void ClientTest::appliesNothingWhereOneValueMayNotBeSet()
{
    QFETCH(bool, readable);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, error);
    const QByteArray profile = contentOf(QStringLiteral("/usr/share/pam-configs/pwquality"));
    const QByteArray wanted =
        R"({"version": 1, "policies": {"complexity": {"minlen": 12}, "expiration": {"maxInterval": -2}}})";
    QVERIFY(readable || QFile::remove(QStringLiteral("/etc/default/useradd")));

    const ProgramResult apply = client(root, QStringLiteral("apply -"), wanted);

    QCOMPARE(apply.standardError, error);
    QCOMPARE(apply.standardOutput, QByteArray());
    QCOMPARE(apply.exitCode, exitCode);
    QCOMPARE(contentOf(QStringLiteral("/usr/share/pam-configs/pwquality")), profile);
    QCOMPARE(client(root, QStringLiteral("history")).standardOutput, QByteArray());
}

void ClientTest::endsWithTheWorstOfSeveral()
{
    m_stockPam.restore();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());
    QVERIFY(QFile::remove(QStringLiteral("/etc/default/useradd")));
    const QByteArray lockout = R"({"version": 1, "policies": {"lockout": {"deny": 5}}})";
    const QByteArray both = R"({"version": 1, "policies": {"lockout": {"deny": 6}, "expiration": {"maxInterval": 7}}})";

    QCOMPARE(client(root, QStringLiteral("apply -"), lockout).exitCode, 4);
    QCOMPARE(client(root, QStringLiteral("apply -"), both).exitCode, 1);
    QVERIFY(contentOf(QStringLiteral("/usr/share/pam-configs/tally")).contains(" deny=6"));
}

void ClientTest::leavesOtherPoliciesAloneAfterRefusal_data()
{
    QTest::addColumn<int>("user");
    QTest::addColumn<bool>("busy");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("not authorized") << nobody << false << 3;
    QTest::newRow("busy") << root << true << 5;
}

void ClientTest::leavesOtherPoliciesAloneAfterRefusal()
{
    QFETCH(int, user);
    QFETCH(bool, busy);
    QFETCH(int, exitCode);
    const QByteArray wanted =
        R"({"version": 1, "policies": {"complexity": {"minlen": 12}, "expiration": {"maxInterval": 7}}})";
    const int database = openDebconf(busy);

    const ProgramResult apply = client(user, QStringLiteral("apply -"), wanted);
    close(database);

    QCOMPARE(apply.standardError, busy ? debconfIsBusy() : complaint("not authorized"));
    QCOMPARE(apply.exitCode, exitCode);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void ClientTest::tellsThatDebconfIsBusy()
{
    const int database = openDebconf(true);

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));
    close(database);

    QCOMPARE(set.standardError, debconfIsBusy());
    QCOMPARE(set.exitCode, 5);
    QCOMPARE(client(root, QStringLiteral("history")).standardOutput, QByteArray());
    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 0);
}

void ClientTest::tellsThatHelperWasKilled()
{
    writeProgram(toolPath(), "#!/bin/sh\ntouch /run/tool-started\nexec sleep 25\n");
    std::thread killer([] {
        while (!QFile::exists(QStringLiteral("/run/tool-started"))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        runAs(root,
              QStringLiteral("pkill"),
              {QStringLiteral("-9"),
               QStringLiteral("-f"),
               QStringLiteral("^/usr/lib/kauth/libexec/accountpolicieshelper")});
    });

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));
    killer.join();
    runAs(root, QStringLiteral("pkill"), {QStringLiteral("sleep")});

    QCOMPARE(set.standardError,
             complaint("the helper does not answer\n"
                       "Message recipient disconnected from message bus without replying"));
    QCOMPARE(set.exitCode, 1);
    writeProgram(toolPath(), m_tool);
    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 0);
}

void ClientTest::tellsThatHelperCannotStart()
{
    endHelper();
    const QString helper = QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper");
    QVERIFY(QFile::rename(helper, helper + QStringLiteral(".away")));

    const ProgramResult show = client(nobody, QStringLiteral("show"));
    QVERIFY(QFile::rename(helper + QStringLiteral(".away"), helper));

    // once, though three policies are asked for
    QCOMPARE(show.standardError,
             complaint("the helper does not answer\nCannot launch daemon, file not found or permissions invalid"));
    QCOMPARE(show.exitCode, 1);
}

void ClientTest::tellsThatBusIsMissing()
{
    const ScopedVariable address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");

    const ProgramResult show = client(nobody, QStringLiteral("show lockout"));

    QCOMPARE(show.standardError, complaint("the system bus cannot be reached"));
    QCOMPARE(show.standardOutput, QByteArray());
    QCOMPARE(show.exitCode, 1);
}

void ClientTest::keepsControlCharactersFromTheTerminal()
{
    writeProgram(toolPath(), "#!/bin/sh\nprintf 'red \\033[31m bell \\007' >&2\nexit 1\n");

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));

    QCOMPARE(set.standardError,
             complaint("the complexity policy could not be changed\n"
                       "Update default password complexity policy\n"
                       "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                       "\"red \xef\xbf\xbd[31m bell \xef\xbf\xbd\""));
    QCOMPARE(set.exitCode, 1);
}

void ClientTest::obeysRuleThatRestrictsReading()
{
    auto rule = std::make_unique<PolkitRule>("accountpolicieshelper.read", "nobody", "NO");
    QTRY_COMPARE(client(nobody, QStringLiteral("show")).exitCode, 3);

    const ProgramResult show = client(nobody, QStringLiteral("show"));
    writeContent(stateFolder(nobody) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"expiration\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");
    const ProgramResult undo = client(nobody, QStringLiteral("undo"));
    const ProgramResult ofRoot = client(root, QStringLiteral("show"));
    rule.reset();

    QCOMPARE(show.standardError, complaint("not authorized"));
    QCOMPARE(show.standardOutput, QByteArray());
    QCOMPARE(undo.exitCode, 3);
    QCOMPARE(undo.standardError, complaint("not authorized"));
    QCOMPARE(ofRoot.exitCode, 0);
    QTRY_COMPARE(client(nobody, QStringLiteral("show")).exitCode, 0);
}

void ClientTest::readsNothingMoreAfterRefusal()
{
    const PolkitRule rule("readaccountslockoutpolicy", "nobody", "NO");
    QTRY_COMPARE(client(nobody, QStringLiteral("show lockout")).exitCode, 3);

    const ProgramResult show = client(nobody, QStringLiteral("show"));

    QCOMPARE(show.standardError, complaint("not authorized"));
    QCOMPARE(show.standardOutput, QByteArray());
    QCOMPARE(show.exitCode, 3);
}

void ClientTest::speaksTheUsersLanguage()
{
    const QString folder = QStringLiteral("/usr/share/accountpolicyctl/translations");
    writeContent(QStringLiteral("/run/de.ts"),
                 "<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE TS><TS version=\"2.1\" language=\"de\"><context>"
                 "<name>CheckCommand</name><message><source>wanted</source><translation>gew\xc3\xbcnscht</translation>"
                 "</message></context></TS>");
    QDir().mkpath(folder);
    QCOMPARE(
        runAs(root,
              QStringLiteral("/usr/lib/qt5/bin/lrelease"),
              {QStringLiteral("/run/de.ts"), QStringLiteral("-qm"), folder + QStringLiteral("/accountpolicyctl_de.qm")})
            .exitCode,
        0);
    const ScopedVariable language("LANGUAGE", "de");
    const ScopedVariable locale("LANG", "de_DE.UTF-8");

    const ProgramResult check = client(nobody, QStringLiteral("check -"), document(R"({"maxInterval": 30})"));

    QCOMPARE(
        check.standardOutput,
        QByteArray("policy      setting      gew\xc3\xbcnscht  found\nexpiration  maxInterval  30 days    90 days\n"));
}

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
