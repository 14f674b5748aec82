// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/LockedListing.h"

#include "policies/faillock/FailureRecords.h"
#include "service/BusTypes.h"

#include <QTest>

Q_DECLARE_METATYPE(FailureRecord)

namespace
{
FailureRecord record(const char *account, bool isLocked, bool opens = true)
{
    FailureRecord made;
    made.account = QString::fromLatin1(account);
    made.failures = 3;
    made.first = QDateTime::fromSecsSinceEpoch(100).toUTC();
    made.last = QDateTime::fromSecsSinceEpoch(200).toUTC();
    made.source = QStringLiteral("tty1");
    made.isLocked = isLocked;
    if (opens) {
        made.until = QDateTime::fromSecsSinceEpoch(800).toUTC();
    }
    return made;
}

QString textOf(const Answer &answer)
{
    if (!answer.error.isEmpty()) {
        return answer.error + QLatin1String(": ") + answer.errorText;
    }
    QStringList accounts;
    for (const LockedAccount &account : answer.values.constFirst().value<LockedAccounts>()) {
        accounts += QStringLiteral("%1 %2 %3-%4 %5 %6")
                        .arg(account.name)
                        .arg(account.failures)
                        .arg(account.first)
                        .arg(account.last)
                        .arg(account.source)
                        .arg(account.until);
    }
    return accounts.join(QLatin1String(", "));
}
}

class LockedListingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listsLockedAccounts_data();
    void listsLockedAccounts();
};

void LockedListingTest::listsLockedAccounts_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QVector<FailureRecord>>("accounts");
    QTest::addColumn<QString>("expected");
    const auto add =
        [](const char *name, const char *error, const QVector<FailureRecord> &accounts, const char *expected) {
            QTest::newRow(name) << QString::fromLatin1(error) << accounts << QString::fromLatin1(expected);
        };
    const char unreadable[] = "/run/faillock/bob: Input/output error";
    const FailureRecord locked = record("alice", true);
    add("none", "", {}, "");
    add("some",
        "",
        {locked, record("carol", false), record("dave", true, false)},
        "alice 3 100-200 tty1 800, dave 3 100-200 tty1 0");
    add("some, and one that can't be read", unreadable, {locked}, "alice 3 100-200 tty1 800");
    add("none, but one that can't be read",
        unreadable,
        {record("carol", false)},
        "Failed: /run/faillock/bob: Input/output error");
}

void LockedListingTest::listsLockedAccounts()
{
    QFETCH(QString, error);
    QFETCH(QVector<FailureRecord>, accounts);

    QTEST(textOf(lockedAnswer({error, accounts})), "expected");
}

QTEST_GUILESS_MAIN(LockedListingTest)
#include "LockedListingTest.moc"
