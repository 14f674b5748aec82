// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/SettingText.h"
#include "client/settings/Policies.h"

#include <QTest>

namespace
{
const Setting &settingOf(const QString &name)
{
    for (const Policy &policy : allPolicies()) {
        if (const Setting *setting = policy.schema.find(name)) {
            return *setting;
        }
    }
    qFatal("no setting %s", qPrintable(name));
}
}

class SettingTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesValues_data();
    void writesValues();
    void understandsWhatIsTyped_data();
    void understandsWhatIsTyped();
    void refusesWhatIsNotAllowed_data();
    void refusesWhatIsNotAllowed();
    void tellsWhatIsAllowed_data();
    void tellsWhatIsAllowed();
    void neverOfAnAccountIsNotSet();
    void writesDatesOfAllDays();
};

void SettingTextTest::writesValues_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("words");

    const auto row = [](const char *key, const QVariant &value, const char *text, const char *words) {
        QTest::newRow(words) << QString::fromLatin1(key) << value << QString::fromLatin1(text)
                             << QString::fromLatin1(words);
    };
    row("per_user", true, "yes", "yes");
    row("per_user", false, "no", "no");
    row("deny", QVariant(), "not set", "not set");
    row("deny", 0LL, "0", "0 failed logins");
    row("deny", 1LL, "1", "1 failed login");
    row("deny", 5LL, "5", "5 failed logins");
    row("unlock_time", 0LL, "0", "0 s");
    row("unlock_time", 59LL, "59", "59 s");
    row("unlock_time", 60LL, "60", "60 s (1 min)");
    row("unlock_time", 90LL, "90", "90 s (1 min 30 s)");
    row("unlock_time", 900LL, "900", "900 s (15 min)");
    row("unlock_time", 3600LL, "3600", "3600 s (1 h)");
    row("unlock_time", 3661LL, "3661", "3661 s (1 h 1 min)");
    row("unlock_time", 86400LL, "86400", "86400 s (1 d)");
    row("unlock_time", 90000LL, "90000", "90000 s (1 d 1 h)");
    row("minlen", 12LL, "12", "12 characters");
    row("minlen", 1LL, "1", "1 character");
    row("dcredit", -1LL, "-1", "-1 (at least 1 character)");
    row("dcredit", -2LL, "-2", "-2 (at least 2 characters)");
    row("dcredit", 0LL, "0", "0 (a credit of at most 0 characters)");
    row("dcredit", 1LL, "1", "1 (a credit of at most 1 character)");
    row("dcredit", 2LL, "2", "2 (a credit of at most 2 characters)");
    row("maxInterval", -1LL, "never", "never");
    row("maxInterval", 0LL, "0", "0 days");
    row("maxInterval", 1LL, "1", "1 day");
    row("maxInterval", 99999LL, "99999", "99999 days");
    row("maxInterval", -5LL, "-5", "-5 days");
    row("expireDate", 0LL, "1970-01-01", "1970-01-01");
    row("expireDate", 20819LL, "2027-01-01", "2027-01-01");
    row("expireDate", -1LL, "1969-12-31", "1969-12-31");
}

void SettingTextTest::writesValues()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    QFETCH(QString, words);

    QCOMPARE(settingText(settingOf(key), value), text);
    QCOMPARE(settingWords(settingOf(key), value), words);
}

void SettingTextTest::understandsWhatIsTyped_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");

    const auto row = [](const char *key, const char *text, const QVariant &value) {
        QTest::addRow("%s=%s", key, text) << QString::fromLatin1(key) << QString::fromLatin1(text) << value;
    };
    row("per_user", "yes", true);
    row("per_user", "true", true);
    row("per_user", "on", true);
    row("per_user", "no", false);
    row("per_user", "false", false);
    row("per_user", "off", false);
    row("deny", "0", 0LL);
    row("deny", "65535", 65535LL);
    row("minlen", "6", 6LL);
    row("minlen", "512", 512LL);
    row("dcredit", "-512", -512LL);
    row("maxInterval", "never", -1LL);
    row("maxInterval", "-1", -1LL);
    row("expireDate", "2027-01-01", 20819LL);
    row("expireDate", "20819", 20819LL);
    row("expireDate", "1970-01-01", 0LL);
    row("expireDate", "9999-12-31", 2932896LL);
    row("expireDate", "2028-02-29", 21243LL);
    row("expireDate", "never", QVariant());
}

void SettingTextTest::understandsWhatIsTyped()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    QFETCH(QVariant, value);

    QVariant parsed(QStringLiteral("untouched"));
    QVERIFY(parseSettingText(settingOf(key), text, &parsed));

    QCOMPARE(parsed.userType(), value.userType());
    QCOMPARE(parsed, value);
}

void SettingTextTest::refusesWhatIsNotAllowed_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *key, const char *text) {
        QTest::addRow("%s=%s", key, text) << QString::fromLatin1(key) << QString::fromLatin1(text);
    };
    row("per_user", "1");
    row("per_user", "Yes");
    row("per_user", "never");
    row("deny", "-1");
    row("deny", "65536");
    row("deny", "three");
    row("deny", "3.5");
    row("deny", "0x10");
    row("deny", "3 logins");
    row("deny", "5 ");
    row("deny", " 5");
    row("deny", "5\n");
    row("deny", "+5");
    row("deny", "--5");
    row("deny", "-");
    row("dcredit", "- 1");
    row("dcredit", "+1");
    row("deny", "never");
    row("deny", "99999999999999999999");
    row("minlen", "5");
    row("minlen", "513");
    row("dcredit", "-513");
    row("dcredit", "513");
    row("maxInterval", "-2");
    row("maxInterval", "2147483648");
    row("maxInterval", "2027-01-01");
    row("expireDate", "-1");
    row("expireDate", "2932897");
    row("expireDate", "1969-12-31");
    row("expireDate", "2027-02-29");
    row("expireDate", "2027-1-1");
    row("expireDate", "01.01.2027");
    row("expireDate", "2027-01-01T00:00");
    row("expireDate", "+20819");
    row("expireDate", " 2027-01-01");
    row("expireDate", "2027-01-01 ");
}

void SettingTextTest::refusesWhatIsNotAllowed()
{
    QFETCH(QString, key);
    QFETCH(QString, text);

    QVariant parsed;
    QVERIFY(!parseSettingText(settingOf(key), text, &parsed) || !isAllowed(settingOf(key), parsed));
}

void SettingTextTest::tellsWhatIsAllowed_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("allowed");
    QTest::newRow("flag") << "per_user"
                          << "yes or no";
    QTest::newRow("number") << "deny"
                            << "a whole number from 0 to 65535";
    QTest::newRow("number that may be never") << "maxInterval"
                                              << "a whole number from -1 to 2147483647, or \"never\"";
    QTest::newRow("date") << "expireDate"
                          << "a date from 1970-01-01 to 9999-12-31, as YYYY-MM-DD or in days since 1970-01-01, or "
                             "\"never\"";
}

void SettingTextTest::tellsWhatIsAllowed()
{
    QFETCH(QString, key);
    QFETCH(QString, allowed);

    QCOMPARE(allowedText(settingOf(key)), allowed);
}

void SettingTextTest::neverOfAnAccountIsNotSet()
{
    const Setting &setting = *accountSchema().find(QStringLiteral("maxInterval"));
    QVariant parsed(1);

    QVERIFY(parseSettingText(setting, QStringLiteral("never"), &parsed));

    QVERIFY(!parsed.isValid());
    QCOMPARE(settingText(setting, parsed), QStringLiteral("not set"));
}

void SettingTextTest::writesDatesOfAllDays()
{
    QCOMPARE(dateText(-719162), QStringLiteral("0001-01-01"));
    // past the years that have four digits there is no date in this form
    QCOMPARE(dateText(2932897), QStringLiteral("2932897"));
    QVERIFY(hasDate(2932896) && !hasDate(2932897));
    QVERIFY(hasDate(-719162) && !hasDate(-719163));
    QCOMPARE(dateText(std::numeric_limits<qlonglong>::max()), QStringLiteral("9223372036854775807"));
}

QTEST_GUILESS_MAIN(SettingTextTest)
#include "SettingTextTest.moc"
