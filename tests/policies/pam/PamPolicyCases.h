// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamOptionReader.h"
#include "policies/pam/PamOptionRewriter.h"
#include "policies/pam/PamPolicy.h"
#include "tasks/ElementTask.h"

#include <QStringList>
#include <QTest>
#include <QVariantMap>

#include <memory>

/**
 * What tells the PAM policies apart, stated a second time, so that what holds for all of them is tested with each.
 *
 * Texts of tests have in braces what differs: "{module}" is a module's file, "{base}" its name without ".so", "{flag}"
 * and "{flag2}" are the first and the last flag, "{number}" is the first number, which is corrected in the stack, and
 * "{number2}" the last one. In capitals, "{MODULE}" is the same in capitals.
 */
struct PamPolicyCase {
    /// A module, without ".so".
    QByteArray base;
    QString profileName;
    QString stackName;
    /// In the order in which they are written.
    QStringList flags;
    QStringList numbers;
    /// The patterns of its table: for reading, for rewriting, of an option, of a module.
    const PamPolicy *table;
    QStringList patterns;
    const char *updateContext;
    std::unique_ptr<ElementTask> (*newReadTask)();
    std::unique_ptr<ElementTask> (*newUpdateTask)(const QVariantMap &arguments);
    /// Their handlers.
    std::unique_ptr<PamOptionReader> (*newReader)(QVariantMap *values);
    std::unique_ptr<PamOptionRewriter> (*newRewriter)(const QVariantMap *arguments);

    QString profile() const;
    QString stack() const;
    QByteArray filled(QByteArray text) const;
    /// The keys are filled.
    QVariantMap filled(const QVariantMap &map) const;
    /// What a read yields that finds these: the other flags are false.
    QVariantMap withFlags(const QVariantMap &found) const;
    /// Every option as a line has it, in the order of writing: the flags or not, and the numbers if there is one.
    QByteArray options(bool areFlagsSet, const QByteArray &number) const;
    /// Every option as a map has it.
    QVariantMap values(const QVariant &flag, const QVariant &number) const;
};
Q_DECLARE_METATYPE(const PamPolicyCase *)

/// One for each module of each policy.
const QVector<PamPolicyCase> &pamPolicyCases();

/// Has every function of a test run with each of them.
void addPamPolicies();
/// The one that the function runs with.
const PamPolicyCase &testedPolicy();
