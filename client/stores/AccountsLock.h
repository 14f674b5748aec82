// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

#include <QtGlobal>

/// The lock of lckpwdf(3), by which programs that change accounts take turns, and which only root can hold.
class AccountsLock
{
public:
    AccountsLock();
    ~AccountsLock();

    /// Whether somebody else has held it for 15 seconds. Where there can be none, as on a read-only disk, the task tells.
    bool isBusy() const;

    /// What to say then.
    static Outcome busyOutcome();

private:
    Q_DISABLE_COPY_MOVE(AccountsLock)

    bool m_isHeld;
    bool m_isBusy;
};
