// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "tests/support/TextRows.h"
#include "tests/support/TypedMap.h"

class AssignmentsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void understands_data();
    void understands();
    void findsNearest_data();
    void findsNearest();
};

void AssignmentsTest::understands_data()
{
    // variants that stand for "not set" have no type
    addTextRows(R"(
=>
deny=5 per_user=yes no_reset=off => deny: qlonglong 5, no_reset: bool false, per_user: bool true
deny= per_user= => deny: , per_user:
deny => "deny" is not of the form KEY=VALUE
=5 => "=5" is not of the form KEY=VALUE
denny=5 => the lockout policy has no setting "denny"; did you mean "deny"?
x=5 => the lockout policy has no setting "x"; it has per_user, magic_root, no_reset, deny, lock_time, unlock_time
deny=5 deny=6 => deny is given twice
unlock_time=15min lock_time=2 => lock_time: qlonglong 2, unlock_time: qlonglong 900
unlock_time=15mon => unlock_time: "15mon" is not allowed; allowed is a whole number from 0 to 2147483647, or a time such as 1h30min
deny=x denny=5 => deny: "x" is not allowed; allowed is a whole number from 0 to 65535
deny=65536 => deny: "65536" is not allowed; allowed is a whole number from 0 to 65535
deny=5=6 => deny: "5=6" is not allowed; allowed is a whole number from 0 to 65535
)");
}

void AssignmentsTest::understands()
{
    QFETCH(QString, input);
    const QStringList words = input.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const Policy &lockout = *findPolicy(QStringLiteral("lockout"));
    Wishes wishes;

    const QString wrong = parseAssignments(lockout.schema, lockout.phrase(), words, &wishes);

    QTEST(wrong.isEmpty() ? typedEntries(wishes).join(QStringLiteral(", ")).simplified() : wrong, "result");
}

void AssignmentsTest::findsNearest_data()
{
    // one of four letters may be wrong, and neighbours that are swapped are one; of those that are equally near the first
    addTextRows(R"(
lock_time of deny lock_time unlock_time => lock_time
lock_tme of deny lock_time unlock_time => lock_time
unlock_timee of deny lock_time unlock_time => unlock_time
demy of deny lock_time unlock_time => deny
dney of deny lock_time unlock_time => deny
yned of deny =>
dmey of deny =>
lock of deny lock_time unlock_time =>
zzzz of deny lock_time unlock_time =>
get of set show =>
sett of set show => set
abc of abd =>
abcd of abce => abce
abcd of abcde => abcde
abcd of abc => abc
abcd of xbce =>
xabcd of abcd => abcd
aabc of aabx => aabx
abcdefg of xbcdefx =>
abcdefgh of xbcdefgx => xbcdefgx
abcdefgh of badcefgh => badcefgh
abcdefgh of xbcxefgx =>
abcd of abcx abxd => abcx
abcdefgh of abcdefxx abcdefgx => abcdefgx
)");
}

void AssignmentsTest::findsNearest()
{
    QFETCH(QString, input);
    const QStringList parts = input.split(QStringLiteral(" of "));

    QTEST(nearest(parts.first(), parts.last().split(QLatin1Char(' '))), "result");
    QCOMPARE(nearest(QString(), parts), QString());
}

QTEST_GUILESS_MAIN(AssignmentsTest)
#include "AssignmentsTest.moc"
