// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModuleWriting.h"
#include "service/Answer.h"

#include <optional>

struct Caller;

/// What the arguments of a write ask for.
struct PolicyWrite {
    const ModulePolicy *policy = nullptr;
    ModuleWish wish = {};
    /// Whether failed logins may come to lock root, too.
    bool mayLockRoot = false;
    /// As they were given.
    QVariantMap options = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// Null, and says so, if there is none of that name.
const ModulePolicy *policyNamed(const QString &name, Answer *fault);

/**
 * Understands the arguments, and looks at the policy's files for nothing but whether values stand there that may not be set.
 *
 * @return none if something is wrong with them; then @p fault says what
 */
std::optional<PolicyWrite>
policyWrite(const QString &policy, const QVariantMap &values, const QVariantMap &options, Answer *fault);

/// Writes it, and leaves an entry in the journal.
Answer runWrite(const PolicyWrite &write, const Caller &caller);

/// Writes it into copies of the files, and answers with what is different there.
Answer previewWrite(const PolicyWrite &write);
