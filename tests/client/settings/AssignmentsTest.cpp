// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
const SettingSchema &lockout()
{
    return findPolicy(QStringLiteral("lockout"))->schema;
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
}

class AssignmentsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void understandsAssignments();
    void takesEmptyValueForNotSet();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
    void findsNearest_data();
    void findsNearest();
};

void AssignmentsTest::understandsAssignments()
{
    Wishes wishes;
    QCOMPARE(parseAssignments(lockout(), QStringLiteral("it"), words("deny=5 per_user=yes no_reset=off"), &wishes),
             QString());

    QCOMPARE(typedEntries(wishes),
             QStringList({QStringLiteral("deny: qlonglong 5"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool true")}));
    QCOMPARE(parseAssignments(lockout(), QStringLiteral("it"), {}, &wishes), QString());
    QCOMPARE(wishes.size(), 3);
}

void AssignmentsTest::takesEmptyValueForNotSet()
{
    Wishes wishes;
    QCOMPARE(parseAssignments(lockout(), QStringLiteral("it"), words("deny= per_user="), &wishes), QString());

    QCOMPARE(wishes.keys(), words("deny per_user"));
    QVERIFY(!wishes.value(QStringLiteral("deny")).isValid());
    QVERIFY(!wishes.value(QStringLiteral("per_user")).isValid());
}

void AssignmentsTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("wrong");
    QTest::newRow("no assignment") << "deny"
                                   << "\"deny\" is not of the form KEY=VALUE";
    QTest::newRow("no key") << "=5"
                            << "\"=5\" is not of the form KEY=VALUE";
    QTest::newRow("key with a slip") << "denny=5"
                                     << "the lockout policy has no setting \"denny\"; did you mean \"deny\"?";
    QTest::newRow("key like no other") << "x=5"
                                       << "the lockout policy has no setting \"x\"; it has per_user, magic_root, "
                                          "no_reset, deny, lock_time, unlock_time";
    QTest::newRow("twice") << "deny=5 deny=6"
                           << "deny is given twice";
    QTest::newRow("first mistake counts") << "deny=x denny=5"
                                          << "deny: \"x\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("out of range") << "deny=65536"
                                  << "deny: \"65536\" is not allowed; allowed is a whole number from 0 to 65535";
    QTest::newRow("value with equals sign")
        << "deny=5=6"
        << "deny: \"5=6\" is not allowed; allowed is a whole number from 0 to 65535";
}

void AssignmentsTest::tellsWhatIsWrong()
{
    QFETCH(QString, typed);
    QFETCH(QString, wrong);
    Wishes wishes;

    QCOMPARE(parseAssignments(lockout(), QStringLiteral("the lockout policy"), typed.split(QLatin1Char(' ')), &wishes),
             wrong);
}

void AssignmentsTest::findsNearest_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QStringList>("candidates");
    QTest::addColumn<QString>("meant");
    const QStringList keys = lockout().keys();
    QTest::newRow("same") << "lock_time" << keys << "lock_time";
    QTest::newRow("letter missing") << "lock_tme" << keys << "lock_time";
    QTest::newRow("letter too much") << "unlock_timee" << keys << "unlock_time";
    QTest::newRow("letter replaced") << "demy" << keys << "deny";
    QTest::newRow("letters swapped") << "dney" << keys << "deny";
    QTest::newRow("half of it") << "lock" << keys << "";
    QTest::newRow("nothing alike") << "zzzz" << keys << "";
    QTest::newRow("empty") << "" << keys << "";
    // half of a word's letters may be wrong, here one
    QTest::newRow("of two letters one replaced") << "ab" << QStringList{QStringLiteral("ax")} << "ax";
    QTest::newRow("of two letters one missing") << "ab" << QStringList{QStringLiteral("abc")} << "abc";
    QTest::newRow("of two letters one too much") << "ab" << QStringList{QStringLiteral("a")} << "a";
    QTest::newRow("of two letters both replaced") << "ab" << QStringList{QStringLiteral("xy")} << "";
    QTest::newRow("two equally near") << "ab" << QStringList{QStringLiteral("ax"), QStringLiteral("ay")} << "ax";
    QTest::newRow("a nearer one later") << "abcd" << QStringList{QStringLiteral("abxy"), QStringLiteral("abcx")}
                                        << "abcx";
}

void AssignmentsTest::findsNearest()
{
    QFETCH(QString, word);
    QFETCH(QStringList, candidates);
    QFETCH(QString, meant);

    QCOMPARE(nearest(word, candidates), meant);
}

QTEST_GUILESS_MAIN(AssignmentsTest)
#include "AssignmentsTest.moc"
