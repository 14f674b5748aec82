// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/files/SettingsFile.h"

/// The ageing settings, in days, of login.defs(5).
const SettingsFile &loginDefs();

/// The account expiry settings among the defaults of useradd(8): INACTIVE in days, EXPIRE as a date.
const SettingsFile &useraddDefaults();
