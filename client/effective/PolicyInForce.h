// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"
#include "client/settings/Policies.h"

/**
 * What a policy comes to on this machine.
 *
 * @param read what stands in the policy's own files
 */
InForce inForceOf(const Policy &policy, const Settings &read);
