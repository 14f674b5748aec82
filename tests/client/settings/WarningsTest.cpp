// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Warnings.h"

#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "tests/support/TextRows.h"

namespace
{
constexpr qlonglong today = 20819; // 2027-01-01

Settings settingsOf(const SettingSchema &schema, const QString &words)
{
    Wishes wishes;
    const QString wrong =
        parseAssignments(schema, QString(), words.split(QLatin1Char(' '), Qt::SkipEmptyParts), &wishes);
    return wrong.isEmpty() ? fulfilled(schema, {}, wishes) : Settings{{wrong, {}}};
}
}

class WarningsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellWhatIsHardlyMeant_data();
    void tellWhatIsHardlyMeant();
    void areOfExpirationAlone();
};

void WarningsTest::tellWhatIsHardlyMeant_data()
{
    // what is, and what will be
    addTextRows(R"(
; minInterval=8 maxInterval=7 => minInterval (8) is above maxInterval (7): users cannot change their passwords
; minInterval=7 maxInterval=7 =>
; minInterval=8 maxInterval=never =>
; minInterval=8 =>
; maxInterval=7 =>
maxInterval=7; minInterval=8 maxInterval=7 => minInterval (8) is above maxInterval (7): users cannot change their passwords
minInterval=8; minInterval=8 maxInterval=7 => minInterval (8) is above maxInterval (7): users cannot change their passwords
minInterval=8 maxInterval=7; minInterval=8 maxInterval=7 warningInterval=1 =>
; maxInterval=0 => maxInterval is 0: a password expires on the day on which it is set
; maxInterval=1 =>
maxInterval=0; maxInterval=0 minInterval=0 =>
; expireDate=2026-12-31 => expireDate 2026-12-31 is not in the future: an account with it has expired
; expireDate=2027-01-01 => expireDate 2027-01-01 is not in the future: an account with it has expired
; expireDate=2027-01-02 =>
; expireDate=1970-01-01 => expireDate 1970-01-01 is not in the future: an account with it has expired
expireDate=2026-12-31; expireDate=2026-12-31 maxInterval=1 =>
expireDate=2026-12-31; expireDate=never =>
; maxInterval=0 minInterval=1 expireDate=1 => minInterval (1) is above maxInterval (0): users cannot change their passwords|maxInterval is 0: a password expires on the day on which it is set|expireDate 1970-01-02 is not in the future: an account with it has expired
)");
}

void WarningsTest::tellWhatIsHardlyMeant()
{
    QFETCH(QString, input);
    for (const SettingSchema &schema : {findPolicy(QStringLiteral("expiration"))->schema, accountSchema()}) {
        const Settings before = settingsOf(schema, input.section(QLatin1Char(';'), 0, 0));
        const Settings wanted = settingsOf(schema, input.section(QLatin1Char(';'), 1));

        QTEST(warningTexts(schema, before, wanted, today).join(QLatin1Char('|')), "result");
    }
}

void WarningsTest::areOfExpirationAlone()
{
    const SettingSchema &schema = findPolicy(QStringLiteral("lockout"))->schema;

    QCOMPARE(warningTexts(schema, {}, settingsOf(schema, QStringLiteral("deny=0 unlock_time=0")), today),
             QStringList());
}

QTEST_GUILESS_MAIN(WarningsTest)
#include "WarningsTest.moc"
