// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"

class PolicyAccess;

/**
 * Reads policies for a command that changes none: by the helper or, once that isn't at hand, in this process, which is said
 * in one line on the standard error.
 */
class PolicyReader
{
public:
    /// @param access how policies are come to; outlives the reader
    explicit PolicyReader(PolicyAccess *access);

    Reading read(const Policy &policy);

private:
    PolicyAccess *m_access;
    bool m_withoutHelper = false;
};
