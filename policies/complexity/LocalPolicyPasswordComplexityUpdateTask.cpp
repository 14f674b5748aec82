// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

namespace
{
struct ComplexityUpdateText {
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyPasswordComplexityUpdateTask)
public:
    static constexpr CommandFailureTexts commandFailures = {
        "LocalPolicyPasswordComplexityUpdateTask",
#include "engine/CommandFailureTexts.inc"
    };
};
}

LocalPolicyPasswordComplexityUpdateTask::LoginRewriterRegExpHandler::LoginRewriterRegExpHandler(
    const QVariantMap *arguments)
    : PamOptionRewriter(complexityPolicy(), arguments)
{
}

LocalPolicyPasswordComplexityUpdateTask::LocalPolicyPasswordComplexityUpdateTask(void *context, QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update default password complexity policy"));
}

void LocalPolicyPasswordComplexityUpdateTask::run()
{
    update(complexityPolicy(), pamAuthUpdate());
    finish();
}

void LocalPolicyPasswordComplexityUpdateTask::runBelow(const QString &root, const Command &tool)
{
    update(complexityPolicy().below(root), tool);
    finish();
}

void LocalPolicyPasswordComplexityUpdateTask::update(const PamPolicy &policy, const Command &tool)
{
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy(policy, ComplexityUpdateText::commandFailures, *values(), &handler, &result(), tool);
}
