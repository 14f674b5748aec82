// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModuleReading.h"

/// How callers and the journal are told what puts a policy in force.
inline QString forceName(ModuleForce force)
{
    switch (force) {
    case ModuleForce::OurProfiles:
        return QStringLiteral("profiles");
    case ModuleForce::OtherLines:
        return QStringLiteral("lines");
    default:
        return QStringLiteral("none");
    }
}
