// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/LocalTasks.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <shadow.h>

namespace
{
const char loginDefs[] = "/etc/login.defs";
const char lockOfAccounts[] = "/etc/.pwd.lock";

HelperReply writeMaximum(int days)
{
    return writeLocally(QStringLiteral("expiration"), {{QStringLiteral("maxInterval"), days}});
}
}

class LocalTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void leavesTheLockToTheNext();
    void writesWhereThereCanBeNoLock();
};

void LocalTasksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void LocalTasksTest::init()
{
    writeContent(QString::fromLatin1(loginDefs), "PASS_MAX_DAYS 1\n");
    QFile::remove(QString::fromLatin1(lockOfAccounts));
}

void LocalTasksTest::leavesTheLockToTheNext()
{
    QCOMPARE(writeMaximum(30).outcome.error, QString());

    QCOMPARE(lckpwdf(), 0);
    QCOMPARE(ulckpwdf(), 0);
    QCOMPARE(contentOf(QString::fromLatin1(loginDefs)), QByteArray("PASS_MAX_DAYS 30\n"));
}

void LocalTasksTest::writesWhereThereCanBeNoLock()
{
    QVERIFY(QDir().mkdir(QString::fromLatin1(lockOfAccounts)));

    const HelperReply reply = writeMaximum(40);

    QVERIFY(QDir().rmdir(QString::fromLatin1(lockOfAccounts)));
    QCOMPARE(reply.outcome.error, QString());
    QCOMPARE(contentOf(QString::fromLatin1(loginDefs)), QByteArray("PASS_MAX_DAYS 40\n"));
}

QTEST_GUILESS_MAIN(LocalTasksTest)
#include "LocalTasksTest.moc"
