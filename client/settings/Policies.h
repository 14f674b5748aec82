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
    /// The first version of the document that has it.
    int since;
    /// Action names, without the helper's; null for a policy of a module, which the helper doesn't know.
    const char *readAction = nullptr;
    const char *writeAction = nullptr;

    bool isOfModule() const;
    /// "the lockout policy"
    QString phrase() const;
    /// The translated title.
    QString titleText() const;
};

/// In the order in which people see them.
const QVector<Policy> &allPolicies();
QStringList policyNames();
/// Those that the helper reads and writes.
QVector<Policy> policiesOfHelper();

/// Null if there is no such policy.
const Policy *findPolicy(const QString &name);

/// The key of the setting that tells whether a module is called at all; a policy has it if its profiles are the system's own.
QString enabledKey();

/// Whether these are settings of a policy that is switched off.
bool isOff(const SettingSchema &schema, const Settings &settings);

/// The wishes, and that the policy be enabled where they don't say: who wants a value of it wants it in force.
Wishes withEnabling(const SettingSchema &schema, Wishes wishes);

/// The expiration settings of one account, in the terms of shadow(5).
const SettingSchema &accountSchema();
