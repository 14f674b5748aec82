// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Policies.h"

#include "client/Translation.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr qlonglong intMaximum = std::numeric_limits<int>::max();
// pam_tally counts in 16 bits
constexpr qlonglong mostFailedLogins = 65535;
constexpr qlonglong mostFailuresKept = 1024; // by pam_faillock
// PAM takes no longer answer: PAM_MAX_RESP_SIZE of pam_conv(3)
constexpr qlonglong longestPassword = 512;
// pam_pwquality(8) and pam_cracklib(8) raise less to this
constexpr qlonglong shortestMinimum = 6;
// passwords that last so long never expire for chage(1); 99999 in /etc/login.defs is how Debian has it
constexpr qlonglong daysOfEver = 10000;
// pam_faillock takes no longer time
constexpr qlonglong longestLock = 604800;
// pam_pwhistory keeps no more
constexpr qlonglong mostPasswords = 400;
constexpr qlonglong mostTries = 100;
constexpr qlonglong characterClasses = 4;
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

Setting lockTime(const char *key, const char *description)
{
    return {QLatin1String(key), SettingKind::Number, Unit::Seconds, 0, longestLock, Never::Zero, description};
}

Setting characters(const char *key, const char *description)
{
    return number(key, Unit::Characters, 0, longestPassword, description);
}

Setting oneOrOther(const char *key, const char *description)
{
    return {QLatin1String(key), SettingKind::Switch, Unit::None, 0, 0, Never::NoWord, description};
}

Setting textOf(const char *key, TextForm form, const char *description)
{
    return {QLatin1String(key), SettingKind::Text, Unit::None, 0, 0, Never::NoWord, description, beyondNumbers, form};
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

SettingSchema faillockSchema()
{
    return {{
        flag("enabled", QT_TRANSLATE_NOOP("Policies", "Failed logins are counted, and accounts are locked")),
        number("deny", Unit::FailedLogins, 1, mostFailuresKept, QT_TRANSLATE_NOOP("Policies", "Failed logins after which an account is locked")),
        number("fail_interval", Unit::Seconds, 1, longestLock, QT_TRANSLATE_NOOP("Policies", "Seconds within which so many logins must have failed")),
        lockTime("unlock_time", QT_TRANSLATE_NOOP("Policies", "Seconds after which a locked account is open again")),
        flag("even_deny_root", QT_TRANSLATE_NOOP("Policies", "Root is locked too")),
        lockTime("root_unlock_time", QT_TRANSLATE_NOOP("Policies", "Seconds after which root is open again, where root is locked too")),
        flag("audit", QT_TRANSLATE_NOOP("Policies", "The name is logged even if there is no such user")),
        flag("silent", QT_TRANSLATE_NOOP("Policies", "The user is not told that the account is locked")),
        flag("no_log_info", QT_TRANSLATE_NOOP("Policies", "What is no error is not logged")),
        flag("local_users_only", QT_TRANSLATE_NOOP("Policies", "Only users of /etc/passwd are counted and locked")),
        flag("nodelay", QT_TRANSLATE_NOOP("Policies", "The answer to a failed login is not delayed")),
        textOf("admin_group", TextForm::Name, QT_TRANSLATE_NOOP("Policies", "The group whose members are locked only if root is")),
        textOf("dir", TextForm::Path, QT_TRANSLATE_NOOP("Policies", "The folder where failed logins are recorded")),
    }};
}

SettingSchema pwqualitySchema()
{
    return {{
        characters("difok", QT_TRANSLATE_NOOP("Policies", "Characters that the former password must not have")),
        number("minlen", Unit::Characters, shortestMinimum, longestPassword, QT_TRANSLATE_NOOP("Policies", "Characters of the shortest password, before credits")),
        number("minclass", Unit::None, 0, characterClasses, QT_TRANSLATE_NOOP("Policies", "How many kinds of characters are needed: lower case, upper case, digits, others")),
        credit("dcredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for digits or, if negative, how many are needed")),
        credit("ucredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for upper-case letters or, if negative, how many are needed")),
        credit("lcredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for lower-case letters or, if negative, how many are needed")),
        credit("ocredit", QT_TRANSLATE_NOOP("Policies", "The highest credit for other characters or, if negative, how many are needed")),
        characters("maxrepeat", QT_TRANSLATE_NOOP("Policies", "Same characters that may follow each other; 0 for any number")),
        characters("maxsequence", QT_TRANSLATE_NOOP("Policies", "Characters of the longest sequence such as 12345; 0 for any number")),
        characters("maxclassrepeat", QT_TRANSLATE_NOOP("Policies", "Characters of one kind that may follow each other; 0 for any number")),
        oneOrOther("gecoscheck", QT_TRANSLATE_NOOP("Policies", "Words of the user's full name are refused")),
        oneOrOther("dictcheck", QT_TRANSLATE_NOOP("Policies", "Words of a dictionary are refused")),
        oneOrOther("usercheck", QT_TRANSLATE_NOOP("Policies", "The user's name is refused")),
        characters("usersubstr", QT_TRANSLATE_NOOP("Policies", "Characters from which on a part of the user's name is refused, if more than 3; else the whole name is")),
        oneOrOther("enforcing", QT_TRANSLATE_NOOP("Policies", "What does not follow the policy is refused; otherwise it is only told")),
        number("retry", Unit::None, 1, mostTries, QT_TRANSLATE_NOOP("Policies", "How often a new password is asked for")),
        flag("enforce_for_root", QT_TRANSLATE_NOOP("Policies", "Root is bound too")),
        flag("local_users_only", QT_TRANSLATE_NOOP("Policies", "Only users of /etc/passwd are bound")),
    }};
}

SettingSchema pwhistorySchema()
{
    return {{
        flag("enabled", QT_TRANSLATE_NOOP("Policies", "Former passwords are remembered and refused")),
        number("remember", Unit::None, 0, mostPasswords, QT_TRANSLATE_NOOP("Policies", "How many former passwords of an account are refused, the present one among them")),
        flag("enforce_for_root", QT_TRANSLATE_NOOP("Policies", "Root is bound too")),
        number("retry", Unit::None, 1, mostTries, QT_TRANSLATE_NOOP("Policies", "How often a new password is asked for")),
    }};
}

// clang-format on
}

bool Policy::isOfModule() const
{
    return !readAction;
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
         1,
         "readaccountslockoutpolicy",
         "writeaccountslockoutpolicy"},
        {QStringLiteral("complexity"),
         QT_TRANSLATE_NOOP("Policies", "Password complexity"),
         complexitySchema(),
         1,
         "readpasswordcomplexitypolicy",
         "writepasswordcomplexitypolicy"},
        {QStringLiteral("expiration"),
         QT_TRANSLATE_NOOP("Policies", "Password expiration of new accounts"),
         ageingSchema(Never::MinusOne),
         1,
         "readpasswordexpirationpolicy",
         "writepasswordexpirationpolicy"},
        {QStringLiteral("faillock"),
         QT_TRANSLATE_NOOP("Policies", "Lockout after failed logins, by pam_faillock"),
         faillockSchema(),
         2},
        {QStringLiteral("pwquality"),
         QT_TRANSLATE_NOOP("Policies", "Quality of new passwords, by pam_pwquality"),
         pwqualitySchema(),
         2},
        {QStringLiteral("pwhistory"),
         QT_TRANSLATE_NOOP("Policies", "Former passwords, by pam_pwhistory"),
         pwhistorySchema(),
         2},
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

QVector<Policy> policiesOfHelper()
{
    QVector<Policy> policies;
    std::copy_if(allPolicies().begin(), allPolicies().end(), std::back_inserter(policies), [](const Policy &policy) {
        return !policy.isOfModule();
    });
    return policies;
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

QString enabledKey()
{
    return QStringLiteral("enabled");
}

bool isOff(const SettingSchema &schema, const Settings &settings)
{
    return schema.find(enabledKey()) && !settings.value(enabledKey()).toBool();
}

Wishes withEnabling(const SettingSchema &schema, Wishes wishes)
{
    const bool wantsValue = std::any_of(schema.settings.begin(), schema.settings.end(), [&](const Setting &setting) {
        return isSet(setting, wishes.value(setting.key));
    });
    if (wantsValue && schema.find(enabledKey()) && !wishes.contains(enabledKey())) {
        wishes.insert(enabledKey(), true);
    }
    return wishes;
}

const SettingSchema &accountSchema()
{
    // shadow(5) has no other mark for a field that isn't set than -1
    static const SettingSchema schema = ageingSchema(Never::NotSet);
    return schema;
}
