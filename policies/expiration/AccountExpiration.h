// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <shadow.h>

/// One expiration setting of an account.
struct AccountExpirationSetting {
    /// Its key in a values map.
    const char *key;
    /// Where it stands in the account's entry in the shadow database, see shadow(5).
    long spwd::*field;
    /// Sets it, see chage(1).
    const char *chageOption;
};

/// In days, "expireDate" counted from 1970-01-01; in the order in which they are read and set.
inline constexpr AccountExpirationSetting accountExpirationSettings[] = {
    {"maxInterval", &spwd::sp_max, "--maxdays"},
    {"minInterval", &spwd::sp_min, "--mindays"},
    {"warningInterval", &spwd::sp_warn, "--warndays"},
    {"inactiveInterval", &spwd::sp_inact, "--inactive"},
    {"expireDate", &spwd::sp_expire, "--expiredate"},
};

/// The number for a setting that an account doesn't have, in the shadow database as for chage.
inline constexpr int unsetAccountExpiration = -1;
