// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ElementTask.h"

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <functional>
#include <type_traits>

class ElementTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void derivesAsDeclared();
    void ownsTheGivenMap_data();
    void ownsTheGivenMap();
    void startsWithoutMap_data();
    void startsWithoutMap();
    void addsNothingToItsBase_data();
    void addsNothingToItsBase();

    void readsPolicyIntoMapOfItsOwn_data();
    void readsPolicyIntoMapOfItsOwn();
    void updatesPolicyFromTheGivenMap_data();
    void updatesPolicyFromTheGivenMap();
    void describesPolicyInItsOwnContext_data();
    void describesPolicyInItsOwnContext();
    void cancelsNoPolicy_data();
    void cancelsNoPolicy();
};

namespace
{
using MakeWithMap = std::function<std::unique_ptr<ElementTask>(void *, QVariantMap *)>;
using MakeWithoutMap = std::function<std::unique_ptr<ElementTask>(void *)>;

template<typename Task>
MakeWithMap withMap()
{
    return [](void *context, QVariantMap *values) {
        return std::make_unique<Task>(context, values);
    };
}

template<typename Task>
MakeWithoutMap withoutMap()
{
    return [](void *context) {
        return std::make_unique<Task>(context);
    };
}

/// Whether a task is made of its base and nothing else.
template<typename Task, typename Base>
bool addsNothingTo()
{
    return std::is_base_of<Base, Task>::value && sizeof(Task) == sizeof(Base) && !std::is_abstract<Task>::value;
}

/// What no constructor of a policy's task changes.
QStringList freshState(ElementTask *task)
{
    return {QStringLiteral("flags %1").arg(task->flags()),
            QStringLiteral("cancel %1").arg(task->isCancelRequested()),
            QStringLiteral("state %1").arg(task->result().state()),
            QLatin1String("message ") + task->result().message()};
}

const QStringList untouched{
    QStringLiteral("flags 0"), QStringLiteral("cancel 0"), QStringLiteral("state 0"), QStringLiteral("message ")};
}

Q_DECLARE_METATYPE(MakeWithMap)
Q_DECLARE_METATYPE(MakeWithoutMap)

void ElementTaskTest::derivesAsDeclared()
{
    QVERIFY((std::is_base_of<AbstractTask, ElementTask>::value));
    QVERIFY(std::is_abstract<ElementTask>::value);
    QVERIFY((std::is_base_of<ElementTask, CreateTask>::value));
    QVERIFY((std::is_base_of<ElementTask, ReadContentTask>::value));
    QVERIFY((std::is_base_of<ElementTask, ReadPropertyHeavyTask>::value));
    QVERIFY((std::is_base_of<ElementTask, UpdateTask>::value));
    QVERIFY((std::is_base_of<ElementTask, DeleteTask>::value));
}

void ElementTaskTest::ownsTheGivenMap_data()
{
    QTest::addColumn<MakeWithMap>("make");

    QTest::newRow("create") << withMap<CreateTask>();
    QTest::newRow("update") << withMap<UpdateTask>();
}

void ElementTaskTest::ownsTheGivenMap()
{
    QFETCH(MakeWithMap, make);
    int context = 0;
    std::weak_ptr<int> life;
    QVariantMap *map = newWatchedMap(&life);
    {
        const std::unique_ptr<ElementTask> task = make(&context, map);
        task->run();
        task->cancel();
        QCOMPARE(task->context(), static_cast<void *>(&context));
        QCOMPARE(task->values(), map);
        QCOMPARE(task->result().state(), 0);
        QCOMPARE(task->isCancelRequested(), false);
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

void ElementTaskTest::startsWithoutMap_data()
{
    QTest::addColumn<MakeWithoutMap>("make");

    QTest::newRow("read content") << withoutMap<ReadContentTask>();
    QTest::newRow("read heavy properties") << withoutMap<ReadPropertyHeavyTask>();
    QTest::newRow("delete") << withoutMap<DeleteTask>();
}

void ElementTaskTest::startsWithoutMap()
{
    QFETCH(MakeWithoutMap, make);
    int context = 0;

    const std::unique_ptr<ElementTask> task = make(&context);
    task->run();
    task->cancel();

    QCOMPARE(task->context(), static_cast<void *>(&context));
    QCOMPARE(task->values(), nullptr);
    QCOMPARE(task->result().state(), 0);
    QCOMPARE(task->isCancelRequested(), false);
    QCOMPARE(make(nullptr)->context(), nullptr);
}

void ElementTaskTest::addsNothingToItsBase_data()
{
    QTest::addColumn<bool>("addsNothing");

    QTest::newRow("create") << addsNothingTo<CreateTask, ElementTask>();
    QTest::newRow("read content") << addsNothingTo<ReadContentTask, ElementTask>();
    QTest::newRow("read heavy properties") << addsNothingTo<ReadPropertyHeavyTask, ElementTask>();
    QTest::newRow("update") << addsNothingTo<UpdateTask, ElementTask>();
    QTest::newRow("delete") << addsNothingTo<DeleteTask, ElementTask>();
    QTest::newRow("read lockout") << addsNothingTo<LocalPolicyLockoutReadTask, ReadPropertyHeavyTask>();
    QTest::newRow("update lockout") << addsNothingTo<LocalPolicyLockoutUpdateTask, UpdateTask>();
    QTest::newRow("read complexity") << addsNothingTo<LocalPolicyPasswordComplexityReadTask, ReadPropertyHeavyTask>();
    QTest::newRow("update complexity") << addsNothingTo<LocalPolicyPasswordComplexityUpdateTask, UpdateTask>();
    QTest::newRow("read expiration") << addsNothingTo<LocalPolicyPasswordExpirationReadTask, ReadPropertyHeavyTask>();
    QTest::newRow("update expiration") << addsNothingTo<LocalPolicyPasswordExpirationUpdateTask, UpdateTask>();
    QTest::newRow("read account's expiration")
        << addsNothingTo<LocalUserPolicyPasswordExpirationReadTask, ReadPropertyHeavyTask>();
    QTest::newRow("update account's expiration")
        << addsNothingTo<LocalUserPolicyPasswordExpirationUpdateTask, UpdateTask>();
}

void ElementTaskTest::addsNothingToItsBase()
{
    QFETCH(bool, addsNothing);
    QVERIFY(addsNothing);
}

void ElementTaskTest::readsPolicyIntoMapOfItsOwn_data()
{
    QTest::addColumn<MakeWithoutMap>("make");

    QTest::newRow("lockout") << withoutMap<LocalPolicyLockoutReadTask>();
    QTest::newRow("complexity") << withoutMap<LocalPolicyPasswordComplexityReadTask>();
    QTest::newRow("expiration") << withoutMap<LocalPolicyPasswordExpirationReadTask>();
    QTest::newRow("account's expiration") << withoutMap<LocalUserPolicyPasswordExpirationReadTask>();
}

void ElementTaskTest::readsPolicyIntoMapOfItsOwn()
{
    QFETCH(MakeWithoutMap, make);
    int context = 0;

    const std::unique_ptr<ElementTask> task = make(&context);
    const std::unique_ptr<ElementTask> other = make(nullptr);

    QVERIFY(task->values());
    QCOMPARE(*task->values(), QVariantMap());
    QVERIFY(task->values() != other->values());
    QCOMPARE(freshState(task.get()), untouched);
    QCOMPARE(task->context(), static_cast<void *>(&context));
    QCOMPARE(other->context(), nullptr);
}

void ElementTaskTest::updatesPolicyFromTheGivenMap_data()
{
    QTest::addColumn<MakeWithMap>("make");

    QTest::newRow("lockout") << withMap<LocalPolicyLockoutUpdateTask>();
    QTest::newRow("complexity") << withMap<LocalPolicyPasswordComplexityUpdateTask>();
    QTest::newRow("expiration") << withMap<LocalPolicyPasswordExpirationUpdateTask>();
    QTest::newRow("account's expiration") << withMap<LocalUserPolicyPasswordExpirationUpdateTask>();
}

void ElementTaskTest::updatesPolicyFromTheGivenMap()
{
    QFETCH(MakeWithMap, make);
    int context = 0;
    std::weak_ptr<int> life;
    QVariantMap *map = newWatchedMap(&life);
    {
        const std::unique_ptr<ElementTask> task = make(&context, map);
        QCOMPARE(task->values(), map);
        QCOMPARE(map->keys(), QStringList{QStringLiteral("watched")});
        QCOMPARE(freshState(task.get()), untouched);
        QCOMPARE(task->context(), static_cast<void *>(&context));
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

namespace
{
template<typename Task>
MakeWithoutMap emptyUpdate()
{
    return [](void *context) {
        return std::make_unique<Task>(context, new QVariantMap);
    };
}

void addPolicyTasks()
{
    QTest::addColumn<MakeWithoutMap>("make");
    QTest::addColumn<QByteArray>("description");

    // each row has its task's name, which is the context too
    QTest::newRow("LocalPolicyLockoutReadTask")
        << withoutMap<LocalPolicyLockoutReadTask>() << QByteArray("Read default lockout account policy");
    QTest::newRow("LocalPolicyLockoutUpdateTask")
        << emptyUpdate<LocalPolicyLockoutUpdateTask>() << QByteArray("Update default lockout account policy");
    QTest::newRow("LocalPolicyPasswordComplexityReadTask")
        << withoutMap<LocalPolicyPasswordComplexityReadTask>() << QByteArray("Read default password complexity policy");
    QTest::newRow("LocalPolicyPasswordComplexityUpdateTask") << emptyUpdate<LocalPolicyPasswordComplexityUpdateTask>()
                                                             << QByteArray("Update default password complexity policy");
    QTest::newRow("LocalPolicyPasswordExpirationReadTask")
        << withoutMap<LocalPolicyPasswordExpirationReadTask>() << QByteArray("Read default password expiration policy");
    QTest::newRow("LocalPolicyPasswordExpirationUpdateTask") << emptyUpdate<LocalPolicyPasswordExpirationUpdateTask>()
                                                             << QByteArray("Update default password expiration policy");
    QTest::newRow("LocalUserPolicyPasswordExpirationReadTask")
        << withoutMap<LocalUserPolicyPasswordExpirationReadTask>()
        << QByteArray("Read user password expiration policy");
    QTest::newRow("LocalUserPolicyPasswordExpirationUpdateTask")
        << emptyUpdate<LocalUserPolicyPasswordExpirationUpdateTask>()
        << QByteArray("Update user password expiration policy");
}
}

void ElementTaskTest::describesPolicyInItsOwnContext_data()
{
    addPolicyTasks();
}

void ElementTaskTest::describesPolicyInItsOwnContext()
{
    QFETCH(MakeWithoutMap, make);
    QFETCH(QByteArray, description);
    const QString text = QString::fromLatin1(description);
    QCOMPARE(make(nullptr)->result().description(), text);

    const RecordingTranslator translator;
    const std::unique_ptr<ElementTask> task = make(nullptr);

    QCOMPARE(task->result().description(), QLatin1Char('[') + text + QLatin1Char(']'));
    QCOMPARE(translator.texts(), QList<TranslatedText>{TranslatedText(QTest::currentDataTag(), description)});
}

void ElementTaskTest::cancelsNoPolicy_data()
{
    addPolicyTasks();
}

void ElementTaskTest::cancelsNoPolicy()
{
    QFETCH(MakeWithoutMap, make);
    QFETCH(QByteArray, description);
    const std::unique_ptr<ElementTask> task = make(nullptr);

    task->cancel();

    QVERIFY(!task->requestCancel());
    QCOMPARE(freshState(task.get()), untouched);
    QCOMPARE(task->result().description(), QString::fromLatin1(description));
    QCOMPARE(*task->values(), QVariantMap());
}

QTEST_GUILESS_MAIN(ElementTaskTest)
#include "ElementTaskTest.moc"
