// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

/// What pam_faillock does on this machine.
struct FaillockRules {
    /// Whether the stack calls it to count failed logins, and some number of them is too many.
    bool locks = false;
    /// Whether its lines have the same rules.
    bool agree = true;
    /// Its limits, and what else is set of it.
    QVector<BindingSetting> settings;
};

/// What pam_faillock makes of faillock.conf(5) and of the options of its first line in the stack for logins.
FaillockRules faillockRules();

/// The rules in a sentence: "accounts are locked by pam_faillock: deny 3, fail_interval 900, unlock_time 600".
QString faillockText(const FaillockRules &rules);
