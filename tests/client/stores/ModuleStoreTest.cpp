// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/ModuleStore.h"

#include "client/stores/PolicyAccess.h"
#include "policies/modules/ModulePolicy.h"
#include "tests/support/Files.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"

#include <QTest>

class ModuleStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void keepsWhatOthersHaveWrittenSinceItsRead_data();
    void keepsWhatOthersHaveWrittenSinceItsRead();
};

void ModuleStoreTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ModuleStoreTest::keepsWhatOthersHaveWrittenSinceItsRead_data()
{
    const Rows<QByteArray, QByteArray> row("written", "file");
    row("nothing", "minlen = 9\nminclass = 2\n", "minclass = 2\nretry = 2\n");
    row("one more", "minlen = 9\nminclass = 2\ndifok = 5\n", "minclass = 2\ndifok = 5\nretry = 2\n");
    row("another value", "minlen = 9\nminclass = 4\n", "minclass = 4\nretry = 2\n");
    row("one less", "minlen = 9\n", "retry = 2\n");
    row("what is taken away, too", "minlen = 12\nminclass = 2\n", "minclass = 2\nretry = 2\n");
}

void ModuleStoreTest::keepsWhatOthersHaveWrittenSinceItsRead()
{
    QFETCH(const QByteArray, written);
    QFETCH(const QByteArray, file);
    writeContent(pwqualityPolicy().path, "minlen = 9\nminclass = 2\n");
    PolicyAccess access(false, PolicyAccess::Way::Local);
    ModuleStore store(*findPolicy(QStringLiteral("pwquality")), &access);
    Settings wanted = store.read().settings;
    wanted.remove(QStringLiteral("minlen"));
    wanted.insert(QStringLiteral("retry"), 2LL);

    writeContent(pwqualityPolicy().path, written);
    QCOMPARE(store.write(wanted).error, QString());
    QCOMPARE(contentOf(pwqualityPolicy().path), file);
}

QTEST_GUILESS_MAIN(ModuleStoreTest)
#include "ModuleStoreTest.moc"
