// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/ReplyBuilder.h"

#include "tasks/AbstractTask.h"
#include "tests/support/TypedMap.h"

#include <QTest>

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

QTEST_GUILESS_MAIN(ReplyBuilderTest)
#include "ReplyBuilderTest.moc"
