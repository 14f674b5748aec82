// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/TaskResult.h"

#include <QTest>

class TaskResultTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numbersItsStates();
    void startsEmptyAndNotStarted();
    void keepsWhatIsSet();
    void setsStateAlone_data();
    void setsStateAlone();
    void setsTextsAlone();
    void takesAnyNumberAsState();
    void becomesEmptyByAssignment();
    void copiesAllMembers();
    void survivesAssignmentToItself();
    void failsWithReason();
    void succeedsWithAndWithoutNotice();
};

namespace
{
TaskResult filled()
{
    TaskResult result;
    result.setDescription(QStringLiteral("title"));
    result.setState(TaskState::Failed);
    result.setMessage(QStringLiteral("reason"));
    return result;
}

QStringList members(const TaskResult &result)
{
    return {result.description(), QString::number(result.state()), result.message()};
}

const QStringList filledMembers{QStringLiteral("title"), QStringLiteral("1"), QStringLiteral("reason")};
}

void TaskResultTest::numbersItsStates()
{
    QCOMPARE(TaskState::NotStarted, 0);
    QCOMPARE(TaskState::Failed, 1);
    QCOMPARE(TaskState::Succeeded, 2);
    QCOMPARE(TaskState::SucceededWithNotice, 3);
}

void TaskResultTest::startsEmptyAndNotStarted()
{
    QCOMPARE(members(TaskResult()), QStringList({QString(), QStringLiteral("0"), QString()}));
}

void TaskResultTest::keepsWhatIsSet()
{
    QCOMPARE(members(filled()), filledMembers);
}

void TaskResultTest::setsStateAlone_data()
{
    QTest::addColumn<int>("state");

    QTest::newRow("not started") << 0;
    QTest::newRow("failed") << 1;
    QTest::newRow("succeeded") << 2;
    QTest::newRow("succeeded with a notice") << 3;
}

void TaskResultTest::setsStateAlone()
{
    QFETCH(int, state);
    TaskResult result = filled();
    result.setState(state);

    QCOMPARE(members(result), QStringList({QStringLiteral("title"), QString::number(state), QStringLiteral("reason")}));
}

void TaskResultTest::setsTextsAlone()
{
    TaskResult titled;
    titled.setDescription(QStringLiteral("title"));
    QCOMPARE(members(titled), QStringList({QStringLiteral("title"), QStringLiteral("0"), QString()}));

    TaskResult speaking;
    speaking.setMessage(QStringLiteral("reason"));
    QCOMPARE(members(speaking), QStringList({QString(), QStringLiteral("0"), QStringLiteral("reason")}));
}

void TaskResultTest::takesAnyNumberAsState()
{
    // what a state means is up to those who read it
    TaskResult result;
    result.setState(-7);

    QCOMPARE(result.state(), -7);
}

void TaskResultTest::becomesEmptyByAssignment()
{
    TaskResult result = filled();
    QVERIFY(members(result) != members(TaskResult()));

    result = TaskResult();

    QCOMPARE(members(result), QStringList({QString(), QStringLiteral("0"), QString()}));
}

void TaskResultTest::copiesAllMembers()
{
    const TaskResult original = filled();
    const TaskResult copy(original);
    TaskResult assigned;
    assigned = original;

    QCOMPARE(members(copy), filledMembers);
    QCOMPARE(members(assigned), filledMembers);
    assigned.setMessage(QStringLiteral("other"));
    QCOMPARE(members(original), filledMembers);
}

void TaskResultTest::survivesAssignmentToItself()
{
    TaskResult result = filled();
    const TaskResult &same = result;
    result = same;

    QCOMPARE(members(result), filledMembers);
}

void TaskResultTest::failsWithReason()
{
    TaskResult result;
    result.setDescription(QStringLiteral("title"));
    result.fail(QStringLiteral("why"));

    QCOMPARE(members(result), QStringList({QStringLiteral("title"), QStringLiteral("1"), QStringLiteral("why")}));
}

void TaskResultTest::succeedsWithAndWithoutNotice()
{
    TaskResult result = filled();
    result.succeed(QStringLiteral("notice"));
    QCOMPARE(members(result), QStringList({QStringLiteral("title"), QStringLiteral("3"), QStringLiteral("notice")}));

    result.succeed(QString());
    QCOMPARE(members(result), QStringList({QStringLiteral("title"), QStringLiteral("2"), QString()}));
}

QTEST_GUILESS_MAIN(TaskResultTest)
#include "TaskResultTest.moc"
