// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountState.h"

#include "engine/Command.h"
#include "messages/LocalText.h"

#include <algorithm>
#include <limits>

namespace
{
/// From this many days on, chage(1) takes a password's life for endless.
constexpr long endless = 10000;

/// Of days that aren't negative; the last day that there is where the sum is beyond it.
qlonglong later(qlonglong day, qlonglong days)
{
    return day + std::min(days, std::numeric_limits<qlonglong>::max() - day);
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

/// Asks the program by which pam_unix(8) decides, since its releases reckon differently: up to Debian 12 an unknown last change
/// is one long ago, and the last day of a password is a good one; from Debian 13 on neither.
std::optional<AccountState::Login> loginOf(const QString &account, const spwd &entry)
{
    const CommandOutcome judged =
        runCommand({QStringLiteral("/usr/sbin/unix_chkpwd"), {account, QStringLiteral("chkexpiry")}});
    if (judged.end != CommandOutcome::End::Exited) {
        return {};
    }
    // the numbers of pam(3)
    switch (judged.exitCode) {
    case 0:
        return AccountState::Login::Open;
    case 12: // PAM_NEW_AUTHTOK_REQD
        return mustChange(entry) ? AccountState::Login::MustChange : AccountState::Login::PasswordExpired;
    case 13: // PAM_ACCT_EXPIRED
        return AccountState::Login::AccountExpired;
    case 27: // PAM_AUTHTOK_EXPIRED
        return AccountState::Login::PasswordInactive;
    default:
        return {};
    }
}
}

AccountState accountStateOf(const spwd &entry, AccountState::Login login)
{
    AccountState state{passwordOf(entry.sp_pwdp), login, mustChange(entry), {}, {}, {}, {}};
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
    const std::optional<AccountState::Login> login = loginOf(account, *entry);
    return login ? std::make_optional(accountStateOf(*entry, *login)) : std::nullopt;
}
