// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Writes one policy, once, as the helper or the service does, and tells how that ended:
// writeonce lockout|complexity|expiration|faillock|pwquality|pwhistory.

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "policies/modules/ModuleWriting.h"
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

/// Whether the values are written and the profiles on; else why not is told.
bool writesModule(const ModulePolicy &policy)
{
    const QVariantMap values{{policy.settings.constFirst().name, 4LL}};
    const ModuleOutcome outcome = writeModule(policy, {values, ModuleWish::Switch::On, false});
    std::fputs(qPrintable(outcome.reason), stderr);
    return outcome.succeeded();
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString policy = QCoreApplication::arguments().value(1);
    const ModulePolicy *module = modulePolicy(policy);
    const std::unique_ptr<AbstractTask> task = taskFor(policy);
    if (!task && !module) {
        std::fputs("usage: writeonce lockout|complexity|expiration|faillock|pwquality|pwhistory\n", stderr);
        return 2;
    }
    // a system call that a trace can be searched for: here the writing starts
    if (access("/begin", F_OK) == 0) {
        return 2;
    }
    if (module) {
        return writesModule(*module) ? 0 : 1;
    }
    task->run();
    std::fputs(qPrintable(task->result().message()), stderr);
    return task->result().state() == TaskState::Failed ? 1 : 0;
}
