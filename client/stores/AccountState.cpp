// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountState.h"

#include "messages/LocalText.h"

#include <QDate>

#include <limits>

namespace
{
/// From this many days on, chage(1) takes a password's life for endless.
constexpr long endless = 10000;

/// Of days that aren't negative; the last day that there is where the sum is beyond it.
qlonglong later(qlonglong day, qlonglong days)
{
    constexpr qlonglong last = std::numeric_limits<qlonglong>::max();
    return days > last - day ? last : day + days;
}

AccountState::Password passwordOf(const char *hash)
{
    if (*hash == '\0') {
        return AccountState::Password::None;
    }
    return *hash == '!' || *hash == '*' ? AccountState::Password::Locked : AccountState::Password::Usable;
}

bool mustChange(const spwd &entry)
{
    return entry.sp_lstchg == 0;
}

AccountState::Login loginOf(const spwd &entry, qlonglong today)
{
    if (entry.sp_expire != -1 && today >= entry.sp_expire) {
        return AccountState::Login::AccountExpired;
    }
    if (mustChange(entry)) {
        return AccountState::Login::MustChange;
    }
    // where the last change isn't known, pam_unix(8) reckons as if it were long ago, whatever shadow(5) says
    const qlonglong age = today - entry.sp_lstchg;
    if (entry.sp_max < 0 || age <= entry.sp_max) {
        return AccountState::Login::Open;
    }
    const bool isInactive = entry.sp_inact >= 0 && age > later(entry.sp_max, entry.sp_inact);
    return isInactive ? AccountState::Login::PasswordInactive : AccountState::Login::PasswordExpired;
}
}

AccountState accountStateOf(const spwd &entry, qlonglong today)
{
    AccountState state;
    state.password = passwordOf(entry.sp_pwdp);
    state.login = loginOf(entry, today);
    state.mustChange = mustChange(entry);
    if (entry.sp_expire >= 0) {
        state.accountExpires = entry.sp_expire;
    }
    if (entry.sp_lstchg <= 0) {
        return state;
    }
    state.lastChange = entry.sp_lstchg;
    if (entry.sp_max < 0 || entry.sp_max >= endless) {
        return state;
    }
    state.passwordExpires = later(entry.sp_lstchg, entry.sp_max);
    if (entry.sp_inact >= 0) {
        state.passwordInactive = later(*state.passwordExpires, entry.sp_inact);
    }
    return state;
}

std::optional<AccountState> readAccountState(const QString &account)
{
    const spwd *entry = getspnam(localBytes(account).constData());
    if (!entry) {
        return {};
    }
    return accountStateOf(*entry, QDate(1970, 1, 1).daysTo(QDateTime::currentDateTimeUtc().date()));
}
