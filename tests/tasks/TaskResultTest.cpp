// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/TaskResult.h"

#include "tests/support/Rows.h"
#include "tests/support/Texts.h"

#include <QTest>

#include <functional>
#include <type_traits>

namespace
{
using Change = std::function<void(TaskResult *)>;

// how other code may call it, and through which member pointers
static_assert(std::is_same_v<decltype(&TaskResult::setState), void (TaskResult::*)(const int &)>);
static_assert(std::is_same_v<decltype(&TaskResult::state), int (TaskResult::*)() const>);
static_assert(std::is_same_v<decltype(&TaskResult::setDescription), void (TaskResult::*)(const QString &)>);
static_assert(std::is_same_v<decltype(&TaskResult::description), QString (TaskResult::*)() const>);
static_assert(std::is_same_v<decltype(&TaskResult::setMessage), void (TaskResult::*)(const QString &)>);
static_assert(std::is_same_v<decltype(&TaskResult::message), QString (TaskResult::*)() const>);

static_assert(TaskState::NotStarted == 0 && TaskState::Failed == 1 && TaskState::Succeeded == 2
              && TaskState::SucceededWithNotice == 3);

TaskResult filled()
{
    TaskResult result;
    result.setDescription(QStringLiteral("title"));
    result.setState(TaskState::Failed);
    result.setMessage(QStringLiteral("reason"));
    return result;
}

QStringList members(const TaskResult &result)
{
    return {result.description(), QString::number(result.state()), result.message()};
}
}

Q_DECLARE_METATYPE(Change)

class TaskResultTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesWhatIsNamedAlone_data();
    void changesWhatIsNamedAlone();
    void copiesAllMembers();
};

void TaskResultTest::changesWhatIsNamedAlone_data()
{
    const Rows<Change, QStringList, QStringList> row("change", "fromFresh", "fromFilled");
    // clang-format off
    row("nothing", [](TaskResult *) {}, texts({"", "0", ""}), texts({"title", "1", "reason"}));
    row("description", [](TaskResult *result) { result->setDescription(QStringLiteral("a")); },
        texts({"a", "0", ""}), texts({"a", "1", "reason"}));
    row("message", [](TaskResult *result) { result->setMessage(QStringLiteral("a")); },
        texts({"", "0", "a"}), texts({"title", "1", "a"}));
    row("failure", [](TaskResult *result) { result->fail(QStringLiteral("a")); },
        texts({"", "1", "a"}), texts({"title", "1", "a"}));
    row("success", [](TaskResult *result) { result->succeed(QString()); },
        texts({"", "2", ""}), texts({"title", "2", ""}));
    row("success with a notice", [](TaskResult *result) { result->succeed(QStringLiteral("a")); },
        texts({"", "3", "a"}), texts({"title", "3", "a"}));
    // what a state means is up to those who read it
    for (const char *state : {"0", "1", "2", "3", "-7"}) {
        row(state, [state](TaskResult *result) { result->setState(QByteArray(state).toInt()); },
            texts({"", state, ""}), texts({"title", state, "reason"}));
    }
    // clang-format on
}

void TaskResultTest::changesWhatIsNamedAlone()
{
    QFETCH(Change, change);
    TaskResult fresh;
    TaskResult result = filled();

    change(&fresh);
    change(&result);

    QTEST(members(fresh), "fromFresh");
    QTEST(members(result), "fromFilled");
}

void TaskResultTest::copiesAllMembers()
{
    const TaskResult original = filled();
    const TaskResult copy(original);
    TaskResult assigned;
    assigned = original;
    TaskResult same = filled();
    const TaskResult &itself = same;
    same = itself;

    for (const TaskResult &result : {copy, assigned, same}) {
        QCOMPARE(members(result), members(original));
    }
    assigned.setMessage(QStringLiteral("other"));
    QCOMPARE(members(original), members(filled()));
    assigned = TaskResult();
    QCOMPARE(members(assigned), texts({"", "0", ""}));
}

QTEST_GUILESS_MAIN(TaskResultTest)
#include "TaskResultTest.moc"
