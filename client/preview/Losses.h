// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamPolicy.h"

#include <QByteArrayList>

/// A stack of pam.d(5) and what its lines may come from.
struct StackTexts {
    /// What its lines begin with: "auth".
    QByteArray type;
    QByteArray before;
    QByteArray after;
    /// What pam-auth-update(8) has put there by its own account, without the type: its file in /var/lib/pam.
    QByteArray record;
    /// The stack as the system brings it.
    QByteArray stock;
};

/**
 * The lines of a stack that an administrator has put or changed there and that would be gone, comments among them, each
 * as it is.
 *
 * A line is still there if one is that has the same module and options, whatever their order, the jumps and the white
 * space. Options that the policy manages may differ on the lines of its modules.
 *
 * A line that just equals one of a profile which isn't enabled is the administrator's, too.
 */
QByteArrayList lostLines(const PamPolicy &policy, const StackTexts &stack);
