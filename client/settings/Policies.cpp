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
// passwords that last so long never expire for chage(1); 99999 in /etc/login.defs is how Debian has it
constexpr qlonglong daysOfEver = 10000;
// 9999-12-31, where the dates of useradd's defaults end
constexpr qlonglong lastDay = 2932896;

Setting flag(const char *key, const char *description)
{
    return {QLatin1String(key), SettingKind::Flag, Unit::None, 0, 0, Never::NoWord, description};
}

Setting number(const char *key, Unit unit, qlonglong minimum, qlonglong maximum, const char *description)
{
    return {QLatin1String(key), SettingKind::Number, unit, minimum, maximum, Never::NoWord, description};
}

Setting seconds(const char *key, const char *description)
{
    return number(key, Unit::Seconds, 0, intMaximum, description);
}

Setting credit(const char *key, const char *description)
{
    return number(key, Unit::Credits, -longestPassword, longestPassword, description);
}

/// @param never     what it means that it never ends
/// @param neverFrom days that mean the same
Setting interval(const char *key, Never never, const char *description, qlonglong neverFrom = beyondNumbers)
{
    return {QLatin1String(key), SettingKind::Number, Unit::Days, -1, intMaximum, never, description, neverFrom};
}

Setting date(const char *key, const char *description)
{
    return {QLatin1String(key), SettingKind::Date, Unit::None, 0, lastDay, Never::NotSet, description};
}

// All that there is to say of a setting stands in its row; the rows are in the order in which people see them.
// clang-format off

SettingSchema lockoutSchema()
{
    return {{
        flag("per_user", QT_TRANSLATE_NOOP("Policies", "Some accounts have limits of their own")),
        flag("magic_root", QT_TRANSLATE_NOOP("Policies", "Logins by root, such as su, are not counted")),
        flag("no_reset", QT_TRANSLATE_NOOP("Policies", "A login that succeeds does not reset the count")),
        number("deny", Unit::FailedLogins, 0, mostFailedLogins, QT_TRANSLATE_NOOP("Policies", "Failed logins after which an account is locked")),
        seconds("lock_time", QT_TRANSLATE_NOOP("Policies", "Seconds for which logins are refused after a failed one")),
        seconds("unlock_time", QT_TRANSLATE_NOOP("Policies", "Seconds after which a locked account is open again")),
    }};
}

SettingSchema complexitySchema()
{
    return {{
        flag("gecoscheck", QT_TRANSLATE_NOOP("Policies", "Words of the user's full name are refused")),
        flag("enforce_for_root", QT_TRANSLATE_NOOP("Policies", "Root is bound too")),
        flag("reject_username", QT_TRANSLATE_NOOP("Policies", "The user's name is refused")),
        number("minlen", Unit::Characters, shortestMinimum, longestPassword, QT_TRANSLATE_NOOP("Policies", "Characters of the shortest password, before credits")),
        credit("lcredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for lower-case letters or, if negative, how many are needed")),
        credit("ucredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for upper-case letters or, if negative, how many are needed")),
        credit("dcredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for digits or, if negative, how many are needed")),
        credit("ocredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for other characters or, if negative, how many are needed")),
    }};
}

SettingSchema ageingSchema(Never never)
{
    return {{
        interval("maxInterval", never, QT_TRANSLATE_NOOP("Policies", "Days after which a password must be changed"), daysOfEver),
        interval("minInterval", never, QT_TRANSLATE_NOOP("Policies", "Days for which a password must be kept")),
        interval("warningInterval", never, QT_TRANSLATE_NOOP("Policies", "Days of warning before a password expires")),
        interval("inactiveInterval", never, QT_TRANSLATE_NOOP("Policies", "Days after which an account with an expired password is closed")),
        date("expireDate", QT_TRANSLATE_NOOP("Policies", "The day on which an account expires")),
    }};
}

// clang-format on
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
