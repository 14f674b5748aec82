// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

/// All that pam_pwquality goes by when somebody chooses a password.
struct PwqualityRules {
    /// Each setting that its library knows, in the order of its manual page.
    QVector<BindingSetting> settings;
    /// What files set, and what comes behind them sets otherwise.
    QVector<BindingSetting> overridden;
    /// What it doesn't take of its files and options, and which files this user can't see, a sentence each.
    QStringList remarks;

    /// An invalid one if the library doesn't know the name.
    BindingSetting find(const QString &name) const;
};

/**
 * What pam_pwquality makes of pwquality.conf(5), of the files in the folder beside it, and of the options of its line.
 *
 * @param stack   the path of the file with that line
 * @param options the line's options
 */
PwqualityRules pwqualityRules(const QString &stack, const QStringList &options);

/// The files that the library reads, in that order; the last one that sets something wins.
QStringList pwqualityFiles();
