// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/ModulePreview.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/preview/MachineCopy.h"
#include "client/preview/PamLosses.h"
#include "client/system/HelperSurroundings.h"

#include <QDir>

namespace
{
void takeFiles(const ModulePolicy &policy, MachineCopy *copy)
{
    // the folder of the file, where it is there; a write makes that one and no more
    copy->takeFolder(QStringLiteral("/etc/security"), QFileInfo(policy.path).dir().dirName());
    copy->takeFile(policy.path);
    const QStringList folders = modulePolicyFolders();
    for (const QString &folder : folders) {
        copy->takeFolder(folder, QStringLiteral("*"));
    }
    copy->takeDebconf();
}

/// For the comparison of stacks, where the module's options may differ.
PamPolicy comparable(const ModulePolicy &policy)
{
    PamPolicy comparable{};
    comparable.profiles = {{policy.name, policy.module, nullptr}};
    for (const ModuleSetting &setting : policy.settings) {
        comparable.options += {setting.name, PamOption::Kind::Flag, 0};
    }
    return comparable;
}

QVector<FilePreview> moduleChanges(const ModulePolicy &policy, const MachineCopy &copy)
{
    return copy.changes({policy.path}) + stackChanges(comparable(policy), copy);
}
}

Outcome outcomeOfWrite(const ModuleOutcome &outcome)
{
    using Kind = ModuleOutcome::Kind;
    switch (outcome.kind) {
    case Kind::Done:
    case Kind::InForceAlready:
        return {};
    case Kind::NotOurs:
        return {ExitCode::NotInForce, outcome.reason};
    case Kind::StacksEdited:
        return {ExitCode::Loss, outcome.reason};
    case Kind::RolledBack:
    case Kind::Failed:
        break;
    }
    Outcome failure{ExitCode::Failed, outcome.reason};
    failure.filesChanged = outcome.changed;
    return failure;
}

Preview modulePreviewOf(const ModulePolicy &policy, ModuleWish wish)
{
    const HelperEncoding encoding;
    MachineCopy copy;
    takeFiles(policy, &copy);
    if (!copy.error().isEmpty()) {
        return notKnown(copy.error());
    }
    const WaitingLine line(translate("ModulePreview", "waiting for pam-auth-update…"));
    const ModulePlace place{copy.root(), copy.onCopies(ModulePlace::pamAuthUpdateAlone())};
    ModuleOutcome outcome = writeModule(policy, wish, place);
    if (outcome.kind == ModuleOutcome::Kind::StacksEdited) {
        wish.force = true;
        writeModule(policy, wish, place);
    }
    outcome.reason = copy.aboutMachine(outcome.reason);
    return {outcomeOfWrite(outcome), moduleChanges(policy, copy), true};
}
