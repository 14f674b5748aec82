// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QVariantMap>

#include <memory>

/// A value whose life can be watched: it ends with the last map that holds it.
struct WatchedValue {
    std::shared_ptr<int> life;
};
Q_DECLARE_METATYPE(WatchedValue)

/// Makes a map on the heap that holds one watched value; @p watcher expires when the map is freed.
inline QVariantMap *newWatchedMap(std::weak_ptr<int> *watcher)
{
    const WatchedValue value{std::make_shared<int>(0)};
    *watcher = value.life;
    return new QVariantMap{{QStringLiteral("watched"), QVariant::fromValue(value)}};
}
