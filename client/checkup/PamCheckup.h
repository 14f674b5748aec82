// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/checkup/Finding.h"

/// Looks at what locks accounts.
QVector<Finding> checkLockout();

/// Looks for what an administrator may not expect of the rules for passwords.
QVector<Finding> checkPasswordRules();
