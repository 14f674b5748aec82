// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/ModuleAccess.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/preview/ModulePreview.h"
#include "client/stores/AccountsLock.h"
#include "client/system/HelperSurroundings.h"

#include <unistd.h>

namespace
{
/// A success for root.
Outcome rootAlone(const QString &what)
{
    return geteuid() == 0
        ? Outcome()
        : Outcome{ExitCode::NotAuthorized, translate("ModuleAccess", "%1 is for root alone; try sudo").arg(what)};
}
}

Outcome ModuleAccess::write(const ModulePolicy &policy, const ModuleWish &wish)
{
    Outcome refused = rootAlone(translate("ModuleAccess", "changing the %1 policy").arg(policy.name));
    if (!refused.succeeded()) {
        return refused;
    }
    const WaitingLine line(translate("ModuleAccess", "waiting for the policy's tools…"));
    const AccountsLock lock;
    if (lock.isBusy()) {
        return AccountsLock::busyOutcome();
    }
    const HelperSurroundings surroundings;
    return outcomeOfWrite(writeModule(policy, wish));
}

Outcome ModuleAccess::readFailures(FailureListing *listing)
{
    Outcome refused = rootAlone(translate("ModuleAccess", "reading failed logins"));
    if (!refused.succeeded()) {
        return refused;
    }
    *listing = failureRecords();
    return listing->error.isEmpty() ? Outcome() : Outcome{ExitCode::Failed, listing->error};
}

Outcome ModuleAccess::unlock(const QString &account)
{
    Outcome refused = rootAlone(translate("ModuleAccess", "unlocking accounts"));
    if (!refused.succeeded()) {
        return refused;
    }
    const QString failure = forgetFailures(account);
    return failure.isEmpty() ? Outcome() : Outcome{ExitCode::Failed, failure};
}
