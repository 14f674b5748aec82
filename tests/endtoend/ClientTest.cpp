// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as people type it, on the bus.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr int root = 0;
constexpr int accountId = 4321;
const char home[] = "/run/home-of-policytester";

const char tool[] = "/usr/sbin/pam-auth-update";

QString path(const char *name)
{
    return QString::fromLatin1(name);
}

/// The document of the policies that init() puts in force, with other expiration settings.
QByteArray document(const QByteArray &expiration)
{
    return R"({"version": 1, "policies": {"expiration": )" + expiration + "}}";
}

const char lockoutTable[] = "Lockout after failed logins\n"
                            "  per_user     yes\n"
                            "  magic_root   no\n"
                            "  no_reset     no\n"
                            "  deny         3 failed logins\n"
                            "  lock_time    not set\n"
                            "  unlock_time  900 s (15 min)\n";
const char complexityTable[] = "Password complexity\n"
                               "  gecoscheck        no\n"
                               "  enforce_for_root  no\n"
                               "  reject_username   no\n"
                               "  minlen            not set\n"
                               "  lcredit           not set\n"
                               "  ucredit           not set\n"
                               "  dcredit           not set\n"
                               "  ocredit           not set\n";
const char expirationTable[] = "Password expiration of new accounts\n"
                               "  maxInterval       90 days\n"
                               "  minInterval       not set\n"
                               "  warningInterval   not set\n"
                               "  inactiveInterval  never\n"
                               "  expireDate        1970-01-02\n";

const char fullDocument[] = R"({
    "policies": {
        "complexity": {
            "dcredit": null,
            "enforce_for_root": false,
            "gecoscheck": false,
            "lcredit": null,
            "minlen": null,
            "ocredit": null,
            "reject_username": false,
            "ucredit": null
        },
        "expiration": {
            "expireDate": "1970-01-02",
            "inactiveInterval": -1,
            "maxInterval": 90,
            "minInterval": null,
            "warningInterval": null
        },
        "lockout": {
            "deny": 3,
            "lock_time": null,
            "magic_root": false,
            "no_reset": false,
            "per_user": true,
            "unlock_time": 900
        }
    },
    "version": 1
}
)";

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

const char unreadableExpiration[] = "the expiration policy could not be read\n"
                                    "Read default password expiration policy\n"
                                    "\"/etc/default/useradd\" not exists";

const char help[] = "see accountpolicyctl --help\n";

QByteArray complaint(const QByteArray &text)
{
    return "accountpolicyctl: " + text + '\n';
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

/// The commands of a history, without numbers and times.
QByteArray commandsIn(const QByteArray &history)
{
    static const QRegularExpression start(QStringLiteral("^\\d+  \\S+ \\S+  "), QRegularExpression::MultilineOption);
    return QString::fromUtf8(history).remove(start).toUtf8();
}

QByteArray shadowEntry()
{
    return runAs(root, QStringLiteral("getent"), {QStringLiteral("shadow"), QStringLiteral("policytester")})
        .standardOutput;
}
}

class ClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void answers_data();
    void answers();
    void helpsWithEachCommand_data();
    void helpsWithEachCommand();
    void changesOnlyWhatIsNamed();
    void replacesIfAsked();
    void dropsSettingWithoutValue();
    void previewsWithoutSending();
    void tellsThatPolicyIsNotInForce();
    void tellsThatProfileIsNotEnabled();
    void putsLockoutInForceWhereTheToolKnowsTheModule();
    void refusesToGuessWhatCannotBeRead();
    void replacesWhatCannotBeRead();
    void tellsThatDriftCannotBeKnown();
    void appliesOnlyWhatDiffers();
    void goesBackAndForthByUndo();
    void undoesOlderChange();
    void undoDoesNotRememberRefusedChange();
    void undoReachesTheLastChangeAfterRefusal();
    void undoReachesTheLastChangeAfterFailure();
    void failedUndoLeavesTheChangeToUndo();
    void keepsWayBackFromFailureThatChangedSomething();
    void keepsWayBackWhereNothingCanBeReadAfterFailure();
    void keepsWayBackFromWriteWithoutAnswer();
    void keepsWayBackFromWhatIsNotInForce();
    void undoBringsBackTheStackNotTheProfile();
    void keepsValuesThatMayNotBeSet();
    void bringsBackValuesThatMayNotBeSet();
    void bringsBackDayBehindTheCalendar();
    void appliesNothingWhereOneValueMayNotBeSet_data();
    void appliesNothingWhereOneValueMayNotBeSet();
    void refusesToUndoWhatCannotBeUnderstood();
    void refusesToUndoForUnknownAccount();
    void writesNothingWithoutWayBack();
    void writesNothingWithoutHome();
    void keepsHistoryInTheHomeOfTheAccount();
    void readsAndSetsAccount();
    void undoesChangeOfAccount();
    void writesReport();
    void tellsThatReportCannotBeWritten();
    void tellsThatReportIsIncomplete();
    void tellsThatReportIsCutOff();
    void writesReportIntoPipe_data();
    void writesReportIntoPipe();
    void tellsThatOutputCannotBeWritten_data();
    void tellsThatOutputCannotBeWritten();
    void tellsThatDiskIsFull();
    void needsNoOutputToSayNothing();
    void leavesBrokenPipeUnsaid_data();
    void leavesBrokenPipeUnsaid();
    void worksWithoutStandardStreams();
    void startsNotWithoutAllStreams();
    void tellsThatInputCannotBeRead_data();
    void tellsThatInputCannotBeRead();
    void tellsThatDebconfIsBusy();
    void tellsThatHelperWasKilled();
    void tellsThatHelperCannotStart();
    void tellsThatBusIsMissing();
    void keepsControlCharactersFromTheTerminal();
    void obeysRuleThatRestrictsReading();
    void speaksTheUsersLanguage();

private:
    PamState m_stockPam;
    QByteArray m_tool = contentOf(path(tool));
};

void ClientTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    const ProgramResult added =
        runAs(root,
              QStringLiteral("useradd"),
              splitWords(QStringLiteral("-u %1 -M -d %2 policytester").arg(accountId).arg(path(home))));
    QVERIFY2(added.exitCode == 0, added.standardError.constData());
}

void ClientTest::init()
{
    m_stockPam.restore();
    writeProgram(path(tool), m_tool);
    QFile::remove(QStringLiteral("/usr/share/pam-configs/tally"));
    for (int user : {root, nobody}) {
        QDir(stateFolder(user)).removeRecursively();
    }
    writeContent(QStringLiteral("/etc/pam.d/common-auth"),
                 "auth required pam_tally.so deny=3 per_user unlock_time=900\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\nEXPIRE=1970-01-02\n");
}

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

void ClientTest::helpsWithEachCommand_data()
{
    QTest::addColumn<QString>("command");
    for (const char *command :
         {"show", "set", "export", "apply", "check", "undo", "history", "user", "report", "doctor"}) {
        QTest::newRow(command) << QString::fromLatin1(command);
    }
}

void ClientTest::helpsWithEachCommand()
{
    QFETCH(QString, command);

    const ProgramResult all = client(nobody, QStringLiteral("--help"));
    const ProgramResult one = client(nobody, command + QStringLiteral(" --help"));

    QCOMPARE(all.exitCode, 0);
    QCOMPARE(one.exitCode, 0);
    const QRegularExpression line(QStringLiteral("^  %1.*  (\\S.*)$").arg(command),
                                  QRegularExpression::MultilineOption);
    const QString summary = line.match(QString::fromUtf8(all.standardOutput)).captured(1);
    QVERIFY(!summary.isEmpty());
    QCOMPARE(QString::fromUtf8(one.standardOutput).section(QLatin1Char('\n'), 1, 1), summary);
    QVERIFY(one.standardOutput.startsWith("Usage: accountpolicyctl [options] " + command.toUtf8()));
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

void ClientTest::goesBackAndForthByUndo()
{
    QCOMPARE(client(root, QStringLiteral("set expiration maxInterval=7")).exitCode, 0);

    const ProgramResult preview = client(root, QStringLiteral("undo --dry-run"));
    QCOMPARE(preview.standardOutput, QByteArray("expiration   now     then\nmaxInterval  7 days  90 days\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));

    const ProgramResult undone = client(root, QStringLiteral("undo"));
    QCOMPARE(undone.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));

    // the undoing is the newest change now
    QCOMPARE(client(root, QStringLiteral("undo")).exitCode, 0);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));
}

void ClientTest::undoesOlderChange()
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

void ClientTest::undoDoesNotRememberRefusedChange()
{
    QCOMPARE(client(nobody, QStringLiteral("set expiration maxInterval=7")).exitCode, 3);

    QCOMPARE(client(nobody, QStringLiteral("history")).standardOutput, QByteArray());
}

void ClientTest::undoReachesTheLastChangeAfterRefusal()
{
    const QString rule = QStringLiteral("/etc/polkit-1/rules.d/10-admit.rules");
    writeContent(rule,
                 "polkit.addRule(function(action, subject) {\n"
                 "    if (action.id.indexOf(\"writepasswordexpirationpolicy\") >= 0 && subject.user == \"nobody\") {\n"
                 "        return polkit.Result.YES;\n    }\n});\n");
    QTRY_COMPARE(client(nobody, QStringLiteral("set expiration maxInterval=8")).exitCode, 0);
    QCOMPARE(client(nobody, QStringLiteral("set expiration maxInterval=7")).exitCode, 0);

    QCOMPARE(client(nobody, QStringLiteral("set complexity minlen=12")).exitCode, 3);
    QCOMPARE(client(nobody, QStringLiteral("set lockout deny=5")).exitCode, 3);
    const ProgramResult undo = client(nobody, QStringLiteral("undo"));
    QFile::remove(rule);

    QCOMPARE(undo.standardError, QByteArray());
    QCOMPARE(undo.standardOutput, QByteArray("expiration: in force\n"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 8\n"));
}

void ClientTest::undoReachesTheLastChangeAfterFailure()
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

void ClientTest::failedUndoLeavesTheChangeToUndo()
{
    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 0);
    writeProgram(path(tool), "#!/bin/sh\nexit 1\n");
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(client(root, QStringLiteral("undo")).exitCode, 1);
    }
    writeProgram(path(tool), m_tool);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("complexity: in force\n"));
    QCOMPARE(client(root, QStringLiteral("show complexity")).standardOutput, QByteArray(complexityTable));
}

void ClientTest::keepsWayBackFromFailureThatChangedSomething()
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

void ClientTest::keepsWayBackWhereNothingCanBeReadAfterFailure()
{
    writeProgram(path(tool), "#!/bin/sh\nrm /etc/pam.d/common-password\nexit 1\n");

    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 1);

    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));
}

void ClientTest::keepsWayBackFromWriteWithoutAnswer()
{
    writeProgram(path(tool), "#!/bin/sh\nkill -STOP $PPID\n"); // the helper

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));
    kill(static_cast<pid_t>(helperProcess()), SIGCONT);

    QCOMPARE(set.standardError, complaint("the helper has not answered in time; it may still carry the change out"));
    QCOMPARE(set.exitCode, 5);
    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput),
             QByteArray("set complexity minlen=12\n"));
    QCOMPARE(client(root, QStringLiteral("show")).exitCode, 0);
}

void ClientTest::keepsWayBackFromWhatIsNotInForce()
{
    m_stockPam.restore();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());

    QCOMPARE(client(root, QStringLiteral("set lockout deny=5")).exitCode, 4);

    QCOMPARE(commandsIn(client(root, QStringLiteral("history")).standardOutput), QByteArray("set lockout deny=5\n"));
}

void ClientTest::undoBringsBackTheStackNotTheProfile()
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

void ClientTest::bringsBackValuesThatMayNotBeSet()
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

void ClientTest::bringsBackDayBehindTheCalendar()
{
    QCOMPARE(runAs(root, QStringLiteral("chage"), splitWords(QStringLiteral("-E 3000000 policytester"))).exitCode, 0);
    const QByteArray before = shadowEntry();
    QVERIFY(before.contains(":3000000:"));
    QCOMPARE(client(root, QStringLiteral("set user policytester expireDate=2030-01-01")).exitCode, 0);
    QVERIFY(shadowEntry() != before);

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("user policytester: in force\n"));

    QCOMPARE(shadowEntry(), before);
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

void ClientTest::refusesToUndoWhatCannotBeUnderstood()
{
    const QString file = stateFolder(root) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json");
    writeContent(file, "{\"of\": \"expiration\", \"time\": \"today\"}");

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.exitCode, 1);
    QCOMPARE(undo.standardError, complaint(file.toUtf8() + " cannot be understood"));
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 90\n"));
}

void ClientTest::refusesToUndoForUnknownAccount()
{
    writeContent(stateFolder(root) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"user -l\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");

    const ProgramResult undo = client(root, QStringLiteral("undo"));

    QCOMPARE(undo.standardError, complaint("the account -l does not exist"));
    QCOMPARE(undo.exitCode, 1);
}

void ClientTest::writesNothingWithoutWayBack()
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

void ClientTest::writesNothingWithoutHome()
{
    const QString folder = QStringLiteral("/run/without-home");
    writeContent(folder + QStringLiteral("/1.json"), "{}");
    const QString database = QStringLiteral("/etc/passwd");
    const QByteArray accounts = contentOf(database);
    writeContent(database, QByteArray(accounts).replace(home, "nowhere"));
    const QStringList bare{QStringLiteral("-i"), QStringLiteral("-C"), folder, QStringLiteral("accountpolicyctl")};
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

void ClientTest::keepsHistoryInTheHomeOfTheAccount()
{
    QVERIFY(QDir().mkpath(path(home)) && chown(home, accountId, accountId) == 0);
    const ProgramResult set = runAs(accountId,
                                    QStringLiteral("env"),
                                    splitWords(QStringLiteral("-i accountpolicyctl set expiration maxInterval=7")));

    QCOMPARE(set.standardError, complaint("not authorized"));
    QVERIFY(QDir(path(home) + QStringLiteral("/.local/state/accountpolicyctl")).exists());
}

void ClientTest::readsAndSetsAccount()
{
    QCOMPARE(
        runAs(root, QStringLiteral("chage"), splitWords(QStringLiteral("-m 1 -M 60 -W 7 -I -1 -E -1 policytester")))
            .exitCode,
        0);

    const ProgramResult set =
        client(root, QStringLiteral("set user policytester maxInterval=90 expireDate=2030-01-01"));
    QCOMPARE(set.standardError, QByteArray());
    QCOMPARE(set.standardOutput, QByteArray("user policytester: in force\n"));
    QCOMPARE(set.exitCode, 0);

    QCOMPARE(client(root, QStringLiteral("user policytester")).standardOutput,
             QByteArray("policytester\n"
                        "  maxInterval       90 days\n"
                        "  minInterval       1 day\n"
                        "  warningInterval   7 days\n"
                        "  inactiveInterval  not set\n"
                        "  expireDate        2030-01-01\n"));
    const QByteArray entry = shadowEntry();
    QCOMPARE(entry.mid(entry.indexOf(":1:90:")), QByteArray(":1:90:7::21915:\n"));

    QCOMPARE(
        client(root, QStringLiteral("set user policytester expireDate=never minInterval= warningInterval=-1")).exitCode,
        0);
    const QByteArray after = shadowEntry();
    QCOMPARE(after.mid(after.indexOf("::90:")), QByteArray("::90::::\n"));
}

void ClientTest::undoesChangeOfAccount()
{
    QCOMPARE(client(root, QStringLiteral("set user policytester --replace maxInterval=60")).exitCode, 0);
    QCOMPARE(client(root, QStringLiteral("set user policytester maxInterval=61")).exitCode, 0);

    QCOMPARE(client(root, QStringLiteral("undo")).standardOutput, QByteArray("user policytester: in force\n"));

    const QByteArray entry = shadowEntry();
    QCOMPARE(entry.mid(entry.indexOf("::60:")), QByteArray("::60::::\n"));
}

void ClientTest::writesReport()
{
    const QString file = QStringLiteral("/run/report.html");
    writeContent(file, "old");

    const ProgramResult report = client(root, QStringLiteral("report /run/report.html --user policytester"));

    QCOMPARE(report.standardError, QByteArray());
    QCOMPARE(report.standardOutput, QByteArray());
    QCOMPARE(report.exitCode, 0);
    const QByteArray page = contentOf(file);
    QCOMPARE(page.count("<table>"), 4);
    QVERIFY(page.startsWith("<!DOCTYPE html>\n") && page.endsWith("</html>\n"));
    QVERIFY(page.contains("<tr><th scope=\"row\">unlock_time</th><td>900 s (15 min)</td></tr>\n"));
    QVERIFY(page.contains("<caption>Account policytester</caption>\n"));
    const ProgramResult tidy =
        runAs(nobody, QStringLiteral("tidy"), {QStringLiteral("-q"), QStringLiteral("-e")}, page);
    QCOMPARE(tidy.standardError, QByteArray());
    QCOMPARE(tidy.exitCode, 0);
}

void ClientTest::tellsThatReportCannotBeWritten()
{
    const ProgramResult report = client(root, QStringLiteral("report /nowhere/report.html"));

    QCOMPARE(report.standardError,
             complaint("/nowhere/report.html could not be written\nExport to HTML\n\"/nowhere/report.html\" error "
                       "5\nNo such file or directory"));
    QCOMPARE(report.exitCode, 1);
}

void ClientTest::tellsThatReportIsIncomplete()
{
    QVERIFY(QFile::remove(QStringLiteral("/etc/default/useradd")));

    const ProgramResult report = client(root, QStringLiteral("report /run/report.html"));

    QCOMPARE(report.standardError, complaint(unreadableExpiration));
    QCOMPARE(report.exitCode, 1);
    QVERIFY(contentOf(QStringLiteral("/run/report.html"))
                .contains("<p class=\"failure\" role=\"alert\">the expiration policy could not be read\nRead default "
                          "password expiration policy\n"
                          "&quot;/etc/default/useradd&quot; not exists</p>\n"));
}

void ClientTest::tellsThatReportIsCutOff()
{
    // /dev/full takes an open and no byte
    const ProgramResult device = client(root, QStringLiteral("report /dev/full"));
    QCOMPARE(device.standardError, complaint("/dev/full could not be written\nNo space left on device"));
    QCOMPARE(device.exitCode, 1);

    const QString folder = QStringLiteral("/run/small");
    QDir().mkpath(folder);
    const ScopedMount disk = ScopedMount::smallDisk(folder, 4);
    writeContent(folder + QStringLiteral("/other"), "takes the one page");
    const ProgramResult file = client(root, QStringLiteral("report /run/small/report.html"));
    QCOMPARE(file.standardError, complaint("/run/small/report.html was not written completely"));
    QCOMPARE(file.exitCode, 1);
}

void ClientTest::writesReportIntoPipe_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("standard output") << QStringLiteral("timeout 20 accountpolicyctl report /dev/stdout | cat");
    QTest::newRow("named pipe") << QStringLiteral(
        "mkfifo /run/pipe; timeout 20 accountpolicyctl report /run/pipe & timeout 20 cat /run/pipe; wait $!");
}

void ClientTest::writesReportIntoPipe()
{
    QFETCH(QString, script);

    // without pipefail the pipe's status would be cat's
    const ProgramResult report = shell(root, QStringLiteral("set -o pipefail; ") + script);

    QCOMPARE(report.standardError, QByteArray());
    QCOMPARE(report.exitCode, 0);
    QVERIFY(report.standardOutput.startsWith("<!DOCTYPE html>\n"));
    QVERIFY(report.standardOutput.endsWith("</html>\n"));
}

void ClientTest::tellsThatOutputCannotBeWritten_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("exitCode");
    const QString drift = QStringLiteral("/run/drift.json");
    const QStringList succeeding{QStringLiteral("--help"),
                                 QStringLiteral("--version"),
                                 QStringLiteral("show --help"),
                                 QStringLiteral("complete sh"),
                                 QStringLiteral("show"),
                                 QStringLiteral("show lockout --json"),
                                 QStringLiteral("export"),
                                 QStringLiteral("history"),
                                 QStringLiteral("doctor"),
                                 QStringLiteral("user root"),
                                 QStringLiteral("set expiration maxInterval=7 --dry-run"),
                                 QStringLiteral("set expiration maxInterval=7"),
                                 QStringLiteral("undo --dry-run"),
                                 QStringLiteral("apply --dry-run ") + drift};
    for (const QString &words : succeeding) {
        QTest::newRow(qPrintable(words)) << words << 1;
    }
    QTest::newRow("check with drift") << QStringLiteral("check ") + drift << 6;
}

void ClientTest::tellsThatOutputCannotBeWritten()
{
    QFETCH(QString, words);
    QFETCH(int, exitCode);
    writeContent(QStringLiteral("/run/drift.json"), document(R"({"maxInterval": 30})"));
    QCOMPARE(client(root, QStringLiteral("set expiration minInterval=1")).exitCode, 0); // something for the history

    const ProgramResult full = shell(root, QStringLiteral("exec accountpolicyctl %1 >/dev/full").arg(words));
    QCOMPARE(full.standardError, complaint("cannot write: No space left on device"));
    QCOMPARE(full.exitCode, exitCode);

    const ProgramResult closed = shell(root, QStringLiteral("exec accountpolicyctl %1 >&-").arg(words));
    QCOMPARE(closed.standardError, complaint("cannot write: Bad file descriptor"));
    QCOMPARE(closed.exitCode, exitCode);
}

void ClientTest::tellsThatDiskIsFull()
{
    const QString folder = QStringLiteral("/run/small");
    QDir().mkpath(folder);
    const ScopedMount disk = ScopedMount::smallDisk(folder, 4);
    writeContent(folder + QStringLiteral("/other"), "takes the one page");

    const ProgramResult result = shell(root, QStringLiteral("exec accountpolicyctl export >/run/small/policies.json"));

    QCOMPARE(result.standardError, complaint("cannot write: No space left on device"));
    QCOMPARE(result.exitCode, 1);
}

void ClientTest::needsNoOutputToSayNothing()
{
    const ProgramResult check = shell(nobody, QStringLiteral("exec accountpolicyctl check - >&-"), fullDocument);

    QCOMPARE(check.standardError, QByteArray());
    QCOMPARE(check.exitCode, 0);
}

void ClientTest::leavesBrokenPipeUnsaid_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QByteArray>("exitCode");
    QTest::newRow("from a shell") << QString() << QByteArray::number(128 + SIGPIPE);
    QTest::newRow("from a program that ignores the signal") << QStringLiteral("trap '' PIPE; ") << QByteArray("0");
}

void ClientTest::leavesBrokenPipeUnsaid()
{
    QFETCH(QString, before);
    QFETCH(QByteArray, exitCode);
    const QString script = QStringLiteral("{ sleep 1; accountpolicyctl show; echo $? >&2; } | exec true");

    const ProgramResult show = shell(nobody, before + script);

    QCOMPARE(show.standardError, exitCode + '\n');
}

void ClientTest::worksWithoutStandardStreams()
{
    // the first says something to the standard output, the second to the standard error, the third has to work still
    writeContent(QStringLiteral("/etc/pam.d/common-password"), "password required pam_unix.so\n");
    writeContent(QStringLiteral("/run/wanted.json"),
                 R"({"version": 1, "policies": {"lockout": {"deny": 3}, "complexity": {"minlen": 12},
                     "expiration": {"maxInterval": 7}}})");

    const ProgramResult apply =
        shell(root, QStringLiteral("exec accountpolicyctl apply /run/wanted.json <&- >&- 2>&-"));

    QCOMPARE(apply.exitCode, 1);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));
}

void ClientTest::startsNotWithoutAllStreams()
{
    const QString script =
        QStringLiteral("unshare --mount sh -c 'mount -t tmpfs none /dev && exec accountpolicyctl --version <&-'");

    const ProgramResult version = shell(root, script);

    QCOMPARE(version.standardError, complaint("/dev/null cannot be opened"));
    QCOMPARE(version.standardOutput, QByteArray());
    QCOMPARE(version.exitCode, 1);
}

void ClientTest::tellsThatInputCannotBeRead_data()
{
    QTest::addColumn<QString>("redirection");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("folder") << QStringLiteral("</") << QByteArray("Is a directory");
    QTest::newRow("closed") << QStringLiteral("<&-") << QByteArray("Bad file descriptor");
}

void ClientTest::tellsThatInputCannotBeRead()
{
    QFETCH(QString, redirection);
    QFETCH(QByteArray, reason);

    const ProgramResult apply = shell(root, QStringLiteral("exec accountpolicyctl apply - ") + redirection);

    QCOMPARE(apply.standardError, complaint("- cannot be read\n" + reason));
    QCOMPARE(apply.exitCode, 1);
}

void ClientTest::tellsThatDebconfIsBusy()
{
    const int database = open("/var/cache/debconf/config.dat", O_RDWR | O_CLOEXEC);
    QVERIFY(database >= 0 && flock(database, LOCK_EX) == 0); // as apt does

    const ProgramResult set = client(root, QStringLiteral("set complexity minlen=12"));
    close(database);

    QCOMPARE(set.standardError,
             complaint("the complexity policy could not be changed\n"
                       "Update default password complexity policy\n"
                       "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                       "\"debconf: DbDriver \"config\": /var/cache/debconf/config.dat is locked by another process: "
                       "Resource temporarily unavailable\n\""));
    QCOMPARE(set.exitCode, 5);
    QCOMPARE(client(root, QStringLiteral("history")).standardOutput, QByteArray());
    QCOMPARE(client(root, QStringLiteral("set complexity minlen=12")).exitCode, 0);
}

void ClientTest::tellsThatHelperWasKilled()
{
    writeProgram(path(tool), "#!/bin/sh\ntouch /run/tool-started\nexec sleep 25\n");
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
    writeProgram(path(tool), m_tool);
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
    writeProgram(path(tool), "#!/bin/sh\nprintf 'red \\033[31m bell \\007' >&2\nexit 1\n");

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
    const QString rule = QStringLiteral("/etc/polkit-1/rules.d/10-restrict.rules");
    writeContent(rule,
                 "polkit.addRule(function(action, subject) {\n"
                 "    if (action.id.indexOf(\"accountpolicieshelper.read\") >= 0 && subject.user == \"nobody\") {\n"
                 "        return polkit.Result.NO;\n    }\n});\n");
    QTRY_COMPARE(client(nobody, QStringLiteral("show")).exitCode, 3);

    const ProgramResult show = client(nobody, QStringLiteral("show"));
    writeContent(stateFolder(nobody) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"expiration\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");
    const ProgramResult undo = client(nobody, QStringLiteral("undo"));
    const ProgramResult ofRoot = client(root, QStringLiteral("show"));
    QFile::remove(rule);

    QCOMPARE(show.standardError, complaint("not authorized"));
    QCOMPARE(show.standardOutput, QByteArray());
    QCOMPARE(undo.exitCode, 3);
    QCOMPARE(undo.standardError, complaint("not authorized"));
    QCOMPARE(ofRoot.exitCode, 0);
    QTRY_COMPARE(client(nobody, QStringLiteral("show")).exitCode, 0);
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
