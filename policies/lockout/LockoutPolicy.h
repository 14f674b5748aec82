// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamPolicy.h"

/// The account lockout policy: the options of pam_tally. "deny" in failed logins, the times in seconds.
const PamPolicy &lockoutPolicy();
