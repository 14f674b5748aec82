// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/SettingText.h"
#include "client/settings/Policies.h"
#include "tests/support/TextRows.h"

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

/// The setting of an assignment "key=text".
const Setting &assigned(const QString &assignment)
{
    return settingOf(assignment.section(QLatin1Char('='), 0, 0));
}

QString textIn(const QString &assignment)
{
    return assignment.section(QLatin1Char('='), 1);
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
    void neverOfAnAccountIsNotSet();
    void writesDatesOfAllDays();
};

void SettingTextTest::writesValues_data()
{
    // as typed, and as shown where that says more
    addTextRows(R"(
per_user=1 => yes
per_user=0 => no
deny= => not set
deny=0 => 0, 0 failed logins
deny=1 => 1, 1 failed login
deny=5 => 5, 5 failed logins
unlock_time=0 => 0, 0 s
unlock_time=59 => 59, 59 s
unlock_time=60 => 60, 60 s (1 min)
unlock_time=90 => 90, 90 s (1 min 30 s)
unlock_time=900 => 900, 900 s (15 min)
unlock_time=3600 => 3600, 3600 s (1 h)
unlock_time=3661 => 3661, 3661 s (1 h 1 min)
unlock_time=86400 => 86400, 86400 s (1 d)
unlock_time=90000 => 90000, 90000 s (1 d 1 h)
minlen=12 => 12, 12 characters
minlen=1 => 1, 1 character
dcredit=-1 => -1, -1 (at least 1 character)
dcredit=-2 => -2, -2 (at least 2 characters)
dcredit=0 => 0, 0 (a credit of at most 0 characters)
dcredit=1 => 1, 1 (a credit of at most 1 character)
dcredit=2 => 2, 2 (a credit of at most 2 characters)
maxInterval=-1 => never
maxInterval=0 => 0, 0 days
maxInterval=1 => 1, 1 day
maxInterval=9999 => 9999, 9999 days
maxInterval=10000 => 10000, 10000 days (never)
maxInterval=99999 => 99999, 99999 days (never)
minInterval=99999 => 99999, 99999 days
minInterval= => not set
maxInterval=-5 => -5, -5 days
expireDate= => never
expireDate=0 => 1970-01-01
expireDate=20819 => 2027-01-01
expireDate=-1 => 1969-12-31
dictcheck=1 => yes
dictcheck=0 => no
dictcheck= => not set
root_unlock_time=0 => never
root_unlock_time=60 => 60, 60 s (1 min)
root_unlock_time= => not set
fail_interval=0 => 0, 0 s
remember=5 => 5
)");
}

void SettingTextTest::writesValues()
{
    QFETCH(QString, input);
    const QVariant value = textIn(input).isEmpty() ? QVariant() : QVariant(textIn(input).toLongLong());

    const QString text = settingText(assigned(input), value);
    const QString words = settingWords(assigned(input), value);

    QTEST(words == text ? text : text + QStringLiteral(", ") + words, "result");
}

void SettingTextTest::understandsWhatIsTyped_data()
{
    addTextRows(R"(
per_user=yes => bool true
per_user=true => bool true
per_user=on => bool true
per_user=no => bool false
per_user=false => bool false
per_user=off => bool false
deny=0 => qlonglong 0
deny=65535 => qlonglong 65535
minlen=6 => qlonglong 6
minlen=512 => qlonglong 512
dcredit=-512 => qlonglong -512
maxInterval=never => qlonglong -1
maxInterval=-1 => qlonglong -1
expireDate=2027-01-01 => qlonglong 20819
expireDate=20819 => qlonglong 20819
expireDate=1970-01-01 => qlonglong 0
expireDate=9999-12-31 => qlonglong 2932896
expireDate=2028-02-29 => qlonglong 21243
expireDate=never =>
unlock_time=0s => qlonglong 0
unlock_time=90s => qlonglong 90
unlock_time=90sec => qlonglong 90
unlock_time=1second => qlonglong 1
unlock_time=2seconds => qlonglong 2
unlock_time=15m => qlonglong 900
unlock_time=15min => qlonglong 900
unlock_time=1minute => qlonglong 60
unlock_time=2minutes => qlonglong 120
unlock_time=3h => qlonglong 10800
unlock_time=3hr => qlonglong 10800
unlock_time=1hour => qlonglong 3600
unlock_time=2hours => qlonglong 7200
unlock_time=1h30min => qlonglong 5400
unlock_time=1 h 30 min => qlonglong 5400
unlock_time=1d => qlonglong 86400
unlock_time=1w2d3h4min5s => qlonglong 788645
unlock_time=2147483647s => qlonglong 2147483647
maxInterval=90d => qlonglong 90
maxInterval=90 days => qlonglong 90
maxInterval=1day => qlonglong 1
maxInterval=2w => qlonglong 14
maxInterval=1week => qlonglong 7
maxInterval=2weeks => qlonglong 14
maxInterval=1w 1d => qlonglong 8
maxInterval=48h => qlonglong 2
maxInterval=86400s => qlonglong 1
maxInterval=2147483647d => qlonglong 2147483647
root_unlock_time=never => qlonglong 0
root_unlock_time=1w => qlonglong 604800
dictcheck=off => bool false
admin_group=wheel => QString wheel
dir=/var/lib/faillock => QString /var/lib/faillock
)");
}

void SettingTextTest::understandsWhatIsTyped()
{
    QFETCH(QString, input);
    QVariant parsed(QStringLiteral("untouched"));

    QVERIFY(parseSettingText(assigned(input), textIn(input), &parsed));

    QTEST(QString(QLatin1String(parsed.typeName()) + QLatin1Char(' ') + parsed.toString()).trimmed(), "result");
}

void SettingTextTest::refusesWhatIsNotAllowed_data()
{
    QTest::addColumn<QString>("assignment");
    const char assignments[] =
        "per_user=1|per_user=Yes|per_user=never|"
        "deny=-1|deny=65536|deny=three|deny=3.5|deny=0x10|deny=3 logins|deny=5 |deny= 5|deny=5\n|"
        "deny=+5|deny=--5|deny=-|deny=never|deny=99999999999999999999|"
        "minlen=5|minlen=513|dcredit=- 1|dcredit=+1|dcredit=-513|dcredit=513|"
        "maxInterval=-2|maxInterval=2147483648|maxInterval=2027-01-01|"
        "unlock_time=15 |unlock_time=15  min|unlock_time= 15min|unlock_time=15min "
        "|unlock_time=15MIN|unlock_time=-15min|"
        "unlock_time=min|unlock_time=15min30|unlock_time=1month|unlock_time=1y|unlock_time=1.5h|unlock_time=500ms|"
        "unlock_time=2147483648s|unlock_time=99999999999s|unlock_time=9999999999w9999999999w|unlock_time=1x1w|"
        "maxInterval=36h|maxInterval=1s|maxInterval=2147483648d|maxInterval=1 w1|minlen=2w|deny=3s|expireDate=2w|"
        "expireDate=-1|expireDate=2932897|expireDate=1969-12-31|expireDate=2027-02-29|"
        "expireDate=2027-1-1|expireDate=01.01.2027|expireDate=2027-01-01T00:00|"
        "expireDate=+20819|expireDate= 2027-01-01|expireDate=2027-01-01 |"
        "fail_interval=never|root_unlock_time=604801|root_unlock_time=2w|minclass=5|remember=401|retry=0|"
        "dictcheck=1|admin_group=a b|dir=var";
    for (const QString &assignment : QString::fromLatin1(assignments).split(QLatin1Char('|'))) {
        QTest::newRow(qPrintable(assignment)) << assignment;
    }
}

void SettingTextTest::refusesWhatIsNotAllowed()
{
    QFETCH(QString, assignment);
    const Setting &setting = assigned(assignment);

    QVariant parsed;
    QVERIFY(!parseSettingText(setting, textIn(assignment), &parsed) || !isAllowed(setting, parsed));
}

void SettingTextTest::neverOfAnAccountIsNotSet()
{
    const Setting &setting = *accountSchema().find(QStringLiteral("maxInterval"));
    QVariant parsed(1);

    QVERIFY(parseSettingText(setting, QStringLiteral("never"), &parsed));

    QVERIFY(!parsed.isValid());
    QCOMPARE(settingText(setting, parsed), QStringLiteral("never"));
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
