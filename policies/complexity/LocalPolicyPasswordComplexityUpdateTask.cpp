// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

#include <QFile>

#include <algorithm>
#include <iterator>

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
    update();
    finish();
}

void LocalPolicyPasswordComplexityUpdateTask::update()
{
    const PamPolicy &policy = complexityPolicy();
    QVector<PamProfile> profiles;
    std::copy_if(
        policy.profiles.cbegin(), policy.profiles.cend(), std::back_inserter(profiles), [](const PamProfile &profile) {
            return QFile::exists(profile.path());
        });
    if (profiles.isEmpty()) {
        result().fail(tr("Both profiles of supported PAM modules do not exist (%1, %2)")
                          .arg(policy.profiles.constFirst().path(), policy.profiles.constLast().path()));
        return;
    }
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy({policy, profiles, ComplexityUpdateText::commandFailures, values()}, &handler, &result());
}
