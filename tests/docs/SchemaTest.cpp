// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The schema of the document: what the client prints is valid, and what it takes or refuses the schema does too.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TextRows.h"

namespace
{
/// Whether a validator of JSON Schema accepts the document.
bool isValid(const QByteArray &document)
{
    const QString file = QStringLiteral("/run/document.json");
    writeContent(file, document);
    const QString script = QStringLiteral(R"(
import json, jsonschema, sys
schema = json.load(open('/usr/share/accountpolicyctl/accountpolicies.schema.json'))
jsonschema.Draft7Validator.check_schema(schema)
sys.exit(0 if jsonschema.Draft7Validator(schema).is_valid(json.load(open('%1'))) else 10)
)")
                               .arg(file);
    const ProgramResult validation = runAs(root, QStringLiteral("python3"), {QStringLiteral("-c"), script});
    if (validation.exitCode != 0 && validation.exitCode != 10) {
        qFatal("the validator fails: %s", validation.standardError.constData());
    }
    return validation.exitCode == 0;
}

/// How the schema and two commands take it, in a word; what the commands say where they don't agree.
QString verdictOn(const QByteArray &document)
{
    const ProgramResult check = client(nobody, QStringLiteral("check -"), document);
    // whether a policy can come into force on this machine is no matter
    const ProgramResult apply = client(nobody, QStringLiteral("apply - --dry-run --force"), document);
    const int understood = check.exitCode == 6 ? 0 : check.exitCode; // whether this machine has the same is no matter
    const QMap<QVector<int>, QString> verdicts{{{1, 0, 0}, QStringLiteral("taken")},
                                               {{1, 0, 2}, QStringLiteral("found")},
                                               {{0, 2, 2}, QStringLiteral("refused")}};
    return verdicts.value({isValid(document) ? 1 : 0, understood, apply.exitCode},
                          QString::fromUtf8(check.standardError + apply.standardError));
}
}

class SchemaTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void describesWhatIsPrinted_data();
    void describesWhatIsPrinted();
    void describesWhatMayNotBeSet();
    void agreesWithTheClient_data();
    void agreesWithTheClient();

private:
    PamState m_stockPam;
};

void SchemaTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void SchemaTest::init()
{
    m_stockPam.restore();
    bringTallyModule();
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), tallyProfile());
    writeContent(QStringLiteral("/etc/pam.d/common-auth"),
                 "auth required pam_tally.so deny=3 per_user unlock_time=900 lock_time=5 magic_root no_reset\n");
    writeContent(QStringLiteral("/etc/pam.d/common-password"),
                 "password requisite pam_pwquality.so gecoscheck enforce_for_root reject_username minlen=8 lcredit=-1 "
                 "ucredit=1 dcredit=-1 ocredit=0\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 7\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\nEXPIRE=2027-12-31\n");
}

void SchemaTest::describesWhatIsPrinted_data()
{
    QTest::addColumn<bool>("stock");
    QTest::newRow("export") << false;
    QTest::newRow("export --no-ask-password") << true;
    QTest::newRow("show --json") << false;
    QTest::newRow("show lockout --json") << false;
    QTest::newRow("show complexity --json") << true;
    QTest::newRow("show expiration --json") << false;
}

void SchemaTest::describesWhatIsPrinted()
{
    QFETCH(bool, stock);
    if (stock) {
        m_stockPam.restore();
        writeContent(QStringLiteral("/etc/default/useradd"), "SHELL=/bin/sh\n");
    }

    const ProgramResult printed = client(nobody, QString::fromLatin1(QTest::currentDataTag()));

    QCOMPARE(printed.exitCode, 0);
    QVERIFY2(isValid(printed.standardOutput), printed.standardOutput.constData());
}

void SchemaTest::describesWhatMayNotBeSet()
{
    writeContent(QStringLiteral("/etc/pam.d/common-auth"),
                 "auth required pam_tally.so deny=70000 lock_time=2147483647\n");
    writeContent(QStringLiteral("/etc/pam.d/common-password"),
                 "password requisite pam_pwquality.so minlen=4 lcredit=-600 ucredit=600\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS -2\nPASS_MIN_DAYS -2147483648\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-7\nEXPIRE=1969-01-01\n");

    const QByteArray printed = client(nobody, QStringLiteral("export")).standardOutput;

    QVERIFY(isValid(printed));
    const ProgramResult check =
        client(nobody,
               QStringLiteral("check -"),
               R"({"version": 1, "policies": {"lockout": {"deny": 70000, "lock_time": 2147483647},
            "complexity": {"minlen": 4, "lcredit": -600, "ucredit": 600}, "expiration": {"maxInterval": -2,
            "minInterval": -2147483648, "inactiveInterval": -7, "expireDate": "1969-01-01"}}})");
    QCOMPARE(check.standardOutput + check.standardError, QByteArray());
    QCOMPARE(check.exitCode, 0);
    QCOMPARE(client(nobody, QStringLiteral("check -"), printed).exitCode, 0);
}

void SchemaTest::agreesWithTheClient_data()
{
    // what is found may be on a machine, but is never put in force anew
    addTextRows(R"(
{"version": 1, "policies": {}} => taken
{"policies": {}} => refused
{"version": 2, "policies": {}} => taken
{"version": 3, "policies": {}} => refused
{"version": 2, "policies": {}, "reasons": {"x": 1}} => taken
{"version": 2, "policies": {}, "reasons": 1} => refused
{"version": 1, "policies": {}, "reasons": {}} => refused
{"version": 1, "policies": {"faillock": {}}} => refused
{"version": 2, "policies": {"faillock": {}, "lockout": {"deny": 3}}} => taken
{"version": 2, "policies": {"faillock": {"enabled": true, "deny": 5, "unlock_time": 0}}} => taken
{"version": 2, "policies": {"faillock": {"deny": 0}}} => found
{"version": 2, "policies": {"faillock": {"enabled": null}}} => refused
{"version": 2, "policies": {"faillock": {"dir": "/var/lib", "admin_group": null}}} => taken
{"version": 2, "policies": {"faillock": {"dir": "var"}}} => found
{"version": 2, "policies": {"faillock": {"dir": 1}}} => refused
{"version": 2, "policies": {"pwquality": {"dictcheck": null, "usercheck": false}}} => taken
{"version": 2, "policies": {"pwquality": {"dictcheck": 1}}} => refused
{"version": 2, "policies": {"pwhistory": {"remember": 401}}} => found
{"version": 2, "policies": {"pwhistory": {"remember": 400}}} => taken
{"version": "1", "policies": {}} => refused
{"version": 1} => refused
{"version": 1, "policies": []} => refused
{"version": 1, "policies": {}, "x": 1} => refused
[] => refused
{"version": 1, "policies": {"lockout": {}}} => taken
{"version": 1, "policies": {"lokout": {}}} => refused
{"version": 1, "policies": {"lockout": 1}} => refused
{"version": 1, "policies": {"lockout": {"denny": 1}}} => refused
{"version": 1, "policies": {"lockout": {"minlen": 8}}} => refused
{"version": 1, "policies": {"lockout": {"per_user": true}}} => taken
{"version": 1, "policies": {"lockout": {"per_user": 1}}} => refused
{"version": 1, "policies": {"lockout": {"per_user": "yes"}}} => refused
{"version": 1, "policies": {"lockout": {"per_user": null}}} => refused
{"version": 1, "policies": {"lockout": {"deny": 3}}} => taken
{"version": 1, "policies": {"lockout": {"deny": null}}} => taken
{"version": 1, "policies": {"lockout": {"deny": "3"}}} => refused
{"version": 1, "policies": {"lockout": {"deny": true}}} => refused
{"version": 1, "policies": {"lockout": {"deny": 3.5}}} => refused
{"version": 1, "policies": {"lockout": {"deny": 3.0}}} => taken
{"version": 1, "policies": {"lockout": {"deny": 0}}} => taken
{"version": 1, "policies": {"lockout": {"deny": -1}}} => found
{"version": 1, "policies": {"lockout": {"deny": 65535}}} => taken
{"version": 1, "policies": {"lockout": {"deny": 65536}}} => found
{"version": 1, "policies": {"lockout": {"lock_time": 2147483647}}} => taken
{"version": 1, "policies": {"lockout": {"lock_time": 2147483648}}} => refused
{"version": 1, "policies": {"lockout": {"unlock_time": -1}}} => found
{"version": 1, "policies": {"complexity": {"minlen": 6}}} => taken
{"version": 1, "policies": {"complexity": {"minlen": 5}}} => found
{"version": 1, "policies": {"complexity": {"minlen": 512}}} => taken
{"version": 1, "policies": {"complexity": {"minlen": 513}}} => found
{"version": 1, "policies": {"complexity": {"dcredit": -512}}} => taken
{"version": 1, "policies": {"complexity": {"ucredit": -513}}} => found
{"version": 1, "policies": {"complexity": {"lcredit": 512}}} => taken
{"version": 1, "policies": {"complexity": {"ocredit": 513}}} => found
{"version": 1, "policies": {"expiration": {"maxInterval": -1}}} => taken
{"version": 1, "policies": {"expiration": {"minInterval": -2}}} => found
{"version": 1, "policies": {"expiration": {"warningInterval": 2147483648}}} => refused
{"version": 1, "policies": {"expiration": {"expireDate": "2027-12-31"}}} => taken
{"version": 1, "policies": {"expiration": {"expireDate": null}}} => taken
{"version": 1, "policies": {"expiration": {"expireDate": 20819}}} => taken
{"version": 1, "policies": {"expiration": {"expireDate": -1}}} => found
{"version": 1, "policies": {"expiration": {"expireDate": 2932896}}} => taken
{"version": 1, "policies": {"expiration": {"expireDate": 2932897}}} => found
{"version": 1, "policies": {"expiration": {"expireDate": "2027-13-01"}}} => refused
{"version": 1, "policies": {"expiration": {"expireDate": "2027-12-31T00:00:00"}}} => refused
{"version": 1, "policies": {"complexity": {"dcredit": -2147483648}}} => found
{"version": 1, "policies": {"complexity": {"dcredit": -2147483649}}} => refused
{"version": 1, "policies": {"complexity": {"minlen": 2147483647}}} => found
{"version": 1, "policies": {"expiration": {"expireDate": 2147483647}}} => found
{"version": 1, "policies": {"expiration": {"expireDate": 2147483648}}} => refused
{"version": 1, "policies": {"expiration": {"expireDate": true}}} => refused
)");
}

void SchemaTest::agreesWithTheClient()
{
    QFETCH(QString, input);

    QTEST(verdictOn(input.toUtf8()), "result");
}

QTEST_GUILESS_MAIN(SchemaTest)
#include "SchemaTest.moc"
