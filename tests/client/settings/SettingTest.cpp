// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"
#include "tests/support/TextRows.h"
#include "tests/support/TypedMap.h"

namespace
{
const SettingSchema &lockout()
{
    return findPolicy(QStringLiteral("lockout"))->schema;
}

/// What the helper sends, from words "key=value": integers of 32 bits, and "true".
QVariantMap sent(const QString &words)
{
    QVariantMap values;
    const auto assignments = words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &assignment : assignments) {
        const QString text = assignment.section(QLatin1Char('='), 1);
        values.insert(assignment.section(QLatin1Char('='), 0, 0),
                      text == QLatin1String("true") ? QVariant(true) : QVariant(text.toInt()));
    }
    return values;
}

QString typed(const Settings &settings)
{
    return typedEntries(settings).join(QStringLiteral(", "));
}
}

class SettingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isFoundByItsKey();
    void isNormalized_data();
    void isNormalized();
    void understandsNumbersSentAsText();
    void fulfilsWishesAndKeepsTheRest();
    void dropsWhatIsWishedAway();
    void listsDifferingKeysInOrder();
    void allowsWhatIsInTheRange_data();
    void allowsWhatIsInTheRange();
};

void SettingTest::isFoundByItsKey()
{
    QCOMPARE(lockout().find(QStringLiteral("deny"))->key, QStringLiteral("deny"));
    QCOMPARE(lockout().find(QStringLiteral("minlen")), nullptr);
}

void SettingTest::isNormalized_data()
{
    addTextRows(R"(
expiration: =>
lockout: => magic_root: bool false, no_reset: bool false, per_user: bool false
lockout: deny=3 per_user=true message=1 => deny: qlonglong 3, magic_root: bool false, no_reset: bool false, per_user: bool true
expiration: maxInterval=-1 expireDate=-1 => maxInterval: qlonglong -1
account: maxInterval=-1 minInterval=0 => minInterval: qlonglong 0
pwquality: dictcheck=0 usercheck=1 => dictcheck: bool false, enforce_for_root: bool false, local_users_only: bool false, usercheck: bool true
)");
}

void SettingTest::isNormalized()
{
    QFETCH(QString, input);
    const QString policy = input.section(QLatin1Char(':'), 0, 0);
    const SettingSchema &schema = policy == QLatin1String("account") ? accountSchema() : findPolicy(policy)->schema;

    QTEST(typed(normalized(schema, sent(input.section(QLatin1Char(':'), 1)))), "result");
}

void SettingTest::understandsNumbersSentAsText()
{
    QCOMPARE(typed(normalized(accountSchema(), {{QStringLiteral("maxInterval"), QStringLiteral("900")}})),
             QStringLiteral("maxInterval: qlonglong 900"));
}

void SettingTest::fulfilsWishesAndKeepsTheRest()
{
    const Settings before = normalized(lockout(), sent(QStringLiteral("deny=3 per_user=true")));

    QCOMPARE(typed(fulfilled(lockout(), before, sent(QStringLiteral("deny=5 no_reset=true")))),
             QStringLiteral("deny: qlonglong 5, magic_root: bool false, no_reset: bool true, per_user: bool true"));
}

void SettingTest::dropsWhatIsWishedAway()
{
    const Settings before = normalized(lockout(), sent(QStringLiteral("deny=3 per_user=true")));

    QCOMPARE(fulfilled(lockout(), before, {{QStringLiteral("deny"), {}}, {QStringLiteral("per_user"), {}}}),
             normalized(lockout(), {}));
}

void SettingTest::listsDifferingKeysInOrder()
{
    const Settings left = normalized(lockout(), sent(QStringLiteral("unlock_time=1 deny=3 lock_time=0")));
    const Settings right = normalized(lockout(), sent(QStringLiteral("deny=3 lock_time=1 per_user=true")));

    QCOMPARE(differingKeys(lockout(), left, right).join(QLatin1Char(' ')),
             QStringLiteral("per_user lock_time unlock_time"));
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
    QTest::newRow("flag") << "per_user" << QVariant(true) << true;
    QTest::newRow("switch") << "dictcheck" << QVariant(false) << true;
    for (const char *name : {"wheel", "domain users", "a#b", "gr\xc3\xbcn", "wheel\n", ""}) {
        QTest::newRow(name) << "admin_group" << QVariant(QString::fromUtf8(name)) << (name == QByteArray("wheel"));
    }
    for (const char *path : {"/", "/var/lib/faillock", "var/lib", "/var/my lib", "/var/#lib", "/var/lib\n"}) {
        const bool isTaken = path == QByteArray("/") || path == QByteArray("/var/lib/faillock");
        QTest::newRow(path) << "dir" << QVariant(QString::fromLatin1(path)) << isTaken;
    }
}

void SettingTest::allowsWhatIsInTheRange()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);

    const Setting *setting = nullptr;
    for (const Policy &policy : allPolicies()) {
        setting = setting ? setting : policy.schema.find(key);
    }

    QTEST(isAllowed(*setting, value), "allowed");
}

QTEST_GUILESS_MAIN(SettingTest)
#include "SettingTest.moc"
