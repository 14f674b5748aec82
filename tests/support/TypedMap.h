// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVariantMap>

/**
 * One text "key: type value" for each entry, in the order of the keys.
 *
 * Compare these rather than the maps: variants of different types that hold equal numbers compare as equal.
 */
QStringList typedEntries(const QVariantMap &map);

/// The map with such entries, of which ", " stands between two: "deny: int 5, per_user: bool true".
QVariantMap typedMap(const QByteArray &entries);
