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
    // half of a word's letters may be wrong; of those that are equally near the first
    addTextRows(R"(
lock_time of deny lock_time unlock_time => lock_time
lock_tme of deny lock_time unlock_time => lock_time
unlock_timee of deny lock_time unlock_time => unlock_time
demy of deny lock_time unlock_time => deny
dney of deny lock_time unlock_time => deny
lock of deny lock_time unlock_time =>
zzzz of deny lock_time unlock_time =>
ab of ax => ax
ab of abc => abc
ab of a => a
ab of xy =>
ab of ax ay => ax
abcd of abxy abcx => abcx
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
