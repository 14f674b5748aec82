// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
const SettingSchema &lockout()
{
    return findPolicy(QStringLiteral("lockout"))->schema;
}

const SettingSchema &expiration()
{
    return findPolicy(QStringLiteral("expiration"))->schema;
}
}

class SettingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsSettingByItsKey();
    void normalizesWhatTheHelperSends();
    void normalizesMissingFlagsToFalse();
    void keepsMinusOneOfPolicies();
    void dropsMinusOneOfAccounts();
    void fulfilsWishesAndKeepsTheRest();
    void dropsWhatIsWishedAway();
    void listsDifferingKeysInOrder();
    void allowsWhatIsInTheRange_data();
    void allowsWhatIsInTheRange();
};

void SettingTest::findsSettingByItsKey()
{
    QCOMPARE(lockout().find(QStringLiteral("deny"))->key, QStringLiteral("deny"));
    QVERIFY(!lockout().find(QStringLiteral("minlen")));
}

void SettingTest::normalizesWhatTheHelperSends()
{
    const Settings settings = normalized(lockout(),
                                         {{QStringLiteral("deny"), 3},
                                          {QStringLiteral("per_user"), true},
                                          {QStringLiteral("unlock_time"), QStringLiteral("900")},
                                          {QStringLiteral("message"), QStringLiteral("x")}});

    QCOMPARE(typedEntries(settings),
             QStringList({QStringLiteral("deny: qlonglong 3"),
                          QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool true"),
                          QStringLiteral("unlock_time: qlonglong 900")}));
}

void SettingTest::normalizesMissingFlagsToFalse()
{
    QCOMPARE(normalized(lockout(), {}).size(), 3);
    QCOMPARE(normalized(lockout(), {}).value(QStringLiteral("per_user")), QVariant(false));
    QCOMPARE(normalized(expiration(), {}), Settings());
}

void SettingTest::keepsMinusOneOfPolicies()
{
    const Settings settings =
        normalized(expiration(), {{QStringLiteral("maxInterval"), -1}, {QStringLiteral("expireDate"), -1}});

    QCOMPARE(typedEntries(settings), QStringList{QStringLiteral("maxInterval: qlonglong -1")});
}

void SettingTest::dropsMinusOneOfAccounts()
{
    const Settings settings =
        normalized(accountSchema(), {{QStringLiteral("maxInterval"), -1}, {QStringLiteral("minInterval"), 0}});

    QCOMPARE(typedEntries(settings), QStringList{QStringLiteral("minInterval: qlonglong 0")});
}

void SettingTest::fulfilsWishesAndKeepsTheRest()
{
    const Settings before = normalized(lockout(), {{QStringLiteral("deny"), 3}, {QStringLiteral("per_user"), true}});

    const Settings after =
        fulfilled(lockout(), before, {{QStringLiteral("deny"), 5LL}, {QStringLiteral("no_reset"), true}});

    QCOMPARE(typedEntries(after),
             QStringList({QStringLiteral("deny: qlonglong 5"),
                          QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool true"),
                          QStringLiteral("per_user: bool true")}));
}

void SettingTest::dropsWhatIsWishedAway()
{
    const Settings before = normalized(lockout(), {{QStringLiteral("deny"), 3}, {QStringLiteral("per_user"), true}});

    const Settings after =
        fulfilled(lockout(), before, {{QStringLiteral("deny"), QVariant()}, {QStringLiteral("per_user"), QVariant()}});

    QCOMPARE(after, normalized(lockout(), {}));
}

void SettingTest::listsDifferingKeysInOrder()
{
    const Settings left = normalized(
        lockout(), {{QStringLiteral("unlock_time"), 1}, {QStringLiteral("deny"), 3}, {QStringLiteral("lock_time"), 0}});
    const Settings right = normalized(
        lockout(), {{QStringLiteral("deny"), 3}, {QStringLiteral("lock_time"), 1}, {QStringLiteral("per_user"), true}});

    QCOMPARE(differingKeys(lockout(), left, right),
             QStringList({QStringLiteral("per_user"), QStringLiteral("lock_time"), QStringLiteral("unlock_time")}));
    QCOMPARE(differingKeys(lockout(), left, left), QStringList());
}

void SettingTest::allowsWhatIsInTheRange_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("least") << "deny" << QVariant(0LL) << true;
    QTest::newRow("below") << "deny" << QVariant(-1LL) << false;
    QTest::newRow("most") << "deny" << QVariant(65535LL) << true;
    QTest::newRow("above") << "deny" << QVariant(65536LL) << false;
    QTest::newRow("not set") << "deny" << QVariant() << true;
    QTest::newRow("switch") << "per_user" << QVariant(true) << true;
}

void SettingTest::allowsWhatIsInTheRange()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(bool, allowed);

    QCOMPARE(isAllowed(*lockout().find(key), value), allowed);
}

QTEST_GUILESS_MAIN(SettingTest)
#include "SettingTest.moc"
