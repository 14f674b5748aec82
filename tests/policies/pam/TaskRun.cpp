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

QStringList outcome(int state,
                    const QString &message,
                    const QVariantMap &values,
                    int calls,
                    int stateAtFinish,
                    const QString &description)
{
    return QStringList{QStringLiteral("state %1").arg(state),
                       QLatin1String("message ") + message,
                       QLatin1String("description ") + description,
                       QStringLiteral("finished %1 times, in state %2").arg(calls).arg(stateAtFinish)}
    + typedEntries(values);
}
}

QStringList outcomeOfRun(AbstractTask *task)
{
    const QString description = task->result().description();
    resetFinishCalls();
    task->run();
    const TaskResult &result = task->result();
    return outcome(result.state(),
                   result.message(),
                   *task->values(),
                   finishCalls(),
                   stateAtLastFinish(),
                   result.description() == description ? kept : result.description());
}

QStringList expectedOutcome(int state, const QString &message, const QVariantMap &values)
{
    return outcome(state, message, values, 1, state, kept);
}
