// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountStore.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QTest>

#include <cerrno>

class AccountStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void findsAccountInTheEncodingOfTheLocale();
    void tellsThatThereIsNoSuchAccount();
};

void AccountStoreTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    writeContent(QStringLiteral("/etc/nsswitch.conf"), "passwd: files\nshadow: files\n");
    writeContent(QStringLiteral("/etc/passwd"), "j\xfcrgen:x:2:2::/:/bin/sh\n");
    writeContent(QStringLiteral("/etc/shadow"), "j\xfcrgen:x:20000:0:99999:7:::\n");
}

void AccountStoreTest::findsAccountInTheEncodingOfTheLocale()
{
    const ScopedLatin1 locale;

    QVERIFY(AccountStore(QString::fromUtf8("j\xc3\xbcrgen")).exists());
    QVERIFY(!AccountStore(QStringLiteral("jrgen")).exists());
}

void AccountStoreTest::tellsThatThereIsNoSuchAccount()
{
    const ScopedLatin1 locale;
    errno = EIO; // of something before

    QCOMPARE(AccountStore(QStringLiteral("jrgen")).read().outcome.error,
             QStringLiteral("the account jrgen does not exist"));
    QVERIFY(AccountStore(QString::fromUtf8("j\xc3\xbcrgen")).read().outcome.error.isEmpty());
}

QTEST_GUILESS_MAIN(AccountStoreTest)
#include "AccountStoreTest.moc"
