// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The schema of the document: what the client prints is valid, and what it takes or refuses the schema does too.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QTest>

namespace
{
/// Whether a validator of JSON Schema accepts the document.
bool isValid(const QByteArray &document)
{
    const QString file = QStringLiteral("/run/document.json");
    writeContent(file, document);
    const QString script =
        QStringLiteral("import json, jsonschema, sys\n"
                       "schema = json.load(open('/usr/share/accountpolicyctl/accountpolicies.schema.json'))\n"
                       "jsonschema.Draft7Validator.check_schema(schema)\n"
                       "validator = jsonschema.Draft7Validator(schema)\n"
                       "sys.exit(0 if validator.is_valid(json.load(open('%1'))) else 10)\n")
            .arg(file);
    const ProgramResult validation = runAs(root, QStringLiteral("python3"), {QStringLiteral("-c"), script});
    if (validation.exitCode != 0 && validation.exitCode != 10) {
        qFatal("the validator fails: %s", validation.standardError.constData());
    }
    return validation.exitCode == 0;
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
    QTest::addColumn<QString>("words");
    QTest::addColumn<bool>("stock");
    QTest::newRow("export, all set") << "export" << false;
    QTest::newRow("export, as installed") << "export" << true;
    QTest::newRow("show") << "show --json" << false;
    QTest::newRow("show lockout") << "show lockout --json" << false;
    QTest::newRow("show complexity") << "show complexity --json" << true;
    QTest::newRow("show expiration") << "show expiration --json" << false;
}

void SchemaTest::describesWhatIsPrinted()
{
    QFETCH(QString, words);
    QFETCH(bool, stock);
    if (stock) {
        m_stockPam.restore();
        writeContent(QStringLiteral("/etc/default/useradd"), "SHELL=/bin/sh\n");
    }

    const ProgramResult printed = client(nobody, words);

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

    const ProgramResult printed = client(nobody, QStringLiteral("export"));

    QCOMPARE(printed.exitCode, 0);
    for (const char *value : {"70000", "-600", "600", "4,", "-2,", "-2147483648", "-7", "\"1969-01-01\""}) {
        QVERIFY2(printed.standardOutput.contains(QByteArray(": ") + value), value);
    }
    QVERIFY2(isValid(printed.standardOutput), printed.standardOutput.constData());
    const ProgramResult check = client(nobody, QStringLiteral("check -"), printed.standardOutput);
    QCOMPARE(check.standardError, QByteArray());
    QCOMPARE(check.exitCode, 0);
}

void SchemaTest::agreesWithTheClient_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<bool>("settable");

    const auto document = [](const char *name, const char *text, bool accepted) {
        QTest::newRow(name) << QByteArray(text) << accepted << accepted;
    };
    const auto policy = [](const char *name, const char *text, bool accepted) {
        QTest::newRow(name) << QByteArray("{\"version\": 1, \"policies\": {") + text + "}}" << accepted << accepted;
    };
    // a machine may have it, but it is never put in force anew
    const auto found = [](const char *name, const char *text) {
        QTest::newRow(name) << QByteArray("{\"version\": 1, \"policies\": {") + text + "}}" << true << false;
    };
    document("no policies", R"({"version": 1, "policies": {}})", true);
    document("no version", R"({"policies": {}})", false);
    document("other version", R"({"version": 2, "policies": {}})", false);
    document("version as text", R"({"version": "1", "policies": {}})", false);
    document("policies missing", R"({"version": 1})", false);
    document("policies not an object", R"({"version": 1, "policies": []})", false);
    document("more than needed", R"({"version": 1, "policies": {}, "x": 1})", false);
    document("not an object", "[]", false);
    policy("empty policy", R"("lockout": {})", true);
    policy("unknown policy", R"("lokout": {})", false);
    policy("policy not an object", R"("lockout": 1)", false);
    policy("unknown key", R"("lockout": {"denny": 1})", false);
    policy("key of another policy", R"("lockout": {"minlen": 8})", false);
    policy("switch", R"("lockout": {"per_user": true})", true);
    policy("switch as number", R"("lockout": {"per_user": 1})", false);
    policy("switch as text", R"("lockout": {"per_user": "yes"})", false);
    policy("switch null", R"("lockout": {"per_user": null})", false);
    policy("number", R"("lockout": {"deny": 3})", true);
    policy("number null", R"("lockout": {"deny": null})", true);
    policy("number as text", R"("lockout": {"deny": "3"})", false);
    policy("number as switch", R"("lockout": {"deny": true})", false);
    policy("fraction", R"("lockout": {"deny": 3.5})", false);
    policy("whole fraction", R"("lockout": {"deny": 3.0})", true);
    policy("smallest deny", R"("lockout": {"deny": 0})", true);
    found("deny below", R"("lockout": {"deny": -1})");
    policy("largest deny", R"("lockout": {"deny": 65535})", true);
    found("deny above", R"("lockout": {"deny": 65536})");
    policy("largest lock_time", R"("lockout": {"lock_time": 2147483647})", true);
    policy("lock_time above", R"("lockout": {"lock_time": 2147483648})", false);
    found("unlock_time below", R"("lockout": {"unlock_time": -1})");
    policy("smallest minlen", R"("complexity": {"minlen": 6})", true);
    found("minlen below", R"("complexity": {"minlen": 5})");
    policy("largest minlen", R"("complexity": {"minlen": 512})", true);
    found("minlen above", R"("complexity": {"minlen": 513})");
    policy("smallest credit", R"("complexity": {"dcredit": -512})", true);
    found("credit below", R"("complexity": {"ucredit": -513})");
    policy("largest credit", R"("complexity": {"lcredit": 512})", true);
    found("credit above", R"("complexity": {"ocredit": 513})");
    policy("interval -1", R"("expiration": {"maxInterval": -1})", true);
    found("interval below", R"("expiration": {"minInterval": -2})");
    policy("interval above", R"("expiration": {"warningInterval": 2147483648})", false);
    policy("date", R"("expiration": {"expireDate": "2027-12-31"})", true);
    policy("date null", R"("expiration": {"expireDate": null})", true);
    policy("date as days", R"("expiration": {"expireDate": 20819})", true);
    found("date before 1970", R"("expiration": {"expireDate": -1})");
    policy("last day", R"("expiration": {"expireDate": 2932896})", true);
    found("day after", R"("expiration": {"expireDate": 2932897})");
    policy("month 13", R"("expiration": {"expireDate": "2027-13-01"})", false);
    policy("date with time", R"("expiration": {"expireDate": "2027-12-31T00:00:00"})", false);
    found("smallest number", R"("complexity": {"dcredit": -2147483648})");
    policy("number below all", R"("complexity": {"dcredit": -2147483649})", false);
    found("largest number", R"("complexity": {"minlen": 2147483647})");
    found("largest day", R"("expiration": {"expireDate": 2147483647})");
    policy("day above all", R"("expiration": {"expireDate": 2147483648})", false);
    policy("date as switch", R"("expiration": {"expireDate": true})", false);
}

void SchemaTest::agreesWithTheClient()
{
    QFETCH(QByteArray, document);
    QFETCH(bool, accepted);
    QFETCH(bool, settable);

    const ProgramResult check = client(nobody, QStringLiteral("check -"), document);
    const ProgramResult apply = client(nobody, QStringLiteral("apply - --dry-run"), document);

    QCOMPARE(isValid(document), accepted);
    const QVector<int> ends = accepted ? QVector<int>{0, 6} : QVector<int>{2};
    QVERIFY2(ends.contains(check.exitCode), check.standardError.constData());
    QVERIFY2(apply.exitCode == (settable ? 0 : 2), apply.standardError.constData());
}

QTEST_GUILESS_MAIN(SchemaTest)
#include "SchemaTest.moc"
