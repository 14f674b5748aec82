// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"
#include "client/settings/Policies.h"

/**
 * What the policy of a module comes to that goes by one file and the options of its line, faillock or pwhistory.
 */
InForce moduleInForce(const Policy &policy);
