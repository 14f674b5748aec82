// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModulePolicy.h"
#include "policies/pwquality/PwqualityFile.h"

namespace
{
constexpr qlonglong shortestMinimum = 6; // the library raises less to this
constexpr qlonglong longestPassword = 512; // libpam takes no more
constexpr qlonglong allClasses = 4;
constexpr qlonglong mostTries = 100;

ModuleSetting characters(const char *name, qlonglong byDefault)
{
    return {QLatin1String(name), ModuleSetting::Kind::Number, 0, longestPassword, false, byDefault};
}

/// Less than 0: so many must be there.
ModuleSetting credit(const char *name)
{
    return {QLatin1String(name), ModuleSetting::Kind::Number, -longestPassword, longestPassword, false, 0LL};
}

ModuleSetting check(const char *name, bool byDefault)
{
    return {QLatin1String(name), ModuleSetting::Kind::Switch, 0, 0, false, byDefault};
}

ModuleSetting pwqualityFlag(const char *name)
{
    return {QLatin1String(name), ModuleSetting::Kind::Flag, 0, 0, false, false};
}
}

const ModulePolicy &pwqualityPolicy()
{
    using Kind = ModuleSetting::Kind;
    static const ModulePolicy policy{
        QStringLiteral("pwquality"),
        QStringLiteral("pam_pwquality"),
        // no package's, so none resets it
        QStringLiteral("/etc/security/pwquality.conf.d/50-accountpolicies.conf"),
        {QStringLiteral("password")},
        {
            characters("difok", 1),
            {QStringLiteral("minlen"), Kind::Number, shortestMinimum, longestPassword, false, 8LL},
            {QStringLiteral("minclass"), Kind::Number, 0, allClasses, false, 0LL},
            credit("dcredit"),
            credit("ucredit"),
            credit("lcredit"),
            credit("ocredit"),
            characters("maxrepeat", 0),
            characters("maxsequence", 0),
            characters("maxclassrepeat", 0),
            check("gecoscheck", false),
            check("dictcheck", true),
            check("usercheck", true),
            characters("usersubstr", 0),
            check("enforcing", true),
            {QStringLiteral("retry"), Kind::Number, 1, mostTries, false, 1LL},
            pwqualityFlag("enforce_for_root"),
            pwqualityFlag("local_users_only"),
        },
        {}, // the module's own package has the profile
        {},
        pwqualityFileValues,
        true,
    };
    return policy;
}
