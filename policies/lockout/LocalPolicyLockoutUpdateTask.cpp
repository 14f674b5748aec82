// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

namespace
{
struct LockoutUpdateText {
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyLockoutUpdateTask)
public:
    static constexpr CommandFailureTexts commandFailures = {
        "LocalPolicyLockoutUpdateTask",
#include "engine/CommandFailureTexts.inc"
    };
};
}

LocalPolicyLockoutUpdateTask::LoginRewriterRegExpHandler::LoginRewriterRegExpHandler(const QVariantMap *arguments)
    : PamOptionRewriter(lockoutPolicy(), arguments)
{
}

LocalPolicyLockoutUpdateTask::LocalPolicyLockoutUpdateTask(void *context, QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update default lockout account policy"));
}

void LocalPolicyLockoutUpdateTask::run()
{
    update(lockoutPolicy(), pamAuthUpdate());
    finish();
}

void LocalPolicyLockoutUpdateTask::runBelow(const QString &root, const Command &tool)
{
    update(lockoutPolicy().below(root), tool);
    finish();
}

void LocalPolicyLockoutUpdateTask::update(const PamPolicy &policy, const Command &tool)
{
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy(policy, LockoutUpdateText::commandFailures, *values(), &handler, &result(), tool);
}
