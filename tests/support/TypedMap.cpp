// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/TypedMap.h"

QStringList typedEntries(const QVariantMap &map)
{
    QStringList entries;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        entries += QStringLiteral("%1: %2 %3").arg(it.key(), QLatin1String(it->typeName()), it->toString());
    }
    return entries;
}
