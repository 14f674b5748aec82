// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicyUpdate.h"

#include "engine/ErrorText.h"
#include "engine/FileRewriting.h"
#include "policies/pam/PamOptionRewriter.h"
#include "policies/pam/PamStackCorrection.h"
#include "tasks/TaskResult.h"

#include <QCoreApplication>

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

bool applyProfiles(const CommandFailureTexts &texts, QString *message)
{
    const Command command{pamAuthUpdatePath(), {QStringLiteral("--force"), QStringLiteral("--package")}};
    const CommandOutcome outcome = runCommand(command);
    if (outcome.succeeded()) {
        if (!outcome.standardError.isEmpty()) {
            appendMessage(message, outcome.standardError);
        }
        return true;
    }
    *message = commandFailureMessage(texts, command, outcome, outcome.errorString, outcome.standardError);
    if (outcome.end == CommandOutcome::End::Exited) {
        // as a whole: a line end of the tool's own stays inside the closing quote
        *message = message->trimmed();
    }
    return false;
}

bool updateProfiles(const PamPolicyUpdate &update, PamOptionRewriter *rewriter, QString *message)
{
    for (const PamProfile &profile : update.profiles) {
        if (!rewriteProfile(profile, update.commandTexts.context, rewriter, message)) {
            return false;
        }
    }
    return applyProfiles(update.commandTexts, message);
}
}

void updatePamPolicy(const PamPolicyUpdate &update, PamOptionRewriter *rewriter, TaskResult *result)
{
    QString message;
    if (!updateProfiles(update, rewriter, &message)) {
        result->fail(message);
        return;
    }
    correctPamStack(update.policy, update.arguments->value(update.policy.correctedOption).toInt());
    // Succeeded even with a notice, which is for the task alone
    result->setMessage(message);
    result->setState(TaskState::Succeeded);
}

QString pamAuthUpdatePath()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}
