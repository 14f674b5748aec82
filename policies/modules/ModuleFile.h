// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModulePolicy.h"

#include <QByteArray>
#include <QStringList>
#include <QVariantMap>

/// What a file of this content sets of the policy, read as its module does.
QVariantMap moduleFileValues(const ModulePolicy &policy, const QByteArray &content, QString *error);

/**
 * The content with these values: each in the last line that sets it now, or at the end. A line that has it already keeps its
 * bytes; other lines that set it, and those of settings that are absent or false flags, go, and leave their comments.
 *
 * @param kept settings whose lines stay, too, where the module takes nothing of them and the values have none
 */
QByteArray moduleFileWith(const ModulePolicy &policy,
                          const QByteArray &content,
                          const QVariantMap &values,
                          const QStringList &kept = {});

/// What options of a module's line set of the policy.
QVariantMap moduleOptionValues(const ModulePolicy &policy, const QStringList &options);

/// The options that aren't the policy's, in their order, and behind them those of the values.
QStringList moduleOptionsWith(const ModulePolicy &policy, const QStringList &options, const QVariantMap &values);

/// The values without the flags that are false: as reading gives them.
QVariantMap setValues(const ModulePolicy &policy, const QVariantMap &values);
