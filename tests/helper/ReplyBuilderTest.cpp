// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/ReplyBuilder.h"

#include "tasks/AbstractTask.h"
#include "tests/support/Rows.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"

#include <QTest>

#include <functional>

namespace
{
using Work = std::function<void(AbstractTask *)>;

/// Runs as the test says, and notes what is asked of it.
class ScriptedTask : public AbstractTask
{
public:
    ScriptedTask(const QVariantMap &values, Work work) : AbstractTask(new QVariantMap(values)), m_work(std::move(work))
    {
        m_flags = Cancellable;
        result().setDescription(QStringLiteral("title"));
    }

    void run() override
    {
        calls += QStringLiteral("run");
        m_work(this);
    }
    void cancel() override
    {
        calls += QStringLiteral("cancel");
    }

    QStringList calls;

private:
    Work m_work;
};

/// Ends in that state, with an outcome that was not there before.
Work endingIn(int state)
{
    return [state](AbstractTask *task) {
        task->values()->insert(QStringLiteral("read"), 7);
        task->result().setMessage(QStringLiteral("text"));
        task->result().setState(state);
    };
}

QVariantMap replyOf(const QVariantMap &values, const Work &work)
{
    ScriptedTask task(values, work);
    return buildReply(&task);
}

QVariantMap callersMap()
{
    return {{QStringLiteral("error"), QStringLiteral("mine")},
            {QStringLiteral("description"), 1},
            {QStringLiteral("message"), QByteArray("mine")},
            {QStringLiteral("deny"), qlonglong(5)}};
}

/// A map in which "error" stands twice; with Qt 6 no map can have that, and the later one replaces the other.
QVariantMap twoErrors()
{
#if QT_VERSION_MAJOR >= 6
    return {{QStringLiteral("error"), 2}};
#else
    QMultiMap<QString, QVariant> values;
    values.insert(QStringLiteral("error"), 1);
    values.insert(QStringLiteral("error"), 2);
    return QVariantMap(values);
#endif
}
}

class ReplyBuilderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersByStateAlone_data();
    void answersByStateAlone();
    void removesEveryErrorEntryOfSuccess();
    void hasItsOwnErrorFirstInFailure();
    void takesTheMapThatTheRunPutInPlace();
    void takesTheOutcomeOfTheRun();
    void keepsEveryOtherKeyAndType();
};

void ReplyBuilderTest::answersByStateAlone_data()
{
    const Rows<int, QStringList> row("state", "entries");
    const QStringList success =
        texts({"deny: qlonglong 5", "description: int 1", "message: QByteArray mine", "read: int 7"});
    const QStringList failure = texts({"deny: qlonglong 5",
                                       "description: QString title",
                                       "error: bool true",
                                       "message: QString text",
                                       "read: int 7"});
    row("not started", 0, success);
    row("failed", 1, failure);
    row("succeeded", 2, success);
    row("succeeded with a notice", 3, success);
    row("no known state", 4, success);
    row("no known state, odd", 5, success);
    row("no known state, negative", -1, success);
}

void ReplyBuilderTest::answersByStateAlone()
{
    QFETCH(int, state);
    ScriptedTask task(callersMap(), endingIn(state));
    QVariantMap left = callersMap();
    left.insert(QStringLiteral("read"), 7);

    QTEST(typedEntries(buildReply(&task)), "entries");

    QCOMPARE(task.calls, texts({"run"}));
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(task.result().description(), QStringLiteral("title"));
    QCOMPARE(task.result().state(), state);
    QCOMPARE(task.result().message(), QStringLiteral("text"));
    QCOMPARE(typedEntries(*task.values()), typedEntries(left));
}

void ReplyBuilderTest::removesEveryErrorEntryOfSuccess()
{
    QCOMPARE(twoErrors().count(QStringLiteral("error")), QT_VERSION_MAJOR >= 6 ? 1 : 2);

    QCOMPARE(typedEntries(replyOf(twoErrors(), endingIn(TaskState::Succeeded))), texts({"read: int 7"}));
}

void ReplyBuilderTest::hasItsOwnErrorFirstInFailure()
{
    const QVariant error = replyOf(twoErrors(), endingIn(TaskState::Failed)).value(QStringLiteral("error"));

    QCOMPARE(error.userType(), int(QMetaType::Bool));
    QCOMPARE(error.toBool(), true);
}

void ReplyBuilderTest::takesTheMapThatTheRunPutInPlace()
{
    // a new one with another content at another address: the old one is gone by then
    const QVariantMap reply = replyOf({{QStringLiteral("old"), 1}}, [](AbstractTask *self) {
        self->setValues(new QVariantMap{{QStringLiteral("new"), 2}});
    });

    QCOMPARE(typedEntries(reply), texts({"new: int 2"}));
}

void ReplyBuilderTest::takesTheOutcomeOfTheRun()
{
    const QVariantMap failure = replyOf({}, [](AbstractTask *self) {
        self->result().setDescription(QString());
        self->result().fail(QString());
    });
    ScriptedTask succeeding({}, endingIn(TaskState::SucceededWithNotice));
    succeeding.result().fail(QStringLiteral("earlier"));

    QCOMPARE(typedEntries(failure), texts({"description: QString ", "error: bool true", "message: QString "}));
    QCOMPARE(typedEntries(buildReply(&succeeding)), texts({"read: int 7"}));
}

void ReplyBuilderTest::keepsEveryOtherKeyAndType()
{
    const QVariantMap values{{QString(), 1},
                             {QStringLiteral("Error"), 2},
                             {QStringLiteral("error "), 3},
                             {QStringLiteral("errors"), 4},
                             {QStringLiteral("inner"), QVariantMap{{QStringLiteral("error"), true}}},
                             {QStringLiteral("nothing"), QVariant()},
                             {QStringLiteral("64 bits"), Q_INT64_C(3000000000)},
                             {QStringLiteral("double"), 0.5},
                             {QStringLiteral("bytes with NUL"), QByteArray("a\0b", 3)},
                             {QStringLiteral("placeholder"), QStringLiteral("%1")},
                             {QStringLiteral("list"), QVariantList{1, QStringLiteral("two")}}};
    for (const int state : {TaskState::Failed, TaskState::Succeeded}) {
        const QVariantMap reply = replyOf(values, endingIn(state));
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            QVERIFY2(reply.contains(it.key()), qPrintable(it.key()));
            QCOMPARE(reply.value(it.key()).userType(), it->userType());
            QCOMPARE(reply.value(it.key()), *it);
        }
        QCOMPARE(reply.size(), values.size() + (state == TaskState::Failed ? 4 : 1));
    }
}

QTEST_GUILESS_MAIN(ReplyBuilderTest)
#include "ReplyBuilderTest.moc"
