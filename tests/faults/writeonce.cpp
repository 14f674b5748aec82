// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Writes one policy, once, as the helper does, and tells how that ended: writeonce lockout|complexity|expiration.

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tasks/TaskResult.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace
{
std::unique_ptr<AbstractTask> taskFor(const QString &policy)
{
    if (policy == QLatin1String("lockout")) {
        return std::make_unique<LocalPolicyLockoutUpdateTask>(
            nullptr, new QVariantMap{{QStringLiteral("deny"), 5}, {QStringLiteral("unlock_time"), 900}});
    }
    if (policy == QLatin1String("complexity")) {
        return std::make_unique<LocalPolicyPasswordComplexityUpdateTask>(
            nullptr, new QVariantMap{{QStringLiteral("minlen"), 12}, {QStringLiteral("dcredit"), -1}});
    }
    if (policy == QLatin1String("expiration")) {
        return std::make_unique<LocalPolicyPasswordExpirationUpdateTask>(nullptr,
                                                                         new QVariantMap{
                                                                             {QStringLiteral("maxInterval"), 90},
                                                                             {QStringLiteral("minInterval"), 1},
                                                                             {QStringLiteral("warningInterval"), 14},
                                                                             {QStringLiteral("inactiveInterval"), 30},
                                                                             {QStringLiteral("expireDate"), 24000},
                                                                         });
    }
    return nullptr;
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const std::unique_ptr<AbstractTask> task = taskFor(QCoreApplication::arguments().value(1));
    if (!task) {
        std::fputs("usage: writeonce lockout|complexity|expiration\n", stderr);
        return 2;
    }
    // a system call that a trace can be searched for: here the writing starts
    if (access("/begin", F_OK) == 0) {
        return 2;
    }
    task->run();
    std::fputs(qPrintable(task->result().message()), stderr);
    return task->result().state() == TaskState::Failed ? 1 : 0;
}
