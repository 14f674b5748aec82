// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

namespace
{
constexpr CommandFailureTexts lockoutCommandTexts = {
    "LocalPolicyLockoutUpdateTask",
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not started\""),
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not finished\""),
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Exit code: %3.\n\"%4\""),
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
    update();
    finish();
}

void LocalPolicyLockoutUpdateTask::update()
{
    const PamPolicy &policy = lockoutPolicy();
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy({policy, policy.profiles, lockoutCommandTexts, values()}, &handler, &result());
}
