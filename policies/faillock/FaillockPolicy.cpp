// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModulePolicy.h"

namespace
{
constexpr qlonglong mostFailures = 1024; // the module keeps no more, and so would never lock
constexpr qlonglong longestTime = 604800; // more is not taken

ModuleSetting faillockFlag(const char *name)
{
    return {QLatin1String(name), ModuleSetting::Kind::Flag, 0, 0, false, false};
}
}

const ModulePolicy &faillockPolicy()
{
    using Kind = ModuleSetting::Kind;
    static const ModulePolicy policy{
        QStringLiteral("faillock"),
        QStringLiteral("pam_faillock"),
        QStringLiteral("/etc/security/faillock.conf"),
        {QStringLiteral("auth"), QStringLiteral("account")},
        {
            {QStringLiteral("deny"), Kind::Number, 1, mostFailures, false, 3LL, true},
            {QStringLiteral("fail_interval"), Kind::Seconds, 1, longestTime, false, 900LL},
            {QStringLiteral("unlock_time"), Kind::Seconds, 0, longestTime, true, 600LL},
            faillockFlag("even_deny_root"),
            // as unlock_time where it isn't set
            {QStringLiteral("root_unlock_time"), Kind::Seconds, 0, longestTime, true},
            faillockFlag("audit"),
            faillockFlag("silent"),
            faillockFlag("no_log_info"),
            faillockFlag("local_users_only"),
            faillockFlag("nodelay"),
            {QStringLiteral("admin_group"), Kind::Text},
            {QStringLiteral("dir"), Kind::Path, 0, 0, false, QStringLiteral("/var/run/faillock")},
        },
        {QStringLiteral("accountpolicies-faillock"), QStringLiteral("accountpolicies-faillock-preauth")},
        QStringLiteral("authfail"),
    };
    return policy;
}
