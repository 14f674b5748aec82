// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

/// What people see of settings under one title.
struct Section {
    QString title;
    /// Outlives this.
    const SettingSchema *schema;
    InForce inForce;
};

/**
 * What policies come to, in the order in which people see them. Complexity and pwquality are one section where both are one
 * demand on a new password.
 *
 * @param readings what stands in the policies' own files, by the name of the policy
 */
QVector<Section> policySections(const QMap<QString, Settings> &readings);
