// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

#include <QMap>

/// Where a value comes from: the path of a file, or an empty text for what a module does by itself.
using Origin = QString;

/// Something that binds beside a policy's own settings. It is shown, but can't be set.
struct BindingSetting {
    /// As in the files of the module.
    QString name;
    /// A number or a text.
    QVariant value;
    Origin origin;
};

/// What a policy comes to, all files and the modules' defaults together.
struct InForce {
    Settings settings;
    /// By key; a setting that isn't set has none.
    QMap<QString, Origin> origins;
    QVector<BindingSetting> others;
    /// By key: how a setting that comes from elsewhere is taken away there, as part of a sentence.
    QMap<QString, QString> remedies;
    /// Keys of numbers that the module raises: there is more in force than the policy's own files say.
    QStringList raised;
    /// What others are, as the title of a list; empty where there are none.
    QString othersTitle;
    /// What keeps the policy, or a part of it, from being in force, a sentence each.
    QStringList remarks;
    /// Whether a flag that is to be off has to be off in all places: the module does nothing of it by itself.
    bool flagsAreOffByDefault = false;
    /// Whether anything of it can come into force on this machine.
    bool isAvailable = true;
    /// Whether what doesn't follow the policy is refused.
    bool isEnforced = true;
};

/// What somebody wants of a policy, compared with what it comes to.
struct Comparison {
    /// What there is instead; equal to what was wanted where that is in force.
    Settings found;
    /// Why, as far as that is known, a line each; none if all is in force.
    QStringList obstacles;

    bool isInForce(const Settings &wanted) const
    {
        return found == wanted && obstacles.isEmpty();
    }
};

/**
 * Compares. A setting that is to have a value is in force if the policy comes to that value, wherever it is set. One that
 * isn't to be set, or a flag that isn't to stand, is a matter of the policy's own files alone: a module does something
 * without it, too. But where it does not, a flag that somebody has named has to be off.
 *
 * @param read   what stands in the policy's own files
 * @param wanted what somebody wants
 * @param named  the keys of what he has said of it; the rest is as it was
 */
Comparison compare(const SettingSchema &schema,
                   const InForce &inForce,
                   const Settings &read,
                   const Settings &wanted,
                   const QStringList &named = {});

/// The origin for people.
QString originText(const Origin &origin);
