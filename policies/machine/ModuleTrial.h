// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/machine/MachineCopy.h"
#include "policies/modules/ModuleWriting.h"

/// Writes the policy of a module into copies of the files, which tell afterwards what is different.
class ModuleTrial
{
public:
    /// Takes the copies.
    explicit ModuleTrial(const ModulePolicy &policy);

    /// With what has been written so far.
    const MachineCopy &copy() const;

    /// May be done again, upon what the last one has left. The reason is about the machine's files.
    ModuleOutcome write(const ModuleWish &wish) const;

private:
    const ModulePolicy &m_policy;
    MachineCopy m_copy;
};
