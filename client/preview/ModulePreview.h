// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/preview/Preview.h"
#include "policies/modules/ModuleWriting.h"

/**
 * How a write of a module's policy ended: Loss where the stacks were edited by hand, NotInForce where others than our profiles
 * go on calling a module that was to be switched off, Busy where another write or package has to end first. The error is the reason alone.
 */
Outcome outcomeOfWrite(const ModuleOutcome &outcome);

/**
 * Writes the policy of a module into copies of the files, as previewOf() does for the helper's.
 *
 * Where stacks were edited by hand, the outcome says so and the files are those of a write by force. That lines of others go
 * on calling the module is no failure as long as ours go.
 */
Preview modulePreviewOf(const ModulePolicy &policy, ModuleWish wish);
