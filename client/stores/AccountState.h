// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

#include <optional>
#include <shadow.h>

/// What follows from an account's entry in shadow(5); days are counted since 1970-01-01.
struct AccountState {
    /// As passwd(1) -S has it.
    enum class Password {
        Usable,
        Locked,
        None, ///< whoever logs in needs none
    };
    /// What a login comes to, as far as ages and dates go.
    enum class Login { Open, AccountExpired, MustChange, PasswordInactive, PasswordExpired };

    Password password;
    Login login;
    /// Whether the next login asks for a new password, unless it is refused; none of the next three is there then.
    bool mustChange;
    /// None if that isn't known.
    std::optional<qlonglong> lastChange;
    /// As chage(1) -l has them; none if it never happens.
    std::optional<qlonglong> passwordExpires;
    std::optional<qlonglong> passwordInactive;
    std::optional<qlonglong> accountExpires;
};

/// @param login what comes of a login, which the entry alone doesn't tell
AccountState accountStateOf(const spwd &entry, AccountState::Login login);

/// The state of today; none if the account has no entry, this process may not read it, or pam_unix(8) can't be asked.
std::optional<AccountState> readAccountState(const QString &account);
