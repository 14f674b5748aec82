// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/AbstractTask.h"

#include "tests/support/VirtualSlot.h"
#include "tests/support/WatchedMap.h"

#include <QTest>

#include <type_traits>

namespace
{
class PlainTask : public AbstractTask
{
public:
    using AbstractTask::AbstractTask;

    void cancel() override
    {
        ++cancels;
    }

    void setFlags(quint64 flags)
    {
        m_flags = flags;
    }

    int cancels = 0;
};

/// Notes which of its operations are reached through the base.
class NotingTask : public AbstractTask
{
public:
    explicit NotingTask(QStringList *reached) : AbstractTask(nullptr), m_reached(reached)
    {
    }
    ~NotingTask() override
    {
        m_reached->append(QStringLiteral("destructor"));
    }

    void run() override
    {
        m_reached->append(QStringLiteral("run"));
    }
    void cancel() override
    {
        m_reached->append(QStringLiteral("cancel"));
    }
    void finish()
    {
        m_reached->append(QStringLiteral("finish"));
    }

private:
    Q_DISABLE_COPY_MOVE(NotingTask)

    QStringList *m_reached;
};
}

class AbstractTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAnAbstractRoot();
    void leavesAllButFinishToDerivedTasks();
    void keepsTheOrderOfItsVirtualFunctions();
    void startsUntouched();
    void hasNoMapWhereNoneIsGiven();
    void givesOutTheMapThatItOwns();
    void freesItsMapWithItself();
    void freesFormerMapOnce();
    void takesMapWhereItHadNone();
    void givesUpItsMapForNone();
    void freesEachOfSeveralMapsJustOnce();
    void freesTextsOfItsResult();
    void runsAndFinishesWithoutEffect();
    void finishesWithoutEffectOnItsOutcome();
    void changesItsResultInPlace();
    void cancelsOnlyWhereThatIsAllowed_data();
    void cancelsOnlyWhereThatIsAllowed();
    void notesRequestWithoutCancelling();
    void staysRequestedWhenNoLongerCancellable();
};

void AbstractTaskTest::isAnAbstractRoot()
{
    QVERIFY(std::is_abstract<AbstractTask>::value);
    QVERIFY(std::has_virtual_destructor<AbstractTask>::value);
    QVERIFY(!std::is_copy_constructible<AbstractTask>::value);
    QVERIFY(!std::is_copy_assignable<PlainTask>::value);
}

void AbstractTaskTest::leavesAllButFinishToDerivedTasks()
{
    QStringList reached;
    std::unique_ptr<AbstractTask> task = std::make_unique<NotingTask>(&reached);
    task->run();
    task->cancel();
    task->finish();
    task.reset();

    QCOMPARE(reached, QStringList({QStringLiteral("run"), QStringLiteral("cancel"), QStringLiteral("destructor")}));
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
    PlainTask task(new QVariantMap);

    QCOMPARE(task.flags(), quint64(0));
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(task.result().state(), 0);
    QCOMPARE(task.result().description(), QString());
    QCOMPARE(task.result().message(), QString());
}

void AbstractTaskTest::hasNoMapWhereNoneIsGiven()
{
    const PlainTask task(nullptr);

    QCOMPARE(task.values(), nullptr);
}

void AbstractTaskTest::givesOutTheMapThatItOwns()
{
    auto *map = new QVariantMap{{QStringLiteral("key"), 1}};
    const PlainTask task(map);

    QCOMPARE(task.values(), map);
    QCOMPARE(*task.values(), QVariantMap({{QStringLiteral("key"), 1}}));
}

void AbstractTaskTest::freesItsMapWithItself()
{
    std::weak_ptr<int> life;
    {
        const std::unique_ptr<AbstractTask> task = std::make_unique<PlainTask>(newWatchedMap(&life));
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

void AbstractTaskTest::freesFormerMapOnce()
{
    std::weak_ptr<int> former;
    std::weak_ptr<int> latter;
    {
        PlainTask task(newWatchedMap(&former));
        QVariantMap *map = newWatchedMap(&latter);
        task.setValues(map);
        QVERIFY(former.expired());
        QVERIFY(!latter.expired());
        QCOMPARE(task.values(), map);
    }
    QVERIFY(latter.expired());
}

void AbstractTaskTest::takesMapWhereItHadNone()
{
    std::weak_ptr<int> life;
    {
        PlainTask task(nullptr);
        task.setValues(newWatchedMap(&life));
        QVERIFY(!life.expired());
        QVERIFY(task.values());
    }
    QVERIFY(life.expired());
}

void AbstractTaskTest::givesUpItsMapForNone()
{
    std::weak_ptr<int> life;
    PlainTask task(newWatchedMap(&life));
    task.setValues(nullptr);

    QVERIFY(life.expired());
    QCOMPARE(task.values(), nullptr);
}

void AbstractTaskTest::freesEachOfSeveralMapsJustOnce()
{
    // the maps share its content: a map freed too often would take that away, one never freed would keep it
    const QVariantMap content{{QStringLiteral("key"), 1}};
    {
        PlainTask task(new QVariantMap(content));
        for (int i = 0; i < 5; ++i) {
            task.setValues(new QVariantMap(content));
            QVERIFY(!content.isDetached());
        }
        task.setValues(nullptr);
        QVERIFY(content.isDetached());
        task.setValues(new QVariantMap(content));
        QVERIFY(!content.isDetached());
    }
    QVERIFY(content.isDetached());
    QCOMPARE(content, QVariantMap({{QStringLiteral("key"), 1}}));
}

void AbstractTaskTest::freesTextsOfItsResult()
{
    // on the heap: literals are never freed
    const QString description(8, QLatin1Char('d'));
    const QString message(8, QLatin1Char('m'));
    {
        PlainTask task(nullptr);
        task.result().setDescription(description);
        task.result().setMessage(message);
        QVERIFY(!description.isDetached());
        QVERIFY(!message.isDetached());
    }
    QVERIFY(description.isDetached());
    QVERIFY(message.isDetached());
}

void AbstractTaskTest::runsAndFinishesWithoutEffect()
{
    PlainTask task(new QVariantMap{{QStringLiteral("key"), 1}});
    task.run();
    task.finish();
    task.cancel();

    QCOMPARE(task.result().state(), 0);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(*task.values(), QVariantMap({{QStringLiteral("key"), 1}}));
    QCOMPARE(task.isCancelRequested(), false);
}

void AbstractTaskTest::finishesWithoutEffectOnItsOutcome()
{
    PlainTask task(new QVariantMap{{QStringLiteral("key"), 1}});
    const QVariantMap *map = task.values();
    task.setFlags(AbstractTask::Cancellable);
    task.result().setDescription(QStringLiteral("title"));
    task.result().succeed(QStringLiteral("notice"));

    task.finish();

    QCOMPARE(task.result().description(), QStringLiteral("title"));
    QCOMPARE(task.result().state(), 3);
    QCOMPARE(task.result().message(), QStringLiteral("notice"));
    QVERIFY(task.values() == map);
    QCOMPARE(*map, QVariantMap({{QStringLiteral("key"), 1}}));
    QCOMPARE(task.flags(), quint64(1));
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(task.cancels, 0);
}

void AbstractTaskTest::changesItsResultInPlace()
{
    PlainTask task(nullptr);
    task.result().setState(TaskState::Succeeded);
    task.result().setMessage(QStringLiteral("text"));

    QCOMPARE(task.result().state(), 2);
    QCOMPARE(task.result().message(), QStringLiteral("text"));
}

void AbstractTaskTest::cancelsOnlyWhereThatIsAllowed_data()
{
    QTest::addColumn<quint64>("flags");
    QTest::addColumn<bool>("allowed");

    QTest::newRow("no flag") << quint64(0) << false;
    QTest::newRow("cancellable") << quint64(1) << true;
    QTest::newRow("other flags only") << ~quint64(1) << false;
    QTest::newRow("all flags") << ~quint64(0) << true;
}

void AbstractTaskTest::cancelsOnlyWhereThatIsAllowed()
{
    QFETCH(quint64, flags);
    QFETCH(bool, allowed);
    PlainTask task(nullptr);
    task.setFlags(flags);

    for (int i = 0; i < 2; ++i) {
        QCOMPARE(task.requestCancel(), allowed);
        QCOMPARE(task.isCancelRequested(), allowed);
        QCOMPARE(task.flags(), flags);
    }
}

void AbstractTaskTest::notesRequestWithoutCancelling()
{
    PlainTask task(nullptr);
    task.setFlags(AbstractTask::Cancellable);

    QVERIFY(task.requestCancel());

    QCOMPARE(task.cancels, 0);
    QCOMPARE(task.result().state(), 0);
}

void AbstractTaskTest::staysRequestedWhenNoLongerCancellable()
{
    PlainTask task(nullptr);
    task.setFlags(AbstractTask::Cancellable);
    QVERIFY(task.requestCancel());
    task.setFlags(0);

    QVERIFY(!task.requestCancel());

    QVERIFY(task.isCancelRequested());
}

QTEST_GUILESS_MAIN(AbstractTaskTest)
#include "AbstractTaskTest.moc"
