// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TextRows.h"
#include "tests/support/TypedMap.h"

namespace
{
QString typed(const Settings &settings)
{
    return typedEntries(settings).join(QStringLiteral(", "));
}

/// What is wrong with the document, or else "policy: wishes" for each of its policies.
QString whatIsRead(const QByteArray &text)
{
    QMap<QString, Wishes> policies;
    const QString wrong = readDocument(text, &policies);
    QStringList all;
    for (auto policy = policies.cbegin(); policy != policies.cend(); ++policy) {
        all += QStringLiteral("%1: %2").arg(policy.key(), typed(policy.value()));
    }
    return wrong.isEmpty() ? all.join(QStringLiteral("; ")).simplified() : wrong;
}
}

class DocumentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesEverySetting();
    void readsWhatItWrote();
    void writesDaysWithoutDateAsNumber();
    void writesTextsAndWhatIsYesNoOrNeither();
    void reads_data();
    void reads();
    void isUtf8WhateverTheLocale();
};

void DocumentTest::writesEverySetting()
{
    const QByteArray text =
        writeDocument({{QStringLiteral("expiration"),
                        {{QStringLiteral("maxInterval"), 90LL}, {QStringLiteral("expireDate"), 20819LL}}}});

    QCOMPARE(text, QByteArray(R"({
    "policies": {
        "expiration": {
            "expireDate": "2027-01-01",
            "inactiveInterval": null,
            "maxInterval": 90,
            "minInterval": null,
            "warningInterval": null
        }
    },
    "version": 2
}
)"));
}

void DocumentTest::readsWhatItWrote()
{
    const Policy &lockout = allPolicies().first();
    const Settings settings = normalized(
        lockout.schema,
        {{QStringLiteral("deny"), 3}, {QStringLiteral("per_user"), true}, {QStringLiteral("unlock_time"), 2147483647}});
    QMap<QString, Wishes> read;

    QCOMPARE(readDocument(writeDocument({{lockout.name, settings}}), &read), QString());

    QCOMPARE(read.keys(), QStringList{lockout.name});
    QCOMPARE(typed(fulfilled(lockout.schema, {}, read.value(lockout.name))), typed(settings));
}

void DocumentTest::writesDaysWithoutDateAsNumber()
{
    const auto json = [](qlonglong days) {
        return settingsToJson(accountSchema(), {{QStringLiteral("expireDate"), days}})
            .value(QStringLiteral("expireDate"));
    };

    QCOMPARE(json(2932896), QJsonValue(QStringLiteral("9999-12-31")));
    QCOMPARE(json(2932897), QJsonValue(2932897));
    QCOMPARE(json(-719163), QJsonValue(-719163));
}

void DocumentTest::writesTextsAndWhatIsYesNoOrNeither()
{
    const auto written = [](const char *policy, const Settings &settings) {
        const SettingSchema &schema = findPolicy(QLatin1String(policy))->schema;
        return settingsToJson(schema, normalized(schema, settings));
    };

    const QJsonObject quality = written("pwquality", {{QStringLiteral("dictcheck"), false}});
    QCOMPARE(quality.value(QStringLiteral("dictcheck")), QJsonValue(false));
    QCOMPARE(quality.value(QStringLiteral("usercheck")), QJsonValue(QJsonValue::Null));
    const QJsonObject limits = written("faillock", {{QStringLiteral("dir"), QStringLiteral("/d")}});
    QCOMPARE(limits.value(QStringLiteral("dir")), QJsonValue(QStringLiteral("/d")));
    QCOMPARE(limits.value(QStringLiteral("admin_group")), QJsonValue(QJsonValue::Null));
    QCOMPARE(limits.value(QStringLiteral("silent")), QJsonValue(false));
}

void DocumentTest::reads_data()
{
    // a variant that stands for "not set" has no type
    addTextRows(R"(
policies => not a JSON document: illegal value (at byte 1)
=> not a JSON document: illegal value (at byte 0)
{"version": 3, "policies": {}} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"policies": {}} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 1} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 1, "policies": {}, "x": 1} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 0, "policies": {}} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": "2", "policies": {}} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 1, "policies": {"lockout": {}}, "inForce": {"x": 1}} => lockout:
{"version": 2, "policies": {"lockout": {"deny": 3}, "pwhistory": {}}} => lockout: deny: qlonglong 3; pwhistory:
{"version": 1, "policies": {"faillock": {}}} => there is no policy "faillock"; there are lockout, complexity, expiration
{"version": 2, "policies": {"lockout": {}}, "reasons": {"x": 1}} => lockout:
{"version": 2, "policies": {}, "reasons": 1} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 1, "policies": {}, "reasons": {}} => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 2, "policies": {"x": {}}} => there is no policy "x"; there are lockout, complexity, expiration, faillock, pwquality, pwhistory
{"version": 2, "policies": {"faillock": {"dir": "/var/lib/faillock", "admin_group": null, "silent": false}}} => faillock: admin_group: , dir: QString /var/lib/faillock, enabled: bool true, silent: bool false
{"version": 2, "policies": {"faillock": {"dir": "not a path", "enabled": false}}} => faillock: dir: QString not a path, enabled: bool false
{"version": 2, "policies": {"faillock": {"dir": 1}}} => dir: 1 is not allowed; allowed is a path that begins with / and has no blanks, or null
{"version": 2, "policies": {"faillock": {"admin_group": true}}} => admin_group: true is not allowed; allowed is a name without blanks, or null
{"version": 2, "policies": {"pwquality": {"dictcheck": false, "usercheck": null}}} => pwquality: dictcheck: bool false, usercheck:
{"version": 2, "policies": {"pwquality": {"dictcheck": 0}}} => dictcheck: 0 is not allowed; allowed is true or false, or null
{"version": 1, "policies": {}, "inForce": 1} => not a policy document: needs "version": 2, "policies": an object, and nothing else
[1] => not a policy document: needs "version": 2, "policies": an object, and nothing else
{"version": 1, "policies": {"expiration": {"maxInterval": 9, "expireDate": "2027-01-01"}}} => expiration: expireDate: qlonglong 20819, maxInterval: qlonglong 9
{"version": 1, "policies": {"expiration": {"minInterval": 1}, "lockout": {}}} => expiration: minInterval: qlonglong 1; lockout:
{"version": 1, "policies": {"expiration": {"maxInterval": null}}} => expiration: maxInterval:
{"version": 1, "policies": {"complexity": {"minlen": 4, "dcredit": -2147483648}}} => complexity: dcredit: qlonglong -2147483648, minlen: qlonglong 4
{"version": 1, "policies": {"expiration": {"maxInterval": -2, "expireDate": 2147483647}}} => expiration: expireDate: qlonglong 2147483647, maxInterval: qlonglong -2
{"version": 1, "policies": {"x": {}}} => there is no policy "x"; there are lockout, complexity, expiration
{"version": 1, "policies": {"lockout": 3}} => the lockout policy is not an object
{"version": 1, "policies": {"lockout": {"denny": 3}}} => the lockout policy has no setting "denny"; did you mean "deny"?
{"version": 1, "policies": {"lockout": {"per_user": null}}} => per_user: null is not allowed; allowed is true or false
{"version": 1, "policies": {"lockout": {"per_user": "yes"}}} => per_user: "yes" is not allowed; allowed is true or false
{"version": 1, "policies": {"lockout": {"deny": "3"}}} => deny: "3" is not allowed; allowed is a whole number from 0 to 65535, or null
{"version": 1, "policies": {"lockout": {"deny": 3.5}}} => deny: 3.5 is not allowed; allowed is a whole number from 0 to 65535, or null
{"version": 1, "policies": {"lockout": {"deny": 2147483648}}} => deny: 2147483648 is not allowed; allowed is a whole number from 0 to 65535, or null
{"version": 1, "policies": {"lockout": {"deny": -2147483649}}} => deny: -2147483649 is not allowed; allowed is a whole number from 0 to 65535, or null
{"version": 1, "policies": {"lockout": {"deny": 1e30}}} => deny: 1e+30 is not allowed; allowed is a whole number from 0 to 65535, or null
{"version": 1, "policies": {"lockout": {"unlock_time": "15min"}}} => unlock_time: "15min" is not allowed; allowed is a whole number from 0 to 2147483647, or null
{"version": 1, "policies": {"expiration": {"maxInterval": "never"}}} => maxInterval: "never" is not allowed; allowed is a whole number from -1 to 2147483647, or null
{"version": 1, "policies": {"expiration": {"expireDate": "2w"}}} => expireDate: "2w" is not allowed; allowed is a date from 1970-01-01 to 9999-12-31, as YYYY-MM-DD or in days since 1970-01-01, or null
{"version": 1, "policies": {"expiration": {"expireDate": 2147483648}}} => expireDate: 2147483648 is not allowed; allowed is a date from 1970-01-01 to 9999-12-31, as YYYY-MM-DD or in days since 1970-01-01, or null
{"version": 1, "policies": {"lockout": {"deny": [3]}}} => deny: [3] is not allowed; allowed is a whole number from 0 to 65535, or null
)");
}

void DocumentTest::reads()
{
    QFETCH(QString, input);

    QTEST(whatIsRead(input.toUtf8()), "result");
}

void DocumentTest::isUtf8WhateverTheLocale()
{
    const ScopedLatin1 locale;

    QCOMPARE(
        whatIsRead("{\"version\": 1, \"policies\": {\"lockout\": {\"deny\": \"\xc3\xbc\"}}}"),
        QString::fromUtf8("deny: \"\xc3\xbc\" is not allowed; allowed is a whole number from 0 to 65535, or null"));
}

QTEST_GUILESS_MAIN(DocumentTest)
#include "DocumentTest.moc"
