// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"

/**
 * Reads policies for a command that changes none: by the helper or, once that isn't at hand, in this process, which is said
 * in one line on the standard error.
 */
class PolicyReader
{
public:
    /// @param mayAsk whether a password may be asked for on the terminal
    explicit PolicyReader(bool mayAsk);

    Reading read(const Policy &policy);

private:
    bool m_mayAsk;
    bool m_withoutHelper = false;
};
