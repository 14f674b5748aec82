// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamPolicy.h"

/**
 * The password complexity policy: the options of pam_cracklib and of pam_pwquality, which are treated alike.
 * "minlen" in characters, the credits as pam_pwquality(8) has them.
 */
const PamPolicy &complexityPolicy();
