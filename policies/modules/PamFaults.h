// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

/**
 * Why a service's stacks don't work, each in one line that stays the same when lines are added elsewhere: a module that isn't
 * installed, a file that isn't there, a control that isn't known, a jump that lands outside of its stack, a stack that can't
 * end with success.
 *
 * The stacks are read as libpam reads them, with all that they include.
 *
 * @param root    where copies of pamFolders() are, by their paths; empty for the files themselves
 * @param service the name of its file there; or of one that others include, which is then judged alone
 */
QStringList pamServiceFaults(const QString &root, const QString &service);

/// The same for all services.
QStringList pamFaults(const QString &root);

/**
 * Where lines jump to that pam-auth-update(8) doesn't write, in all services, a line each. They count lines, also those that
 * it puts in between.
 */
QStringList pamJumps(const QString &root);

/// What comes of passwords in a stack that calls pam_faillock, where other modules make no exception.
struct FaillockEffect {
    /// Whether a wrong password counts.
    bool counts = false;
    /// Whether a locked account is kept out, whatever its password.
    bool keepsOut = false;
};

/// @param service as for pamServiceFaults()
FaillockEffect faillockEffect(const QString &root, const QString &service);
