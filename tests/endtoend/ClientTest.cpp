// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as people type it, on the bus: ClientTest.answers, ClientTest.changesPam, and what needs more than a shell.

#include "client/settings/Policies.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/Sessions.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>

namespace
{
const QVector<Setting> &complexitySettings()
{
    return findPolicy(QStringLiteral("complexity"))->schema.settings;
}

/// Of a policy without any setting, by the client's list of them.
QByteArray complexityTable()
{
    int longest = 0;
    for (const Setting &setting : complexitySettings()) {
        longest = qMax(longest, setting.key.size());
    }
    QByteArray table = "Password complexity\n";
    for (const Setting &setting : complexitySettings()) {
        table += "  " + setting.key.toLatin1().leftJustified(longest + 2)
            + (setting.kind == SettingKind::Flag ? "no\n" : "not set\n");
    }
    return table;
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

QByteArray printed(const char *words)
{
    return client(nobody, words).standardOutput;
}

/// What stands in the document of a single policy under "policies".
QByteArray memberIn(const QByteArray &document)
{
    const int begin = document.indexOf("        ");
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
    const QByteArray tables = printed("show lockout") + '\n' + complexityTable() + '\n' + printed("show expiration");
    QCOMPARE(client(nobody, ""), success(tables));
    QCOMPARE(client(nobody, "show"), success(tables));
    QCOMPARE(client(nobody, "show complexity"), success(complexityTable()));

    const QByteArray everything = "{\n    \"policies\": {\n" + complexityMember() + ",\n"
        + memberIn(printed("show expiration --json")) + ",\n" + memberIn(printed("show lockout --json"))
        + "\n    },\n    \"version\": 1\n}\n";
    QCOMPARE(client(nobody, "--json"), success(everything));
    QCOMPARE(client(nobody, "export"), success(everything));
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

    QCOMPARE(client(nobody, words), success(text));
    QCOMPARE(client(nobody, QString(words).replace(QLatin1String("--help"), QLatin1String("-h"))), success(text));
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
               "report\tWrite the policies in force as an HTML page.\n"
               "doctor\tCheck the installation, and tell how to mend it.\n"
               "--help\tShow this, or the help of a command.\n"
               "--version\tShow the version.\n");
    candidates("-- sh", "show\tShow the policies in force.\n");
    candidates("sh", "show\tShow the policies in force.\n"); // without the mark
    candidates("-- se s", ""); // behind no command
    candidates("-- set co", "complexity\tPassword complexity\n");
    candidates("-- set u", "user\tThe settings of an account (root only)\n");
    candidates("-- set --",
               "--replace\tDrop all settings that are not named.\n"
               "--dry-run\tShow what would change, and change nothing.\n"
               "--json\tPrint a JSON document.\n"
               "--force\tGo on where something would be lost, or cannot come into force.\n"
               "--no-ask-password\tDo not ask for a password on the terminal.\n"
               "--help\tShow this.\n");
    candidates("-- set --re", "--replace\tDrop all settings that are not named.\n");
    candidates("-- set --replace lockout den", "deny=\tFailed logins after which an account is locked\n");
    candidates("-- set lockout per_user=",
               "per_user=yes\tSome accounts have limits of their own\n"
               "per_user=no\tSome accounts have limits of their own\n");
    candidates("-- set lockout deny=3 de", ""); // not twice
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

    const ProgramResult show = client(nobody, "show");
    QVERIFY(QFile::rename(helper + QStringLiteral(".away"), helper));

    // once, though three policies are asked for
    QCOMPARE(show,
             failure(1, "the helper does not answer\nCannot launch daemon, file not found or permissions invalid"));
}

void ClientTest::keepsControlCharactersFromTheTerminal()
{
    replaceTool("printf 'red \\033[31m bell \\007' >&2; exit 1");

    QCOMPARE(client(root, "set complexity minlen=12"),
             failure(1,
                     "the complexity policy could not be changed\n"
                     "Update default password complexity policy\n"
                     "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 1.\n"
                     "\"red \xef\xbf\xbd[31m bell \xef\xbf\xbd\""));
}

void ClientTest::obeysRuleThatRestrictsReading()
{
    writeContent(stateFolder(nobody) + QStringLiteral("/accountpolicyctl/20260101T000000000-1.json"),
                 "{\"of\": \"expiration\", \"time\": \"2026-01-01T00:00:00.000\", \"command\": \"\", \"before\": {}}");
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
    QCOMPARE(runAs(root,
                   "/usr/lib/qt5/bin/lrelease /run/de.ts -qm "
                   "/usr/share/accountpolicyctl/translations/accountpolicyctl_de.qm")
                 .exitCode,
             0);
    const ScopedVariable language("LANGUAGE", "de");
    const ScopedVariable locale("LANG", "de_DE.UTF-8");

    const ProgramResult check = client(nobody, "check -", document(R"({"maxInterval": 30})"));

    QCOMPARE(
        check.standardOutput,
        QByteArray("policy      setting      gew\xc3\xbcnscht  found\nexpiration  maxInterval  30 days    90 days\n"));
}

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
