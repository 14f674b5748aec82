// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/Preview.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/preview/InterruptDelay.h"
#include "client/preview/PamLosses.h"
#include "policies/complexity/ComplexityPolicy.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/ExpirationFiles.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/machine/HelperSurroundings.h"
#include "policies/machine/MachineCopy.h"
#include "tasks/TaskResult.h"

#include <algorithm>

namespace
{
Outcome outcomeOfRun(const MachineCopy &copy, AbstractTask *task)
{
    if (task->result().state() != TaskState::Failed) {
        return {};
    }
    return {ExitCode::Failed,
            task->result().description() + QLatin1Char('\n') + copy.aboutMachine(task->result().message())};
}

QVector<FilePreview> pamChanges(const PamPolicy &policy, const MachineCopy &copy)
{
    return copy.changes(copy.files(pamProfilesFolder())) + stackChanges(policy, copy);
}

template<typename UpdateTask>
Preview pamPreview(const PamPolicy &policy, const Settings &wanted)
{
    MachineCopy copy;
    copy.takeFolder(pamProfilesFolder(), QStringLiteral("*"));
    takeStacks(&copy);
    copy.takeDebconf();
    if (!copy.error().isEmpty()) {
        return notKnown(copy.error());
    }
    const WaitingLine line(translate("Preview", "waiting for pam-auth-update…"));
    UpdateTask task(nullptr, std::make_unique<QVariantMap>(wanted).release());
    task.runBelow(copy.root(), copy.pamAuthUpdate());
    return {outcomeOfRun(copy, &task), pamChanges(policy, copy)};
}

Preview expirationPreview(const Settings &wanted)
{
    MachineCopy copy;
    const QStringList paths{loginDefs().path, useraddDefaults().path};
    for (const QString &path : paths) {
        copy.takeFile(path);
    }
    if (!copy.error().isEmpty()) {
        return notKnown(copy.error());
    }
    LocalPolicyPasswordExpirationUpdateTask task(nullptr, std::make_unique<QVariantMap>(wanted).release());
    task.runBelow(copy.root());
    return {outcomeOfRun(copy, &task), copy.changes(paths)};
}
}

bool Preview::losesLines() const
{
    return std::any_of(files.begin(), files.end(), [](const FilePreview &file) {
        return !file.lost.isEmpty();
    });
}

Preview notKnown(const QString &reason)
{
    return {{ExitCode::Failed,
             translate("Preview", "what the change would leave cannot be known") + QLatin1Char('\n') + reason},
            {}};
}

Preview previewOf(const QString &policy, const Settings &wanted)
{
    const InterruptDelay delay;
    const HelperEncoding encoding;
    if (policy == QLatin1String("lockout")) {
        return pamPreview<LocalPolicyLockoutUpdateTask>(lockoutPolicy(), wanted);
    }
    if (policy == QLatin1String("complexity")) {
        return pamPreview<LocalPolicyPasswordComplexityUpdateTask>(complexityPolicy(), wanted);
    }
    return expirationPreview(wanted);
}
