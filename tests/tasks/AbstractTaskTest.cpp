// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/AbstractTask.h"

#include "tests/support/Rows.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <type_traits>

namespace
{
/// Notes which of its operations are reached.
class NotingTask : public AbstractTask
{
public:
    explicit NotingTask(QVariantMap *values, QStringList *reached = nullptr) : AbstractTask(values), m_reached(reached)
    {
    }
    ~NotingTask() override
    {
        note("destructor");
    }

    void run() override
    {
        AbstractTask::run();
        note("run");
    }
    void cancel() override
    {
        note("cancel");
    }
    void finish()
    {
        note("finish");
    }

    void setFlags(quint64 flags)
    {
        m_flags = flags;
    }

private:
    Q_DISABLE_COPY_MOVE(NotingTask)

    void note(const char *what)
    {
        if (m_reached) {
            m_reached->append(QLatin1String(what));
        }
    }

    QStringList *m_reached;
};

static_assert(std::is_abstract_v<AbstractTask> && std::has_virtual_destructor_v<AbstractTask>);
static_assert(!std::is_copy_constructible_v<AbstractTask> && !std::is_copy_assignable_v<AbstractTask>);
static_assert(AbstractTask::Cancellable == 1);

/// Everything that can be seen of a task.
QStringList stateOf(AbstractTask *task)
{
    return QStringList{QStringLiteral("flags %1").arg(task->flags()),
                       QStringLiteral("cancel %1").arg(task->isCancelRequested()),
                       QStringLiteral("state %1").arg(task->result().state()),
                       QLatin1String("description ") + task->result().description(),
                       QLatin1String("message ") + task->result().message()}
    + typedEntries(*task->values());
}

QVariantMap *newMap()
{
    return new QVariantMap{{QStringLiteral("key"), 1}};
}
}

class AbstractTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void leavesAllButFinishToDerivedTasks();
    void keepsTheOrderOfItsVirtualFunctions();
    void startsUntouched();
    void runsAndFinishesWithoutEffect();
    void ownsOneMapAtATime();
    void freesTextsOfItsResult();
    void cancelsOnlyWhereThatIsAllowed_data();
    void cancelsOnlyWhereThatIsAllowed();
};

void AbstractTaskTest::leavesAllButFinishToDerivedTasks()
{
    QStringList reached;
    std::unique_ptr<AbstractTask> task = std::make_unique<NotingTask>(nullptr, &reached);
    task->run();
    task->cancel();
    task->finish();
    task.reset();

    QCOMPARE(reached, texts({"run", "cancel", "destructor"}));
}

void AbstractTaskTest::keepsTheOrderOfItsVirtualFunctions()
{
    // two for the destructor, which comes first
    const std::ptrdiff_t slot = sizeof(void *);
    QCOMPARE(virtualSlotOf(&AbstractTask::cancel) - virtualSlotOf(&AbstractTask::run), slot);
    QCOMPARE(virtualSlotOf(&AbstractTask::run) & ~(slot - 1), 2 * slot);
}

void AbstractTaskTest::startsUntouched()
{
    QVariantMap *map = newMap();
    NotingTask task(map);

    QCOMPARE(task.values(), map);
    QCOMPARE(stateOf(&task), texts({"flags 0", "cancel 0", "state 0", "description ", "message ", "key: int 1"}));
    QCOMPARE(NotingTask(nullptr).values(), nullptr);
}

void AbstractTaskTest::runsAndFinishesWithoutEffect()
{
    QStringList reached;
    NotingTask task(newMap(), &reached);
    const QVariantMap *map = task.values();
    task.setFlags(AbstractTask::Cancellable);
    task.result().setDescription(QStringLiteral("title"));
    task.result().succeed(QStringLiteral("notice"));
    const QStringList before =
        texts({"flags 1", "cancel 0", "state 3", "description title", "message notice", "key: int 1"});
    QCOMPARE(stateOf(&task), before);

    task.AbstractTask::run();
    task.AbstractTask::finish();

    QCOMPARE(stateOf(&task), before);
    QVERIFY(task.values() == map);
    QCOMPARE(reached, QStringList());
}

void AbstractTaskTest::ownsOneMapAtATime()
{
    std::weak_ptr<int> former;
    std::weak_ptr<int> latter;
    {
        const std::unique_ptr<AbstractTask> task = std::make_unique<NotingTask>(newWatchedMap(&former));
        QVERIFY(!former.expired());
        task->setValues(nullptr);
        QVERIFY(former.expired());
        QCOMPARE(task->values(), nullptr);

        task->setValues(newWatchedMap(&former));
        QVariantMap *map = newWatchedMap(&latter);
        task->setValues(map);
        QVERIFY(former.expired());
        QVERIFY(!latter.expired());
        QCOMPARE(task->values(), map);
    }
    QVERIFY(latter.expired());
}

void AbstractTaskTest::freesTextsOfItsResult()
{
    // on the heap: literals are never freed
    const QString description(8, QLatin1Char('d'));
    const QString message(8, QLatin1Char('m'));
    {
        NotingTask task(nullptr);
        task.result().setDescription(description);
        task.result().setMessage(message);
        QVERIFY(!description.isDetached());
        QVERIFY(!message.isDetached());
    }
    QVERIFY(description.isDetached());
    QVERIFY(message.isDetached());
}

void AbstractTaskTest::cancelsOnlyWhereThatIsAllowed_data()
{
    const Rows<quint64, bool> row("flags", "allowed");
    row("no flag", quint64(0), false);
    row("cancellable", quint64(1), true);
    row("other flags only", ~quint64(1), false);
    row("all flags", ~quint64(0), true);
}

void AbstractTaskTest::cancelsOnlyWhereThatIsAllowed()
{
    QFETCH(quint64, flags);
    QFETCH(bool, allowed);
    QStringList reached;
    NotingTask task(nullptr, &reached);
    task.setFlags(flags);

    for (int i = 0; i < 2; ++i) {
        QCOMPARE(task.requestCancel(), allowed);
        QCOMPARE(task.isCancelRequested(), allowed);
        QCOMPARE(task.flags(), flags);
        QCOMPARE(task.result().state(), 0);
    }
    // it is a request, and no more; and is not taken back
    QCOMPARE(reached, QStringList());
    task.setFlags(0);
    QCOMPARE(task.requestCancel(), false);
    QCOMPARE(task.isCancelRequested(), allowed);
}

QTEST_GUILESS_MAIN(AbstractTaskTest)
#include "AbstractTaskTest.moc"
