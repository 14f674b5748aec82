// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/PasswordPrompt.h"

bool PasswordPrompt::open(const QString &action)
{
    Q_UNUSED(action)
    return false;
}

void PasswordPrompt::close()
{
}

bool PasswordPrompt::isOpen() const
{
    return false;
}

bool PasswordPrompt::isAsking() const
{
    return false;
}

bool PasswordPrompt::isCancelled() const
{
    return false;
}
