// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountStore.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QTest>

class AccountStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void findsAccountInTheEncodingOfTheLocale();
};

void AccountStoreTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void AccountStoreTest::findsAccountInTheEncodingOfTheLocale()
{
    writeContent(QStringLiteral("/etc/nsswitch.conf"), "passwd: files\n");
    writeContent(QStringLiteral("/etc/passwd"), "j\xfcrgen:x:2:2::/:/bin/sh\n");
    const ScopedLatin1 locale;

    QVERIFY(AccountStore(QString::fromUtf8("j\xc3\xbcrgen")).exists());
    QVERIFY(!AccountStore(QStringLiteral("jrgen")).exists());
}

QTEST_GUILESS_MAIN(AccountStoreTest)
#include "AccountStoreTest.moc"
