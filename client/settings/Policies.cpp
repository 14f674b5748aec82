// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"

#include "client/Translation.h"

#include <limits>

namespace
{
constexpr qlonglong intMaximum = std::numeric_limits<int>::max();
// pam_tally counts in 16 bits
constexpr qlonglong mostFailedLogins = 65535;
// PAM takes no longer answer: PAM_MAX_RESP_SIZE of pam_conv(3)
constexpr qlonglong longestPassword = 512;
// pam_pwquality(8) and pam_cracklib(8) raise less to this
constexpr qlonglong shortestMinimum = 6;
// 9999-12-31, where the dates of useradd's defaults end
constexpr qlonglong lastDay = 2932896;

Setting flag(const QString &key)
{
    return {key, SettingKind::Flag, Unit::None, 0, 0, Never::NoWord};
}

Setting seconds(const QString &key)
{
    return {key, SettingKind::Number, Unit::Seconds, 0, intMaximum, Never::NoWord};
}

Setting credit(const QString &key)
{
    return {key, SettingKind::Number, Unit::Credits, -longestPassword, longestPassword, Never::NoWord};
}

SettingSchema lockoutSchema()
{
    return {{
        flag(QStringLiteral("per_user")),
        flag(QStringLiteral("magic_root")),
        flag(QStringLiteral("no_reset")),
        {QStringLiteral("deny"), SettingKind::Number, Unit::FailedLogins, 0, mostFailedLogins, Never::NoWord},
        seconds(QStringLiteral("lock_time")),
        seconds(QStringLiteral("unlock_time")),
    }};
}

SettingSchema complexitySchema()
{
    return {{
        flag(QStringLiteral("gecoscheck")),
        flag(QStringLiteral("enforce_for_root")),
        flag(QStringLiteral("reject_username")),
        {QStringLiteral("minlen"),
         SettingKind::Number,
         Unit::Characters,
         shortestMinimum,
         longestPassword,
         Never::NoWord},
        credit(QStringLiteral("lcredit")),
        credit(QStringLiteral("ucredit")),
        credit(QStringLiteral("dcredit")),
        credit(QStringLiteral("ocredit")),
    }};
}

/// @param never what it means for an interval that it never ends
SettingSchema ageingSchema(Never never)
{
    const auto interval = [never](const QString &key) {
        return Setting{key, SettingKind::Number, Unit::Days, -1, intMaximum, never};
    };
    return {{
        interval(QStringLiteral("maxInterval")),
        interval(QStringLiteral("minInterval")),
        interval(QStringLiteral("warningInterval")),
        interval(QStringLiteral("inactiveInterval")),
        {QStringLiteral("expireDate"), SettingKind::Date, Unit::None, 0, lastDay, Never::NotSet},
    }};
}
}

QString Policy::phrase() const
{
    return translate("Policies", "the %1 policy").arg(name);
}

QString Policy::titleText() const
{
    return translate("Policies", title);
}

const QVector<Policy> &allPolicies()
{
    static const QVector<Policy> policies{
        {QStringLiteral("lockout"),
         QT_TRANSLATE_NOOP("Policies", "Lockout after failed logins"),
         lockoutSchema(),
         "readaccountslockoutpolicy",
         "writeaccountslockoutpolicy"},
        {QStringLiteral("complexity"),
         QT_TRANSLATE_NOOP("Policies", "Password complexity"),
         complexitySchema(),
         "readpasswordcomplexitypolicy",
         "writepasswordcomplexitypolicy"},
        {QStringLiteral("expiration"),
         QT_TRANSLATE_NOOP("Policies", "Password expiration of new accounts"),
         ageingSchema(Never::MinusOne),
         "readpasswordexpirationpolicy",
         "writepasswordexpirationpolicy"},
    };
    return policies;
}

QStringList policyNames()
{
    QStringList names;
    for (const Policy &policy : allPolicies()) {
        names += policy.name;
    }
    return names;
}

const Policy *findPolicy(const QString &name)
{
    for (const Policy &policy : allPolicies()) {
        if (policy.name == name) {
            return &policy;
        }
    }
    return nullptr;
}

const SettingSchema &accountSchema()
{
    // shadow(5) has no other mark for a field that isn't set than -1
    static const SettingSchema schema = ageingSchema(Never::NotSet);
    return schema;
}
