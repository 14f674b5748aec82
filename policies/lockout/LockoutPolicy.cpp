// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LockoutPolicy.h"

#include <QCoreApplication>

const PamPolicy &lockoutPolicy()
{
    using Kind = PamOption::Kind;
    static const PamPolicy policy{
        QStringLiteral("/etc/pam.d/common-auth"),
        {
            {QStringLiteral("tally"),
             QStringLiteral("pam_tally"),
             QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "\"%1\" not contain \"pam_tally\"")},
        },
        QStringLiteral(R"(\s*.*)"), // before the module, when rewriting
        QStringLiteral(R"(\d+)"), // a number, when reading
        {
            {QStringLiteral("per_user"), Kind::Flag, 1},
            {QStringLiteral("magic_root"), Kind::Flag, 2},
            {QStringLiteral("no_reset"), Kind::Flag, 3},
            {QStringLiteral("deny"), Kind::Number, 4},
            {QStringLiteral("lock_time"), Kind::Number, 5},
            {QStringLiteral("unlock_time"), Kind::Number, 6},
        },
        QStringLiteral("deny"), // corrected in the stack
        QT_TRANSLATE_NOOP("LocalPolicyLockoutReadTask", "\"%1\" not contain \"pam_tally\""),
        true, // may be unset
        nullptr, // its profile must be there
    };
    return policy;
}
