// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModuleReading.h"

#include <QMap>

/// What a module goes by where one of its lines calls it: its file, and the line's options over that.
struct ModuleRules {
    /// What is set, typed; the module's defaults aren't in it.
    QVariantMap values;
    /// By setting: the path of the file, or of the stack, that it comes from.
    QMap<QString, QString> sources;
    /// The file that the module reads here: the policy's, or one that the line names. Empty where it reads none.
    QString file;
    /// Why that file can't be read, one line; empty if it was.
    QString error;

    /// What holds: the module's own default where nothing sets it; invalid if it has none.
    QVariant value(const ModulePolicy &policy, const QString &setting) const;
};

ModuleRules moduleRules(const ModulePolicy &policy, const ModuleLine &line);

/**
 * The line by whose rules the module refuses somebody, and if there is none, the one that enforces the policy; one that the
 * services include before another. Null if none calls the module so.
 */
const ModuleLine *decidingLine(const ModulePolicy &policy, const ModuleReading &reading);

/// The file that these options of a line have the module read; the last one counts.
QString configurationPath(const QStringList &options, const QString &byDefault);
