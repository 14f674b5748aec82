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
#include "tests/support/Rows.h"
#include "tests/support/Texts.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <functional>
#include <type_traits>

namespace
{
/// What a task's values are after its construction.
enum class Map { None, OfItsOwn, Given };

/// Makes a task; where it takes no map, the given one is freed.
using Make = std::function<std::unique_ptr<ElementTask>(void *context, QVariantMap *given)>;

template<typename Task>
std::unique_ptr<ElementTask> make(void *context, QVariantMap *given)
{
    constexpr bool takesMap = std::is_constructible_v<Task, void *, QVariantMap *>;
    static_assert(takesMap != std::is_constructible_v<Task, void *>);
    if constexpr (takesMap) {
        return std::make_unique<Task>(context, given);
    } else {
        delete given;
        return std::make_unique<Task>(context);
    }
}

/// A row for a task that is made of its base and nothing else. A policy's has a title, in the context of its name.
template<typename Task, typename Base>
void addTask(const char *name, Map map, const char *title = "")
{
    static_assert(std::is_base_of_v<Base, Task> && sizeof(Task) == sizeof(Base) && !std::is_abstract_v<Task>);
    QTest::newRow(name) << Make(make<Task>) << map << QByteArray(title);
}

static_assert(std::is_base_of_v<AbstractTask, ElementTask> && std::is_abstract_v<ElementTask>);

/// What no constructor changes, and no cancelling.
QStringList stateOf(ElementTask *task)
{
    return {QStringLiteral("flags %1").arg(task->flags()),
            QStringLiteral("cancel %1").arg(task->isCancelRequested()),
            QStringLiteral("state %1").arg(task->result().state()),
            QLatin1String("message ") + task->result().message(),
            task->result().description()};
}
}

Q_DECLARE_METATYPE(Make)
Q_DECLARE_METATYPE(Map)

class ElementTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsAndCancelsAsItsKindDoes_data();
    void startsAndCancelsAsItsKindDoes();
};

void ElementTaskTest::startsAndCancelsAsItsKindDoes_data()
{
    const Rows<Make, Map, QByteArray> row("make", "map", "title");
    addTask<CreateTask, ElementTask>("CreateTask", Map::Given);
    addTask<ReadContentTask, ElementTask>("ReadContentTask", Map::None);
    addTask<ReadPropertyHeavyTask, ElementTask>("ReadPropertyHeavyTask", Map::None);
    addTask<UpdateTask, ElementTask>("UpdateTask", Map::Given);
    addTask<DeleteTask, ElementTask>("DeleteTask", Map::None);
    addTask<LocalPolicyLockoutReadTask, ReadPropertyHeavyTask>(
        "LocalPolicyLockoutReadTask", Map::OfItsOwn, "Read default lockout account policy");
    addTask<LocalPolicyLockoutUpdateTask, UpdateTask>(
        "LocalPolicyLockoutUpdateTask", Map::Given, "Update default lockout account policy");
    addTask<LocalPolicyPasswordComplexityReadTask, ReadPropertyHeavyTask>(
        "LocalPolicyPasswordComplexityReadTask", Map::OfItsOwn, "Read default password complexity policy");
    addTask<LocalPolicyPasswordComplexityUpdateTask, UpdateTask>(
        "LocalPolicyPasswordComplexityUpdateTask", Map::Given, "Update default password complexity policy");
    addTask<LocalPolicyPasswordExpirationReadTask, ReadPropertyHeavyTask>(
        "LocalPolicyPasswordExpirationReadTask", Map::OfItsOwn, "Read default password expiration policy");
    addTask<LocalPolicyPasswordExpirationUpdateTask, UpdateTask>(
        "LocalPolicyPasswordExpirationUpdateTask", Map::Given, "Update default password expiration policy");
    addTask<LocalUserPolicyPasswordExpirationReadTask, ReadPropertyHeavyTask>(
        "LocalUserPolicyPasswordExpirationReadTask", Map::OfItsOwn, "Read user password expiration policy");
    addTask<LocalUserPolicyPasswordExpirationUpdateTask, UpdateTask>(
        "LocalUserPolicyPasswordExpirationUpdateTask", Map::Given, "Update user password expiration policy");
}

void ElementTaskTest::startsAndCancelsAsItsKindDoes()
{
    QFETCH(Make, make);
    QFETCH(Map, map);
    QFETCH(QByteArray, title);
    const bool isPolicy = !title.isEmpty();
    const QString description = isPolicy ? QStringLiteral("[%1]").arg(QLatin1String(title)) : QString();
    const TranslatedText text(QTest::currentDataTag(), title);
    int context = 0;
    std::weak_ptr<int> life;
    QVariantMap *given = newWatchedMap(&life);
    {
        const RecordingTranslator translator;
        const std::unique_ptr<ElementTask> task = make(&context, given);
        QCOMPARE(translator.texts(), isPolicy ? QList<TranslatedText>{text} : QList<TranslatedText>());
        const QStringList untouched = stateOf(task.get());
        QCOMPARE(untouched, texts({"flags 0", "cancel 0", "state 0", "message "}) << description);

        task->cancel();
        if (!isPolicy) {
            task->run();
        }

        QVERIFY(!task->requestCancel());
        QCOMPARE(stateOf(task.get()), untouched);
        QCOMPARE(task->context(), static_cast<void *>(&context));
        QCOMPARE(life.expired(), map != Map::Given);
        const std::unique_ptr<ElementTask> other = make(nullptr, nullptr);
        QCOMPARE(other->context(), nullptr);
        if (map == Map::None) {
            QCOMPARE(task->values(), nullptr);
        } else if (map == Map::Given) {
            QCOMPARE(task->values(), given);
            QCOMPARE(given->keys(), texts({"watched"}));
        } else {
            QVERIFY(task->values() != other->values());
            QCOMPARE(*task->values(), QVariantMap());
        }
    }
    QVERIFY(life.expired());
}

QTEST_GUILESS_MAIN(ElementTaskTest)
#include "ElementTaskTest.moc"
