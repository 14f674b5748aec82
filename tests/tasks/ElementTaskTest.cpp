// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ElementTask.h"

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

QTEST_GUILESS_MAIN(ElementTaskTest)
#include "ElementTaskTest.moc"
