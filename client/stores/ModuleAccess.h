// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "policies/faillock/FailureRecords.h"
#include "policies/modules/ModuleWriting.h"

/**
 * How the client comes to what only root may do about the modules: in this process, where that is root's. Others are refused
 * in one line.
 */
namespace ModuleAccess
{
/// Writes the policy, and isn't cut short by Ctrl-C. Of those who write so one goes after the other.
Outcome write(const ModulePolicy &policy, const ModuleWish &wish);

/// The accounts with failed logins.
Outcome readFailures(FailureListing *listing);

/// Opens an account that pam_faillock has locked.
Outcome unlock(const QString &account);
}
