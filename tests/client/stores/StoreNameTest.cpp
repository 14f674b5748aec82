// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/StoreName.h"

#include <QTest>

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
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("account");
    QTest::newRow("policy") << "lockout"
                            << "lockout" << false;
    QTest::newRow("account") << "user alice"
                             << "alice" << true;
    QTest::newRow("account like a policy") << "user lockout"
                                           << "lockout" << true;
    QTest::newRow("account like the word before it") << "user user"
                                                     << "user" << true;
    QTest::newRow("no policy") << "users"
                               << "users" << false;
}

void StoreNameTest::standsInFrontOfOtherWords()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    QFETCH(bool, account);
    QStringList words = text.split(QLatin1Char(' ')) + QStringList{QStringLiteral("deny=3")};
    const std::optional<StoreName> taken = StoreName::takeFrom(&words);
    QVERIFY(taken);

    QCOMPARE(words, QStringList{QStringLiteral("deny=3")});
    for (const StoreName &found : {*taken, StoreName::fromText(text)}) {
        QCOMPARE(found.kind == StoreName::Kind::Account, account);
        QCOMPARE(found.name, name);
        QCOMPARE(found.text(), text);
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
