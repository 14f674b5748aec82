// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/StoreName.h"
#include "tests/support/TextRows.h"

class StoreNameTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void standsInFrontOfOtherWords_data();
    void standsInFrontOfOtherWords();
    void needsAllOfItsWords();
};

void StoreNameTest::standsInFrontOfOtherWords_data()
{
    addTextRows(R"(
lockout => policy lockout
users => policy users
user alice => account alice
user lockout => account lockout
user user => account user
)");
}

void StoreNameTest::standsInFrontOfOtherWords()
{
    QFETCH(QString, input);
    QStringList words = input.split(QLatin1Char(' ')) + QStringList{QStringLiteral("deny=3")};
    const std::optional<StoreName> taken = StoreName::takeFrom(&words);
    QVERIFY(taken);

    QCOMPARE(words, QStringList{QStringLiteral("deny=3")});
    QStringList inQuotes{input};
    for (const StoreName &found : {*taken, *StoreName::takeFrom(&inQuotes), StoreName::fromText(input)}) {
        const QString kind =
            found.kind == StoreName::Kind::Account ? QStringLiteral("account ") : QStringLiteral("policy ");
        QTEST(kind + found.name, "result");
        QCOMPARE(found.text(), input);
    }
}

void StoreNameTest::needsAllOfItsWords()
{
    QStringList none;
    QStringList wordAlone{QStringLiteral("user")};

    QVERIFY(!StoreName::takeFrom(&none));
    QVERIFY(!StoreName::takeFrom(&wordAlone));
}

QTEST_GUILESS_MAIN(StoreNameTest)
#include "StoreNameTest.moc"
