// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/ReplyBuilder.h"

#include "tasks/AbstractTask.h"
#include "tests/support/TypedMap.h"

#include <QTest>

#include <functional>

namespace
{
/// Ends in a state of the test's choice, with an outcome that was not there before its run.
class FakeTask : public AbstractTask
{
public:
    FakeTask(const QVariantMap &values, int state) : AbstractTask(new QVariantMap(values)), m_state(state)
    {
        result().setDescription(QStringLiteral("title"));
    }

    void run() override
    {
        ++runs;
        values()->insert(QStringLiteral("read"), 7);
        result().setMessage(QStringLiteral("text"));
        result().setState(m_state);
    }

    void cancel() override
    {
    }

    int runs = 0;

private:
    int m_state;
};

/// Runs as the test says, and notes whether it is cancelled.
class ScriptedTask : public AbstractTask
{
public:
    explicit ScriptedTask(const QVariantMap &values, std::function<void(AbstractTask *)> work)
        : AbstractTask(new QVariantMap(values)), m_work(std::move(work))
    {
        m_flags = Cancellable;
    }

    void run() override
    {
        m_work(this);
    }

    void cancel() override
    {
        ++cancels;
    }

    int cancels = 0;

private:
    std::function<void(AbstractTask *)> m_work;
};

QVariantMap replyOf(const QVariantMap &values, std::function<void(AbstractTask *)> work)
{
    ScriptedTask task(values, std::move(work));
    return buildReply(&task);
}

void succeed(AbstractTask *task)
{
    task->result().succeed(QString());
}

void failWithoutTexts(AbstractTask *task)
{
    task->result().fail(QString());
}

QVariantMap callersMap()
{
    return {{QStringLiteral("error"), QStringLiteral("mine")},
            {QStringLiteral("description"), 1},
            {QStringLiteral("message"), QByteArray("mine")},
            {QStringLiteral("deny"), qlonglong(5)}};
}
}

class ReplyBuilderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersByStateAlone_data();
    void answersByStateAlone();
    void removesEveryErrorEntryOfSuccess();
    void addsNothingToEmptySuccess();
    void leavesTheTaskItsValues();
    void takesTheMapThatTheRunPutInPlace();
    void takesTheOutcomeOfTheRun();
    void asksForTheRunOnly_data();
    void asksForTheRunOnly();
    void addsEmptyTextsToFailure();
    void hasItsOwnErrorFirstInFailure();
    void removesNoOtherKey();
    void keepsEveryTypeOfValue_data();
    void keepsEveryTypeOfValue();
};

void ReplyBuilderTest::answersByStateAlone_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("entries");

    const QStringList success{QStringLiteral("deny: qlonglong 5"),
                              QStringLiteral("description: int 1"),
                              QStringLiteral("message: QByteArray mine"),
                              QStringLiteral("read: int 7")};
    const QStringList failure{QStringLiteral("deny: qlonglong 5"),
                              QStringLiteral("description: QString title"),
                              QStringLiteral("error: bool true"),
                              QStringLiteral("message: QString text"),
                              QStringLiteral("read: int 7")};
    QTest::newRow("not started") << 0 << success;
    QTest::newRow("failed") << 1 << failure;
    QTest::newRow("succeeded") << 2 << success;
    QTest::newRow("succeeded with a notice") << 3 << success;
    QTest::newRow("no known state") << 4 << success;
    QTest::newRow("no known state, odd") << 5 << success;
    QTest::newRow("no known state, negative") << -1 << success;
}

void ReplyBuilderTest::answersByStateAlone()
{
    QFETCH(int, state);
    QFETCH(QStringList, entries);
    FakeTask task(callersMap(), state);

    const QVariantMap reply = buildReply(&task);

    QCOMPARE(typedEntries(reply), entries);
    QCOMPARE(task.runs, 1);
}

void ReplyBuilderTest::removesEveryErrorEntryOfSuccess()
{
    QVariantMap values;
    QMultiMap<QString, QVariant> more;
    more.insert(QStringLiteral("error"), 1);
    more.insert(QStringLiteral("error"), 2);
    static_cast<QMap<QString, QVariant> &>(values) = more;
    QCOMPARE(values.count(QStringLiteral("error")), 2);
    FakeTask task(values, TaskState::Succeeded);

    QCOMPARE(typedEntries(buildReply(&task)), QStringList{QStringLiteral("read: int 7")});
}

void ReplyBuilderTest::addsNothingToEmptySuccess()
{
    FakeTask task({}, TaskState::SucceededWithNotice);

    QCOMPARE(typedEntries(buildReply(&task)), QStringList{QStringLiteral("read: int 7")});
}

void ReplyBuilderTest::leavesTheTaskItsValues()
{
    FakeTask task(callersMap(), TaskState::Failed);
    QVariantMap expected = callersMap();
    expected.insert(QStringLiteral("read"), 7);

    buildReply(&task);

    QCOMPARE(typedEntries(*task.values()), typedEntries(expected));
}

void ReplyBuilderTest::takesTheMapThatTheRunPutInPlace()
{
    // a new one with another content at another address: the old one is gone by then
    ScriptedTask task({{QStringLiteral("old"), 1}}, [](AbstractTask *self) {
        auto *map = new QVariantMap{{QStringLiteral("new"), 2}};
        self->setValues(map);
        succeed(self);
    });

    QCOMPARE(typedEntries(buildReply(&task)), QStringList{QStringLiteral("new: int 2")});
}

void ReplyBuilderTest::takesTheOutcomeOfTheRun()
{
    ScriptedTask failing({}, [](AbstractTask *self) {
        self->result().setDescription(QStringLiteral("later title"));
        self->result().fail(QStringLiteral("later text"));
    });
    failing.result().setDescription(QStringLiteral("title"));
    ScriptedTask succeeding({}, succeed);
    succeeding.result().fail(QStringLiteral("text"));

    QCOMPARE(typedEntries(buildReply(&failing)),
             QStringList({QStringLiteral("description: QString later title"),
                          QStringLiteral("error: bool true"),
                          QStringLiteral("message: QString later text")}));
    QCOMPARE(typedEntries(buildReply(&succeeding)), QStringList());
}

void ReplyBuilderTest::asksForTheRunOnly_data()
{
    QTest::addColumn<int>("state");

    QTest::newRow("not started") << 0;
    QTest::newRow("failed") << 1;
    QTest::newRow("succeeded") << 2;
    QTest::newRow("succeeded with a notice") << 3;
}

void ReplyBuilderTest::asksForTheRunOnly()
{
    QFETCH(int, state);
    ScriptedTask task({}, [state](AbstractTask *self) {
        self->result().setDescription(QStringLiteral("title"));
        self->result().setState(state);
        self->result().setMessage(QStringLiteral("text"));
    });

    buildReply(&task);

    QCOMPARE(task.cancels, 0);
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(task.result().description(), QStringLiteral("title"));
    QCOMPARE(task.result().state(), state);
    QCOMPARE(task.result().message(), QStringLiteral("text"));
}

void ReplyBuilderTest::addsEmptyTextsToFailure()
{
    QCOMPARE(typedEntries(replyOf({}, failWithoutTexts)),
             QStringList({QStringLiteral("description: QString "),
                          QStringLiteral("error: bool true"),
                          QStringLiteral("message: QString ")}));
}

void ReplyBuilderTest::hasItsOwnErrorFirstInFailure()
{
    QMultiMap<QString, QVariant> values;
    values.insert(QStringLiteral("error"), 1);
    values.insert(QStringLiteral("error"), 2);

    const QVariant error = replyOf(QVariantMap(values), failWithoutTexts).value(QStringLiteral("error"));

    QCOMPARE(error.userType(), int(QMetaType::Bool));
    QCOMPARE(error.toBool(), true);
}

void ReplyBuilderTest::removesNoOtherKey()
{
    const QVariantMap values{{QString(), 1},
                             {QStringLiteral("Error"), 2},
                             {QStringLiteral("error "), 3},
                             {QStringLiteral("errors"), 4},
                             {QStringLiteral("inner"), QVariantMap{{QStringLiteral("error"), true}}}};

    QCOMPARE(replyOf(values, succeed), values);
}

void ReplyBuilderTest::keepsEveryTypeOfValue_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("nothing") << QVariant();
    QTest::newRow("64 bits") << QVariant(Q_INT64_C(3000000000));
    QTest::newRow("double") << QVariant(0.5);
    QTest::newRow("bytes with NUL") << QVariant(QByteArray("a\0b", 3));
    QTest::newRow("text with placeholder") << QVariant(QStringLiteral("%1"));
    QTest::newRow("list") << QVariant(QVariantList{1, QStringLiteral("two")});
}

void ReplyBuilderTest::keepsEveryTypeOfValue()
{
    QFETCH(QVariant, value);
    const QString key = QStringLiteral("key");

    for (const auto &work : {succeed, failWithoutTexts}) {
        const QVariantMap reply = replyOf({{key, value}}, work);
        QVERIFY(reply.contains(key));
        QCOMPARE(reply.value(key).userType(), value.userType());
        QCOMPARE(reply.value(key), value);
    }
}

QTEST_GUILESS_MAIN(ReplyBuilderTest)
#include "ReplyBuilderTest.moc"
