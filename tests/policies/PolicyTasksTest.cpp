// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What all eight tasks of the policies have in common when they run; for what they are before see ElementTaskTest.

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/FinishCounter.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <memory>

namespace
{
using Make = std::unique_ptr<ElementTask> (*)(QVariantMap *values);

template<typename Task>
std::unique_ptr<ElementTask> make(QVariantMap *values)
{
    if constexpr (std::is_base_of_v<UpdateTask, Task>) {
        return std::make_unique<Task>(nullptr, values);
    } else {
        auto task = std::make_unique<Task>(nullptr);
        task->setValues(values);
        return task;
    }
}
}
Q_DECLARE_METATYPE(Make)

class PolicyTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();

    void ownsItsValues();
    void runsAfterCancel();
};

void PolicyTasksTest::initTestCase_data()
{
    const Rows<Make> row("newTask");
    row("read lockout", make<LocalPolicyLockoutReadTask>);
    row("update lockout", make<LocalPolicyLockoutUpdateTask>);
    row("read complexity", make<LocalPolicyPasswordComplexityReadTask>);
    row("update complexity", make<LocalPolicyPasswordComplexityUpdateTask>);
    row("read expiration", make<LocalPolicyPasswordExpirationReadTask>);
    row("update expiration", make<LocalPolicyPasswordExpirationUpdateTask>);
    row("read a user's expiration", make<LocalUserPolicyPasswordExpirationReadTask>);
    row("update a user's expiration", make<LocalUserPolicyPasswordExpirationUpdateTask>);
}

void PolicyTasksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PolicyTasksTest::ownsItsValues()
{
    QFETCH_GLOBAL(Make, newTask);
    std::weak_ptr<int> life;
    QVariantMap *values = newWatchedMap(&life);
    auto task = newTask(values);
    task->run();
    resetFinishCalls(); // its copy of the values
    QCOMPARE(task->values(), values);
    QVERIFY(!life.expired());
    task.reset();
    QVERIFY(life.expired());
}

void PolicyTasksTest::runsAfterCancel()
{
    QFETCH_GLOBAL(Make, newTask);
    const auto task = newTask(new QVariantMap);
    const auto cancelled = newTask(new QVariantMap);
    cancelled->cancel();
    QVERIFY(!cancelled->requestCancel());
    QVERIFY(!cancelled->isCancelRequested());
    QCOMPARE(cancelled->result().state(), TaskState::NotStarted);
    QCOMPARE(outcomeOfRun(cancelled.get()), outcomeOfRun(task.get()));
    QVERIFY(cancelled->result().state() != TaskState::NotStarted);
}

QTEST_GUILESS_MAIN(PolicyTasksTest)
#include "PolicyTasksTest.moc"
