// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/InForce.h"

#include "client/Translation.h"
#include "client/settings/Policies.h"

namespace
{
/// Whether it has to be off, whoever sets it.
bool isRefused(const Setting &setting, const InForce &inForce, const QVariant &wanted, const QStringList &named)
{
    return inForce.flagsAreOffByDefault && setting.kind == SettingKind::Flag && wanted == QVariant(false)
        && named.contains(setting.key);
}

QVariant foundFor(const Setting &setting,
                  const InForce &inForce,
                  const QVariant &read,
                  const QVariant &wanted,
                  const QStringList &named)
{
    const bool isDemand = isSet(setting, wanted) || isRefused(setting, inForce, wanted, named);
    return isDemand && !inForce.raised.contains(setting.key) ? inForce.settings.value(setting.key) : read;
}

/// Says where a setting comes from that was to be another, and what to do about it.
QString obstacleOf(const InForce &inForce, const QString &key)
{
    const QString text = translate("InForce", "%1 comes from %2").arg(key, inForce.origins.value(key));
    const QString remedy = inForce.remedies.value(key);
    return remedy.isEmpty() ? text : translate("InForce", "%1; %2").arg(text, remedy);
}
}

Comparison compare(const SettingSchema &schema,
                   const InForce &inForce,
                   const Settings &read,
                   const Settings &wanted,
                   const QStringList &named)
{
    Comparison comparison;
    bool isAnythingWanted = false;
    for (const Setting &setting : schema.settings) {
        const QVariant wish = wanted.value(setting.key);
        const QVariant found = foundFor(setting, inForce, read.value(setting.key), wish, named);
        if (found.isValid()) {
            comparison.found.insert(setting.key, found);
        }
        isAnythingWanted = isAnythingWanted || isSet(setting, wish);
        const bool isFromElsewhere = !inForce.origins.value(setting.key).isEmpty();
        if (found != wish && found != read.value(setting.key) && isFromElsewhere) {
            comparison.obstacles += obstacleOf(inForce, setting.key);
        }
    }
    const bool differs = !differingKeys(schema, comparison.found, wanted).isEmpty();
    if (differs || (isAnythingWanted && !inForce.isEnforced && !isOff(schema, wanted))) {
        comparison.obstacles += inForce.remarks;
    }
    return comparison;
}

QString originText(const Origin &origin)
{
    return origin.isEmpty() ? translate("InForce", "default") : origin;
}
