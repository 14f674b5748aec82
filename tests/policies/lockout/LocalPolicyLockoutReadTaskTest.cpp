// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
const QString deny = QStringLiteral("deny");
const QString lockTime = QStringLiteral("lock_time");
const QString unlockTime = QStringLiteral("unlock_time");
const QString perUser = QStringLiteral("per_user");

QVariantMap withFlags(const QVariantMap &found)
{
    QVariantMap values{{perUser, false}, {QStringLiteral("magic_root"), false}, {QStringLiteral("no_reset"), false}};
    values.insert(found);
    return values;
}
}

/// What is not common to all policies of PAM; for that see PamReadTasksTest.
class LocalPolicyLockoutReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handlerStoresFlagsAtOnce();
    void handlerReadsLine_data();
    void handlerReadsLine();
};

void LocalPolicyLockoutReadTaskTest::handlerStoresFlagsAtOnce()
{
    QVariantMap values{{perUser, 5}, {deny, 3}};
    const LocalPolicyLockoutReadTask::LoginReaderRegExpHandler handler(&values);
    QCOMPARE(typedEntries(values), typedEntries(withFlags({{deny, 3}})));
    QVERIFY(!handler.found());
}

void LocalPolicyLockoutReadTaskTest::handlerReadsLine_data()
{
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<QVariantMap>("found");

    QTest::newRow("some options") << QByteArray("deny=3 unlock_time=600 per_user onerr=fail")
                                  << QVariantMap{{deny, 3}, {unlockTime, 600}, {perUser, true}};
    QTest::newRow("lock_time") << QByteArray("lock_time=5") << QVariantMap{{lockTime, 5}};
    QTest::newRow("unlock_time is no lock_time") << QByteArray("unlock_time=600") << QVariantMap{{unlockTime, 600}};
    QTest::newRow("name inside an option") << QByteArray("even_deny_root_account") << QVariantMap{{deny, 0}};
    QTest::newRow("no minus") << QByteArray("deny=-3") << QVariantMap{{deny, 0}};
    QTest::newRow("no minus without equals sign") << QByteArray("deny-3") << QVariantMap{{deny, 0}};
}

void LocalPolicyLockoutReadTaskTest::handlerReadsLine()
{
    QFETCH(QByteArray, options);
    QFETCH(QVariantMap, found);
    QVariantMap values;
    LocalPolicyLockoutReadTask::LoginReaderRegExpHandler handler(&values);

    QVERIFY(!handler.matches("auth required pam_tally2.so " + options));
    QVERIFY(handler.matches("auth required pam_tally.so " + options));
    QVERIFY(handler.handleLine(nullptr));

    QCOMPARE(typedEntries(values), typedEntries(withFlags(found)));
    QVERIFY(handler.found());
    QCOMPARE(handler.regExp().pattern(), QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QVERIFY(!handler.regExp().isMinimal());
}

QTEST_GUILESS_MAIN(LocalPolicyLockoutReadTaskTest)
#include "LocalPolicyLockoutReadTaskTest.moc"
