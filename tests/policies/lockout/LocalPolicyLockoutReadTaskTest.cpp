// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include "tests/support/Rows.h"
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
    const Rows<QByteArray, QVariantMap> row("options", "found");
    row("some options", "deny=3 unlock_time=600 per_user onerr=fail", {{deny, 3}, {unlockTime, 600}, {perUser, true}});
    row("lock_time", "lock_time=5", {{lockTime, 5}});
    row("unlock_time is no lock_time", "unlock_time=600", {{unlockTime, 600}});
    row("name inside an option", "even_deny_root_account", {{deny, 0}});
    row("no minus", "deny=-3", {{deny, 0}});
    row("no minus without equals sign", "deny-3", {{deny, 0}});
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
    QCOMPARE(handler.regExp(), QRegExp(QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))")));
}

QTEST_GUILESS_MAIN(LocalPolicyLockoutReadTaskTest)
#include "LocalPolicyLockoutReadTaskTest.moc"
