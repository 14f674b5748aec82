// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/LocalTasks.h"

#include "client/Translation.h"
#include "client/stores/TaskOutcome.h"
#include "client/system/HelperSurroundings.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include <cerrno>
#include <memory>
#include <shadow.h>

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

/// The lock of lckpwdf(3), by which programs that change accounts take turns, and which only root can hold.
class AccountsLock
{
public:
    AccountsLock() : m_isHeld(lckpwdf() == 0), m_isBusy(!m_isHeld && errno == EINTR)
    {
    }
    ~AccountsLock()
    {
        if (m_isHeld) {
            ulckpwdf();
        }
    }

    /// Whether somebody else has held it for 15 seconds. Where there can be none, as on a read-only disk, the task tells.
    bool isBusy() const
    {
        return m_isBusy;
    }

private:
    Q_DISABLE_COPY_MOVE(AccountsLock)

    bool m_isHeld;
    bool m_isBusy;
};

HelperReply busyReply()
{
    HelperReply reply;
    reply.outcome = {ExitCode::Busy,
                     translate("LocalTasks", "another program is changing policies or accounts; try again later")};
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
