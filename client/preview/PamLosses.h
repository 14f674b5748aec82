// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/preview/Preview.h"
#include "policies/pam/PamPolicy.h"

class MachineCopy;

/// Takes the stacks that pam-auth-update(8) makes, and what it knows of them.
void takeStacks(MachineCopy *copy);

/// Those of the stacks that are others by now, with what an administrator has put there and is gone.
/// @param policy whose options may differ
QVector<FilePreview> stackChanges(const PamPolicy &policy, const MachineCopy &copy);
