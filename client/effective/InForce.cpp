// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/InForce.h"

#include "client/Translation.h"

namespace
{
QVariant foundFor(const Setting &setting, const InForce &inForce, const QVariant &read, const QVariant &wanted)
{
    return isSet(wanted) && !inForce.raised.contains(setting.key) ? inForce.settings.value(setting.key) : read;
}
}

bool isSet(const QVariant &value)
{
    return value.userType() == QMetaType::Bool ? value.toBool() : value.isValid();
}

Comparison compare(const SettingSchema &schema, const InForce &inForce, const Settings &read, const Settings &wanted)
{
    Comparison comparison;
    bool isAnythingWanted = false;
    for (const Setting &setting : schema.settings) {
        const QVariant wish = wanted.value(setting.key);
        const QVariant found = foundFor(setting, inForce, read.value(setting.key), wish);
        if (found.isValid()) {
            comparison.found.insert(setting.key, found);
        }
        isAnythingWanted = isAnythingWanted || isSet(wish);
        const Origin origin = inForce.origins.value(setting.key);
        if (found != wish && found != read.value(setting.key) && !origin.isEmpty()) {
            comparison.obstacles += translate("InForce", "%1 comes from %2").arg(setting.key, origin);
        }
    }
    const bool differs = !differingKeys(schema, comparison.found, wanted).isEmpty();
    if (differs || (isAnythingWanted && !inForce.isEnforced)) {
        comparison.obstacles += inForce.remarks;
    }
    return comparison;
}

QString originText(const Origin &origin)
{
    return origin.isEmpty() ? translate("InForce", "default") : origin;
}
