// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/LocalTasks.h"

#include "client/stores/AccountsLock.h"
#include "client/stores/TaskOutcome.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "policies/machine/HelperSurroundings.h"

#include <memory>

namespace
{
template<typename Task>
std::unique_ptr<AbstractTask> makeReadTask()
{
    return std::make_unique<Task>(nullptr);
}

template<typename Task>
std::unique_ptr<AbstractTask> makeUpdateTask(const Settings &settings)
{
    return std::make_unique<Task>(nullptr, std::make_unique<QVariantMap>(settings).release());
}

std::unique_ptr<AbstractTask> readTaskOf(const QString &policy)
{
    static const QMap<QString, std::unique_ptr<AbstractTask> (*)()> makers{
        {QStringLiteral("lockout"), makeReadTask<LocalPolicyLockoutReadTask>},
        {QStringLiteral("complexity"), makeReadTask<LocalPolicyPasswordComplexityReadTask>},
        {QStringLiteral("expiration"), makeReadTask<LocalPolicyPasswordExpirationReadTask>},
    };
    return makers.value(policy)();
}

std::unique_ptr<AbstractTask> updateTaskOf(const QString &policy, const Settings &settings)
{
    static const QMap<QString, std::unique_ptr<AbstractTask> (*)(const Settings &)> makers{
        {QStringLiteral("lockout"), makeUpdateTask<LocalPolicyLockoutUpdateTask>},
        {QStringLiteral("complexity"), makeUpdateTask<LocalPolicyPasswordComplexityUpdateTask>},
        {QStringLiteral("expiration"), makeUpdateTask<LocalPolicyPasswordExpirationUpdateTask>},
    };
    return makers.value(policy)(settings);
}

HelperReply replyOf(AbstractTask *task)
{
    HelperReply reply;
    reply.outcome = outcomeOf(task);
    reply.taskFailed = !reply.outcome.succeeded();
    reply.values = *task->values();
    return reply;
}

HelperReply busyReply()
{
    HelperReply reply;
    reply.outcome = AccountsLock::busyOutcome();
    return reply;
}
}

HelperReply readLocally(const QString &policy)
{
    const HelperEncoding encoding;
    return replyOf(readTaskOf(policy).get());
}

HelperReply writeLocally(const QString &policy, const Settings &settings)
{
    const AccountsLock lock;
    if (lock.isBusy()) {
        return busyReply();
    }
    const HelperSurroundings surroundings;
    return replyOf(updateTaskOf(policy, settings).get());
}
