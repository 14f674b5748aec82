// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
QString readError(const QByteArray &text)
{
    QMap<QString, Wishes> policies;
    return readDocument(text, &policies);
}
}

class DocumentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesEverySetting();
    void readsWhatItWrote();
    void readsOnlyWhatIsNamed();
    void readsNullAsNotSet();
    void writesDaysWithoutDateAsNumber();
    void takesValuesThatMayNotBeSet();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
    void isUtf8WhateverTheLocale();
};

void DocumentTest::writesEverySetting()
{
    const QByteArray text =
        writeDocument({{QStringLiteral("expiration"),
                        {{QStringLiteral("maxInterval"), 90LL}, {QStringLiteral("expireDate"), 20819LL}}}});

    QCOMPARE(text,
             QByteArray("{\n"
                        "    \"policies\": {\n"
                        "        \"expiration\": {\n"
                        "            \"expireDate\": \"2027-01-01\",\n"
                        "            \"inactiveInterval\": null,\n"
                        "            \"maxInterval\": 90,\n"
                        "            \"minInterval\": null,\n"
                        "            \"warningInterval\": null\n"
                        "        }\n"
                        "    },\n"
                        "    \"version\": 1\n"
                        "}\n"));
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
    QCOMPARE(typedEntries(fulfilled(lockout.schema, {}, read.value(lockout.name))), typedEntries(settings));
}

void DocumentTest::readsOnlyWhatIsNamed()
{
    QMap<QString, Wishes> read;
    const QByteArray text =
        R"({"version": 1, "policies": {"expiration": {"maxInterval": 9, "expireDate": "2027-01-01"}, "lockout": {}}})";

    QCOMPARE(readDocument(text, &read), QString());

    QCOMPARE(read.keys(), QStringList({QStringLiteral("expiration"), QStringLiteral("lockout")}));
    QCOMPARE(typedEntries(read.value(QStringLiteral("expiration"))),
             QStringList({QStringLiteral("expireDate: qlonglong 20819"), QStringLiteral("maxInterval: qlonglong 9")}));
    QCOMPARE(read.value(QStringLiteral("lockout")), Wishes());
}

void DocumentTest::readsNullAsNotSet()
{
    QMap<QString, Wishes> read;

    QCOMPARE(readDocument(R"({"version": 1, "policies": {"expiration": {"maxInterval": null}}})", &read), QString());

    const Wishes wishes = read.value(QStringLiteral("expiration"));
    QVERIFY(wishes.contains(QStringLiteral("maxInterval")));
    QVERIFY(!wishes.value(QStringLiteral("maxInterval")).isValid());
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

void DocumentTest::takesValuesThatMayNotBeSet()
{
    QMap<QString, Wishes> read;
    const QByteArray text = R"({"version": 1, "policies": {"complexity": {"minlen": 4, "dcredit": -2147483648},)"
                            R"("expiration": {"maxInterval": -2, "expireDate": 2147483647}}})";

    QCOMPARE(readDocument(text, &read), QString());

    QCOMPARE(typedEntries(read.value(QStringLiteral("complexity"))),
             QStringList({QStringLiteral("dcredit: qlonglong -2147483648"), QStringLiteral("minlen: qlonglong 4")}));
    QCOMPARE(
        typedEntries(read.value(QStringLiteral("expiration"))),
        QStringList({QStringLiteral("expireDate: qlonglong 2147483647"), QStringLiteral("maxInterval: qlonglong -2")}));
}

void DocumentTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("wrong");

    const char notADocument[] =
        "not a policy document: needs \"version\": 1, \"policies\": an object, and nothing else";
    QTest::newRow("no JSON") << QByteArray("policies") << "not a JSON document: illegal value (at byte 1)";
    QTest::newRow("empty") << QByteArray() << "not a JSON document: illegal value (at byte 0)";
    QTest::newRow("other version") << QByteArray(R"({"version": 2, "policies": {}})") << notADocument;
    QTest::newRow("no version") << QByteArray(R"({"policies": {}})") << notADocument;
    QTest::newRow("no policies") << QByteArray(R"({"version": 1})") << notADocument;
    QTest::newRow("something else") << QByteArray(R"({"version": 1, "policies": {}, "x": 1})") << notADocument;
    QTest::newRow("array") << QByteArray("[1]") << notADocument;
    QTest::newRow("unknown policy") << QByteArray(R"({"version": 1, "policies": {"x": {}}})")
                                    << "there is no policy \"x\"; there are lockout, complexity, expiration";
    QTest::newRow("no object") << QByteArray(R"({"version": 1, "policies": {"lockout": 3}})")
                               << "the lockout policy is not an object";
    QTest::newRow("unknown key") << QByteArray(R"({"version": 1, "policies": {"lockout": {"denny": 3}}})")
                                 << "the lockout policy has no setting \"denny\"; did you mean \"deny\"?";
    QTest::newRow("text for number") << QByteArray(R"({"version": 1, "policies": {"lockout": {"deny": "3"}}})")
                                     << "deny: \"\"3\"\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("fraction") << QByteArray(R"({"version": 1, "policies": {"lockout": {"deny": 3.5}}})")
                              << "deny: \"3.5\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("more than 32 bits")
        << QByteArray(R"({"version": 1, "policies": {"lockout": {"lock_time": 2147483648}}})")
        << "lock_time: \"2147483648\" is not allowed; allowed is a whole number from 0 to 2147483647";
    QTest::newRow("less than 32 bits")
        << QByteArray(R"({"version": 1, "policies": {"lockout": {"deny": -2147483649}}})")
        << "deny: \"-2147483649\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("more than 64 bits") << QByteArray(R"({"version": 1, "policies": {"lockout": {"deny": 1e30}}})")
                                       << "deny: \"1e+30\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("null for switch") << QByteArray(R"({"version": 1, "policies": {"lockout": {"per_user": null}}})")
                                     << "per_user: \"null\" is not allowed; allowed is yes or no";
    QTest::newRow("text for switch") << QByteArray(R"({"version": 1, "policies": {"lockout": {"per_user": "yes"}}})")
                                     << "per_user: \"\"yes\"\" is not allowed; allowed is yes or no";
    QTest::newRow("array for number") << QByteArray(R"({"version": 1, "policies": {"lockout": {"deny": [3]}}})")
                                      << "deny: \"[3]\" is not allowed; allowed is a whole number from 0 to 65535";
}

void DocumentTest::tellsWhatIsWrong()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, wrong);

    QCOMPARE(readError(text), wrong);
}

void DocumentTest::isUtf8WhateverTheLocale()
{
    const ScopedLatin1 locale;

    QCOMPARE(readError("{\"version\": 1, \"policies\": {\"lockout\": {\"deny\": [\"\xc3\xbc\"]}}}"),
             QString::fromUtf8("deny: \"[\"\xc3\xbc\"]\" is not allowed; allowed is a whole number from 0 to 65535"));
}

QTEST_GUILESS_MAIN(DocumentTest)
#include "DocumentTest.moc"
