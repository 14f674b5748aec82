// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicyUpdate.h"

#include "engine/FileRewriting.h"
#include "messages/ErrorText.h"
#include "policies/pam/PamOptionRewriter.h"
#include "policies/pam/PamStackCorrection.h"
#include "tasks/TaskResult.h"

#include <QCoreApplication>
#include <QFile>

namespace
{
bool rewriteProfile(const PamProfile &profile, const char *context, PamOptionRewriter *rewriter, QString *message)
{
    if (!rewriteFile(profile.path(), rewriter, message, false)) {
        return false;
    }
    if (!rewriter->found()) {
        *message = QCoreApplication::translate(context, profile.moduleMissing).arg(profile.path());
        return false;
    }
    return true;
}

bool applyProfiles(const Command &tool, const CommandFailureTexts &texts, QString *message)
{
    const CommandOutcome outcome = runCommand(tool);
    if (outcome.succeeded()) {
        if (!outcome.standardError.isEmpty()) {
            appendMessage(message, outcome.standardError);
        }
        return true;
    }
    *message = commandFailureMessage(texts, tool, outcome, outcome.errorString, outcome.standardError);
    if (outcome.end == CommandOutcome::End::Exited) {
        // as a whole: a line end of the tool's own stays inside the closing quote
        *message = message->trimmed();
    }
    return false;
}

/// All of them, or where some may be missing those that are there.
QVector<PamProfile> profilesToRewrite(const PamPolicy &policy)
{
    if (!policy.profilesMissing) {
        return policy.profiles;
    }
    QVector<PamProfile> profiles;
    for (const PamProfile &profile : policy.profiles) {
        if (QFile::exists(profile.path())) {
            profiles += profile;
        }
    }
    return profiles;
}

bool updateProfiles(const PamPolicy &policy,
                    const CommandFailureTexts &texts,
                    PamOptionRewriter *rewriter,
                    const Command &tool,
                    QString *message)
{
    const QVector<PamProfile> profiles = profilesToRewrite(policy);
    if (profiles.isEmpty()) {
        *message = QCoreApplication::translate(texts.context, policy.profilesMissing)
                       .arg(policy.profiles.constFirst().path(), policy.profiles.constLast().path());
        return false;
    }
    for (const PamProfile &profile : profiles) {
        if (!rewriteProfile(profile, texts.context, rewriter, message)) {
            return false;
        }
    }
    return applyProfiles(tool, texts, message);
}
}

void updatePamPolicy(const PamPolicy &policy,
                     const CommandFailureTexts &commandTexts,
                     const QVariantMap &arguments,
                     PamOptionRewriter *rewriter,
                     TaskResult *result,
                     const Command &tool)
{
    QString message;
    if (!updateProfiles(policy, commandTexts, rewriter, tool, &message)) {
        result->fail(message);
        return;
    }
    result->succeed(message);
    correctPamStack(policy, arguments.value(policy.correctedOption).toInt());
    // a notice is for the task alone
    result->setState(TaskState::Succeeded);
}

QString pamAuthUpdatePath()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}

Command pamAuthUpdate()
{
    return {pamAuthUpdatePath(), {QStringLiteral("--force"), QStringLiteral("--package")}};
}
