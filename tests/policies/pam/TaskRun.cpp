// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/TaskRun.h"

#include "tasks/AbstractTask.h"
#include "tests/support/FinishCounter.h"
#include "tests/support/TypedMap.h"

namespace
{
QStringList outcome(int state, const QString &message, const QVariantMap &values, int calls, int stateAtFinish)
{
    return QStringList{QStringLiteral("state %1").arg(state),
                       QLatin1String("message ") + message,
                       QStringLiteral("finished %1 times, in state %2").arg(calls).arg(stateAtFinish)}
    + typedEntries(values);
}
}

QStringList outcomeOfRun(AbstractTask *task)
{
    resetFinishCalls();
    task->run();
    return outcome(
        task->result().state(), task->result().message(), *task->values(), finishCalls(), stateAtLastFinish());
}

QStringList expectedOutcome(int state, const QString &message, const QVariantMap &values)
{
    return outcome(state, message, values, 1, state);
}
