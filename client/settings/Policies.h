// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

/// One of the machine's policies.
struct Policy {
    /// As it is typed, and in documents.
    QString name;
    /// Untranslated, in the context "Policies".
    const char *title;
    SettingSchema schema;
    /// Action names, without the helper's.
    const char *readAction;
    const char *writeAction;

    /// "the lockout policy"
    QString phrase() const;
    /// The translated title.
    QString titleText() const;
};

/// In the order in which people see them.
const QVector<Policy> &allPolicies();
QStringList policyNames();

/// Null if there is no such policy.
const Policy *findPolicy(const QString &name);

/// The expiration settings of one account, in the terms of shadow(5).
const SettingSchema &accountSchema();
