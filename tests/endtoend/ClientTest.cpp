// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as people type it, on the bus: ClientTest.answers, ClientTest.changesPam, and what needs more than a shell.

#include "client/settings/Policies.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/Sessions.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>

namespace
{
const QVector<Setting> &complexitySettings()
{
    return findPolicy(QStringLiteral("complexity"))->schema.settings;
}

QByteArray complexityMember()
{
    QByteArrayList members;
    for (const Setting &setting : complexitySettings()) {
        const char *const value = setting.kind == SettingKind::Flag ? "false" : "null";
        members += "            \"" + setting.key.toLatin1() + "\": " + value;
    }
    std::sort(members.begin(), members.end());
    return "        \"complexity\": {\n" + members.join(",\n") + "\n        }";
}

/// Both as one: the rules of the second, and the setting of the first that isn't among them.
QByteArray demandTable(const QByteArray &complexity, const QByteArray &quality)
{
    QByteArray table = quality;
    const QByteArray others = "  Further rules";
    for (const QByteArray &line : complexity.split('\n')) {
        if (line.startsWith("  reject_username")) {
            table.insert(table.indexOf(others), line + '\n');
        }
    }
    return "New passwords: the policies complexity and pwquality" + table.mid(table.indexOf('\n'));
}

QByteArray printed(const char *words)
{
    return client(nobody, words).standardOutput;
}

QJsonObject jsonOf(const char *words)
{
    return QJsonDocument::fromJson(printed(words)).object();
}

const QLatin1String policiesMember("policies");
const QLatin1String inForceMember("inForce");

/// What stands in the document of a single policy under "policies".
QByteArray memberIn(const QByteArray &document)
{
    const QByteArray start = "\"policies\": {\n";
    const auto begin = document.indexOf(start) + start.size();
    return document.mid(begin, document.indexOf("\n    },\n    \"version\"") - begin);
}
}

class ClientTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void changesPam_data();
    void changesPam();
    void showsAllPolicies();
    void helps_data();
    void helps();
    void fitsTheTerminal_data();
    void fitsTheTerminal();
    void printsCandidates_data();
    void printsCandidates();
    void tellsThatHelperCannotStart();
    void keepsControlCharactersFromTheTerminal();
    void obeysRuleThatRestrictsReading();
    void readsNothingMoreAfterRefusal();
    void speaksTheUsersLanguage();
};

void ClientTest::changesPam_data()
{
    addSessions();
}

void ClientTest::changesPam()
{
    play();
}

void ClientTest::showsAllPolicies()
{
    QByteArrayList tables;
    for (const char *policy : {"lockout", "complexity", "expiration", "faillock", "pwhistory"}) {
        const QByteArray shown = printed((QByteArray("show ") + policy).constData());
        tables += policy == QByteArray("complexity") ? demandTable(shown, printed("show pwquality")) : shown;
    }
    QCOMPARE(client(nobody, ""), success(tables.join('\n')));
    QCOMPARE(client(nobody, "show"), success(tables.join('\n')));

    QByteArrayList members{complexityMember()};
    for (const char *policy : {"expiration", "faillock", "lockout", "pwhistory", "pwquality"}) {
        members += memberIn(printed((QByteArray("show --json ") + policy).constData()));
    }
    const QByteArray everything =
        "{\n    \"policies\": {\n" + members.join(",\n") + "\n    },\n    \"version\": 2\n}\n";
    QCOMPARE(client(nobody, "export"), success(everything));
    QCOMPARE(jsonOf("--json").value(policiesMember),
             QJsonDocument::fromJson(everything).object().value(policiesMember));
    const QJsonObject inForce = jsonOf("--json").value(inForceMember).toObject();
    QCOMPARE(inForce.keys().join(QLatin1Char(' ')),
             QStringLiteral("complexity expiration faillock lockout pwhistory pwquality"));
    for (const QString &policy : inForce.keys()) {
        const QByteArray words = "show --json " + policy.toLatin1();
        QCOMPARE(inForce.value(policy), jsonOf(words.constData()).value(inForceMember).toObject().value(policy));
    }
}

void ClientTest::helps_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray texts = contentOf(QFINDTESTDATA("help.txt"));
    const QByteArray prompt = "$ accountpolicyctl ";
    for (auto start = texts.indexOf(prompt); start >= 0;) {
        const auto next = texts.indexOf(prompt, start + 1);
        const QByteArray section = texts.mid(start, next < 0 ? -1 : next - start);
        const auto lineEnd = section.indexOf('\n');
        QTest::newRow(section.mid(prompt.size(), lineEnd - prompt.size()).constData()) << section.mid(lineEnd + 1);
        start = next;
    }
}

void ClientTest::helps()
{
    QFETCH(QByteArray, text);
    const QString words = QString::fromUtf8(QTest::currentDataTag());

    QCOMPARE(client(nobody, words), success(text));
    QCOMPARE(client(nobody, QString(words).replace(QLatin1String("--help"), QLatin1String("-h"))), success(text));
    const QString command = words.section(QStringLiteral("--help"), 0, 0);
    QCOMPARE(client(nobody, QStringLiteral("help ") + command), success(text));
}

void ClientTest::fitsTheTerminal_data()
{
    QTest::addColumn<QString>("words");
    for (const char *words : {"--help", "help set", "report --help", "doctor"}) {
        QTest::newRow(words) << QString::fromLatin1(words);
    }
}

void ClientTest::fitsTheTerminal()
{
    QFETCH(QString, words);
    const ScopedVariable colour("NO_COLOR", "1");

    PseudoTerminal terminal(
        root, QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("stty cols 60; accountpolicyctl ") + words});
    terminal.waitForEnd();

    const QString shown = QString::fromUtf8(terminal.output());
    for (const QString &line : shown.split(QStringLiteral("\r\n"))) {
        // only a word that is longer, such as a path, may be cut
        QVERIFY2(line.size() < 60 || !line.trimmed().contains(QLatin1Char(' ')), qPrintable(line));
    }
    QCOMPARE(shown.simplified(), QString::fromUtf8(client(root, words).standardOutput).simplified());
}

void ClientTest::printsCandidates_data()
{
    QTest::addColumn<QByteArray>("candidates");
    const auto candidates = [](const char *typed, const char *expected) {
        QTest::newRow(typed) << QByteArray(expected);
    };
    candidates("--",
               "show\tShow the policies in force.\n"
               "set\tChange settings of a policy, or of an account.\n"
               "export\tPrint the policies in force as a document.\n"
               "apply\tPut the policies of a document in force.\n"
               "check\tTell where the policies in force differ from a document.\n"
               "undo\tBring back the settings from before a change.\n"
               "history\tList the changes that can be undone.\n"
               "user\tShow the expiration settings of an account (root only).\n"
               "locked\tList the accounts that are locked after failed logins.\n"
               "unlock\tOpen accounts that are locked after failed logins.\n"
               "report\tWrite the policies in force as an HTML page.\n"
               "doctor\tCheck the installation, and tell how to mend it.\n"
               "help\tShow this, or the help of a command.\n"
               "--help\tShow this, or the help of a command.\n"
               "--version\tShow the version.\n");
    candidates("-- sh", "show\tShow the policies in force.\n");
    candidates("sh", "show\tShow the policies in force.\n"); // without the mark
    candidates("-- show lockout de", "deny\tFailed logins after which an account is locked\n");
    candidates("-- show lockout deny d", "");
    candidates("-- show nothing d", "");
    candidates("-- se s", ""); // behind no command
    candidates("-- set co", "complexity\tPassword complexity\n");
    candidates("-- set u", "user\tThe settings of an account (root only)\n");
    candidates("-- set --",
               "--replace\tDrop all settings that are not named.\n"
               "--off\tSwitch the policy off; the same as enabled=no.\n"
               "--dry-run\tShow what would change, and change nothing.\n"
               "--json\tPrint a JSON document.\n"
               "--force\tGo on where something would be lost, or cannot come into force.\n"
               "--quiet\tSay nothing on success.\n"
               "--local\tDo without the helper and the service (root only).\n"
               "--no-ask-password\tDo not ask for a password on the terminal.\n"
               "--help\tShow this.\n");
    candidates("-- set --re", "--replace\tDrop all settings that are not named.\n");
    candidates("-- set --replace lockout den", "deny=\tFailed logins after which an account is locked\n");
    candidates("-- set lockout per_user=",
               "per_user=yes\tSome accounts have limits of their own\n"
               "per_user=no\tSome accounts have limits of their own\n");
    candidates("-- set lockout per", "per_user=\tSome accounts have limits of their own\n");
    candidates("-- set lockout per_user", "per_user=\tSome accounts have limits of their own\n");
    candidates("-- set expiration maxI", "maxInterval=\tDays after which a password must be changed\n");
    candidates("-- set expiration expireDate=",
               "expireDate=\tThe day on which an account expires\n"
               "expireDate=never\tThe day on which an account expires\n");
    candidates("-- set lockout deny=3 de", ""); // not twice
    candidates("-- set pwquality dictcheck=",
               "dictcheck=yes\tWords of a dictionary are refused\n"
               "dictcheck=no\tWords of a dictionary are refused\n");
    candidates("-- set faillock unlock_time=",
               "unlock_time=\tSeconds after which a locked account is open again\n"
               "unlock_time=never\tSeconds after which a locked account is open again\n");
    candidates("-- set faillock adm", "admin_group=\tThe group whose members are locked only if root is\n");
    candidates("-- unlock policytest", "policytester\n");
    candidates("-- unlock policytester policytest", "");
    candidates("-- locked p", "");
    candidates("-- help do", "doctor\tCheck the installation, and tell how to mend it.\n");
    candidates("-- help doctor d", "");
    for (const char *command : {"-- apply x", "-- check x", "-- report x"}) {
        candidates(command, "<file>\n");
        candidates((QByteArray(command) + " y").constData(), "");
    }
}

void ClientTest::printsCandidates()
{
    QFETCH(QByteArray, candidates);

    const QByteArray words = QByteArray("complete ") + QTest::currentDataTag();
    QCOMPARE(client(nobody, words.constData()), success(candidates));
}

void ClientTest::tellsThatHelperCannotStart()
{
    endHelper();
    const QString helper = QString::fromLatin1(helperFile);
    QVERIFY(QFile::rename(helper, helper + QStringLiteral(".away")));

    const ProgramResult set = client(nobody, "set lockout deny=5");
    QVERIFY(QFile::rename(helper + QStringLiteral(".away"), helper));

    QCOMPARE(set, failure(1, "the helper is not installed; apt install accountpolicies-helper, or try sudo"));
}

void ClientTest::keepsControlCharactersFromTheTerminal()
{
    replaceTool("printf 'red \\033[31m bell \\007' >&2; exit 1");

    QCOMPARE(client(root, "set complexity minlen=12"),
             failure(1,
                     "the complexity policy could not be changed\n"
                     "Update default password complexity policy\n"
                     "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                     "\"red \xef\xbf\xbd[31m bell \xef\xbf\xbd\"\n"
                     "the profile has changed and comes into force with the next run of pam-auth-update"));
}

void ClientTest::obeysRuleThatRestrictsReading()
{
    const QString history = stateFolder(nobody) + QStringLiteral("/accountpolicyctl");
    writeContent(history + QStringLiteral("/20260101T000000000-1.json"),
                 "{\"of\": \"expiration\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");
    QCOMPARE(runAs(root, qPrintable(QStringLiteral("chown -R nobody ") + history)), success());
    const QByteArray lockout = printed("show lockout");
    {
        const PolkitRule rule("accountpolicieshelper.read", "nobody", "NO");
        QCOMPARE(client(nobody, "show"), failure(3, "not authorized"));
        QCOMPARE(client(nobody, "undo"), failure(3, "not authorized"));
        QCOMPARE(client(root, "show lockout"), success(lockout));
    }
    QCOMPARE(client(nobody, "show lockout"), success(lockout));
}

void ClientTest::readsNothingMoreAfterRefusal()
{
    const PolkitRule rule("readaccountslockoutpolicy", "nobody", "NO");

    QCOMPARE(client(nobody, "show lockout"), failure(3, "not authorized"));
    QCOMPARE(client(nobody, "show"), failure(3, "not authorized"));
}

void ClientTest::speaksTheUsersLanguage()
{
    writeContent("/run/de.ts",
                 "<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE TS><TS version=\"2.1\" language=\"de\"><context>"
                 "<name>CheckCommand</name><message><source>wanted</source><translation>gew\xc3\xbcnscht</translation>"
                 "</message></context></TS>");
    QDir().mkpath(QStringLiteral("/usr/share/accountpolicyctl/translations"));
    const QByteArray release = "/usr/lib/qt" + QByteArray::number(QT_VERSION_MAJOR)
        + "/bin/lrelease /run/de.ts -qm /usr/share/accountpolicyctl/translations/accountpolicyctl_de.qm";
    QCOMPARE(runAs(root, release.constData()).exitCode, 0);
    const ScopedVariable language("LANGUAGE", "de");
    const ScopedVariable locale("LANG", "de_DE.UTF-8");

    const ProgramResult check = client(nobody, "check -", document(R"({"maxInterval": 30})"));

    QCOMPARE(
        check.standardOutput,
        QByteArray("policy      setting      gew\xc3\xbcnscht  found\nexpiration  maxInterval  30 days    90 days\n"));
}

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
