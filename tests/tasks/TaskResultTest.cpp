// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/TaskResult.h"

#include <QTest>

class TaskResultTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsEmptyAndNotStarted();
};

void TaskResultTest::startsEmptyAndNotStarted()
{
    const TaskResult result;
    QCOMPARE(result.description(), QString());
    QCOMPARE(result.state(), 0);
    QCOMPARE(result.message(), QString());
}

QTEST_GUILESS_MAIN(TaskResultTest)
#include "TaskResultTest.moc"
