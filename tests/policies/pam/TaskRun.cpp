// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/TaskRun.h"

#include "tasks/AbstractTask.h"
#include "tests/support/FinishCounter.h"
#include "tests/support/TypedMap.h"

namespace
{
/// What an outcome says of a description that is as it was before the run.
const QString kept = QStringLiteral("kept");

QStringList outcome(const FinishedTask &task, int calls, const FinishedTask &atFinish, const QString &description)
{
    const bool complete = atFinish.message == task.message && atFinish.values == task.values;
    return QStringList{QStringLiteral("state %1").arg(task.state),
                       QLatin1String("message ") + task.message,
                       QLatin1String("description ") + description,
                       QStringLiteral("finished %1 times, in state %2, %3")
                           .arg(QString::number(calls),
                                QString::number(atFinish.state),
                                complete ? QStringLiteral("complete") : QStringLiteral("too early"))}
    + typedEntries(task.values);
}
}

QStringList outcomeOfRun(AbstractTask *task)
{
    const QString description = task->result().description();
    resetFinishCalls();
    task->run();
    const TaskResult &result = task->result();
    return outcome({result.state(), result.message(), *task->values()},
                   finishCalls(),
                   lastFinished(),
                   result.description() == description ? kept : result.description());
}

QStringList expectedOutcome(int state, const QString &message, const QVariantMap &values)
{
    const FinishedTask task{state, message, values};
    return outcome(task, 1, task, kept);
}
