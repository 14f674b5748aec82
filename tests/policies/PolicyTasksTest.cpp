// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What all eight tasks of the policies have in common before and apart from their runs.

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <memory>

namespace
{
/// Read tasks take no arguments, and make their map themselves.
using Factory = std::unique_ptr<ElementTask> (*)(void *context, QVariantMap *arguments);
}
Q_DECLARE_METATYPE(Factory)

namespace
{
template<typename Task>
void addReadTask(const char *name, const char *description)
{
    static_assert(std::is_base_of_v<ReadPropertyHeavyTask, Task>);
    const Factory newTask = [](void *context, QVariantMap *) -> std::unique_ptr<ElementTask> {
        return std::make_unique<Task>(context);
    };
    QTest::newRow(name) << QByteArray(name) << newTask << false << QByteArray(description);
}

template<typename Task>
void addUpdateTask(const char *name, const char *description)
{
    static_assert(std::is_base_of_v<UpdateTask, Task>);
    const Factory newTask = [](void *context, QVariantMap *arguments) -> std::unique_ptr<ElementTask> {
        return std::make_unique<Task>(context, arguments);
    };
    QTest::newRow(name) << QByteArray(name) << newTask << true << QByteArray(description);
}
}

class PolicyTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();

    void startsUntouched();
    void translatesDescription();
    void ownsItsValues();
    void runsAfterCancel();
};

void PolicyTasksTest::initTestCase_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<Factory>("newTask");
    QTest::addColumn<bool>("updates");
    QTest::addColumn<QByteArray>("description");

    addReadTask<LocalPolicyLockoutReadTask>("LocalPolicyLockoutReadTask", "Read default lockout account policy");
    addUpdateTask<LocalPolicyLockoutUpdateTask>("LocalPolicyLockoutUpdateTask",
                                                "Update default lockout account policy");
    addReadTask<LocalPolicyPasswordComplexityReadTask>("LocalPolicyPasswordComplexityReadTask",
                                                       "Read default password complexity policy");
    addUpdateTask<LocalPolicyPasswordComplexityUpdateTask>("LocalPolicyPasswordComplexityUpdateTask",
                                                           "Update default password complexity policy");
    addReadTask<LocalPolicyPasswordExpirationReadTask>("LocalPolicyPasswordExpirationReadTask",
                                                       "Read default password expiration policy");
    addUpdateTask<LocalPolicyPasswordExpirationUpdateTask>("LocalPolicyPasswordExpirationUpdateTask",
                                                           "Update default password expiration policy");
    addReadTask<LocalUserPolicyPasswordExpirationReadTask>("LocalUserPolicyPasswordExpirationReadTask",
                                                           "Read user password expiration policy");
    addUpdateTask<LocalUserPolicyPasswordExpirationUpdateTask>("LocalUserPolicyPasswordExpirationUpdateTask",
                                                               "Update user password expiration policy");
}

void PolicyTasksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PolicyTasksTest::startsUntouched()
{
    QFETCH_GLOBAL(Factory, newTask);
    QFETCH_GLOBAL(bool, updates);
    QFETCH_GLOBAL(QByteArray, description);
    int context = 0;
    QVariantMap *arguments = updates ? new QVariantMap{{QStringLiteral("deny"), 5}} : nullptr;
    const auto task = newTask(&context, arguments);

    QCOMPARE(task->context(), static_cast<void *>(&context));
    QVERIFY(task->values());
    QCOMPARE(task->values() == arguments, updates);
    QCOMPARE(task->values()->size(), updates ? 1 : 0);
    QCOMPARE(task->result().state(), TaskState::NotStarted);
    QCOMPARE(task->result().message(), QString());
    QCOMPARE(task->result().description().toLatin1(), description);
    QCOMPARE(task->flags(), quint64(0));
    QVERIFY(!task->isCancelRequested());
}

void PolicyTasksTest::translatesDescription()
{
    QFETCH_GLOBAL(Factory, newTask);
    QFETCH_GLOBAL(bool, updates);
    QFETCH_GLOBAL(QByteArray, description);
    QFETCH_GLOBAL(QByteArray, name);
    const RecordingTranslator translator;
    const auto task = newTask(nullptr, updates ? new QVariantMap : nullptr);
    QCOMPARE(task->result().description().toLatin1(), '[' + description + ']');
    QCOMPARE(translator.texts(), QList<TranslatedText>({{name, description}}));
}

void PolicyTasksTest::ownsItsValues()
{
    QFETCH_GLOBAL(Factory, newTask);
    QFETCH_GLOBAL(bool, updates);
    std::weak_ptr<int> life;
    QVariantMap *values = newWatchedMap(&life);
    auto task = newTask(nullptr, updates ? values : nullptr);
    if (!updates) {
        task->setValues(values);
    }
    task->run();
    QCOMPARE(task->values(), values);
    QVERIFY(!life.expired());
    task.reset();
    QVERIFY(life.expired());
}

void PolicyTasksTest::runsAfterCancel()
{
    QFETCH_GLOBAL(Factory, newTask);
    QFETCH_GLOBAL(bool, updates);
    const auto task = newTask(nullptr, updates ? new QVariantMap : nullptr);
    const auto cancelled = newTask(nullptr, updates ? new QVariantMap : nullptr);
    cancelled->cancel();
    QVERIFY(!cancelled->requestCancel());
    QVERIFY(!cancelled->isCancelRequested());
    QCOMPARE(cancelled->result().state(), TaskState::NotStarted);
    QCOMPARE(outcomeOfRun(cancelled.get()), outcomeOfRun(task.get()));
    QVERIFY(cancelled->result().state() != TaskState::NotStarted);
}

QTEST_GUILESS_MAIN(PolicyTasksTest)
#include "PolicyTasksTest.moc"
