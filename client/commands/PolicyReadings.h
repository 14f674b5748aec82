// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/settings/Setting.h"
#include "client/stores/PolicyAccess.h"

#include <QMap>
#include <QVector>

/// What came of reading several policies.
struct PolicyReadings {
    /// Of those that could be read, by the name of the policy.
    QMap<QString, Settings> settings;
    /// Of the others; a failure that several in a row share stands here once.
    QVector<Outcome> failures;
};

/**
 * Reads policies, in this order; without the helper where that isn't at hand.
 *
 * @param access how they are come to
 */
PolicyReadings readPolicies(const QStringList &names, PolicyAccess access);

/// Prints those that could be read as one document.
void printDocument(const PolicyReadings &readings);

/// Prints why the others couldn't be read; the code of the first, or Done.
ExitCode printFailures(const PolicyReadings &readings);
