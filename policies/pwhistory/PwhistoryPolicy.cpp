// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModulePolicy.h"

namespace
{
constexpr qlonglong mostPasswords = 400; // the module takes more as this
constexpr qlonglong mostPrompts = 100;
}

const ModulePolicy &pwhistoryPolicy()
{
    using Kind = ModuleSetting::Kind;
    static const ModulePolicy policy{
        QStringLiteral("pwhistory"),
        QStringLiteral("pam_pwhistory"),
        QStringLiteral("/etc/security/pwhistory.conf"),
        {QStringLiteral("password")},
        {
            {QStringLiteral("remember"), Kind::Number, 0, mostPasswords, false, 10LL},
            {QStringLiteral("enforce_for_root"), Kind::Flag, 0, 0, false, false},
            {QStringLiteral("retry"), Kind::Number, 1, mostPrompts, false, 1LL},
        },
        {QStringLiteral("accountpolicies-pwhistory")},
        {},
        nullptr,
        true,
        true,
        true,
        true,
    };
    return policy;
}
