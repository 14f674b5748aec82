// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/ModulePreview.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/preview/InterruptDelay.h"
#include "client/preview/PamLosses.h"
#include "policies/machine/HelperSurroundings.h"
#include "policies/machine/ModuleTrial.h"

namespace
{
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
    case Kind::Busy:
        return {ExitCode::Busy, outcome.reason};
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
    const InterruptDelay delay;
    const HelperEncoding encoding;
    const ModuleTrial trial(policy);
    if (!trial.copy().error().isEmpty()) {
        return notKnown(trial.copy().error());
    }
    const WaitingLine line(translate("ModulePreview", "waiting for pam-auth-update…"));
    const ModuleOutcome outcome = trial.write(wish);
    if (outcome.kind == ModuleOutcome::Kind::StacksEdited) {
        wish.force = true;
        trial.write(wish);
    }
    // ours can go, whatever others there are
    const bool isPart =
        outcome.kind == ModuleOutcome::Kind::NotOurs && !stackChanges(comparable(policy), trial.copy()).isEmpty();
    return {isPart ? Outcome() : outcomeOfWrite(outcome), moduleChanges(policy, trial.copy()), true};
}
