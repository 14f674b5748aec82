// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"
#include "client/settings/Policies.h"

#include <optional>

/**
 * What a policy comes to on this machine.
 *
 * @param read what stands in the policy's own files
 */
InForce inForceOf(const Policy &policy, const Settings &read);

/**
 * What the policies complexity and pwquality come to together, where both are rules of pam_pwquality; none where they aren't.
 *
 * @param schema     the settings of both
 * @param complexity what stands in the files of the one
 * @param quality    and of the other
 */
std::optional<InForce> demandInForce(const SettingSchema &schema, const Settings &complexity, const Settings &quality);
