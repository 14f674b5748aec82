// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountsLock.h"

#include "client/Translation.h"

#include <cerrno>
#include <shadow.h>

AccountsLock::AccountsLock() : m_isHeld(lckpwdf() == 0), m_isBusy(!m_isHeld && errno == EINTR)
{
}

AccountsLock::~AccountsLock()
{
    if (m_isHeld) {
        ulckpwdf();
    }
}

bool AccountsLock::isBusy() const
{
    return m_isBusy;
}

Outcome AccountsLock::busyOutcome()
{
    return {ExitCode::Busy,
            translate("AccountsLock", "another program is changing policies or accounts; try again later")};
}
