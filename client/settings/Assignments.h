// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

#include <QStringList>

/**
 * Understands words of the form "key=value"; "key=" is the wish that the key isn't set.
 *
 * @param schema  the settings that there are
 * @param subject what they are settings of, for messages: "the lockout policy"
 * @param words   what was typed
 * @param wishes  receives the wishes
 * @return what is wrong, one line; empty if nothing is
 */
QString parseAssignments(const SettingSchema &schema, const QString &subject, const QStringList &words, Wishes *wishes);

/// Says that there is no such key, and which one may have been meant.
QString unknownKeyText(const SettingSchema &schema, const QString &subject, const QString &key);

/// Says that the value isn't allowed, and what is.
QString badValueText(const Setting &setting, const QString &value);

/// The candidate that takes the fewest edits to come from @p word; empty if none is near: one letter of four may be wrong.
QString nearest(const QString &word, const QStringList &candidates);
