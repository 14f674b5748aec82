// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/InForceDocument.h"

#include "client/settings/Document.h"

#include <QJsonArray>

namespace
{
QJsonObject valueAndOrigin(const QJsonValue &value, const QJsonValue &origin)
{
    return {{QStringLiteral("value"), value}, {QStringLiteral("origin"), origin}};
}

QJsonValue originToJson(const Origin &origin)
{
    return origin.isEmpty() ? QStringLiteral("default") : origin;
}
}

QJsonObject inForceToJson(const SettingSchema &schema, const InForce &inForce)
{
    const QJsonObject values = settingsToJson(schema, inForce.settings);
    QJsonObject settings;
    const QStringList keys = schema.keys();
    for (const QString &key : keys) {
        const bool hasOrigin = inForce.origins.contains(key);
        settings.insert(
            key,
            valueAndOrigin(values.value(key), hasOrigin ? originToJson(inForce.origins.value(key)) : QJsonValue::Null));
    }
    QJsonObject others;
    for (const BindingSetting &other : inForce.others) {
        others.insert(other.name, valueAndOrigin(QJsonValue::fromVariant(other.value), originToJson(other.origin)));
    }
    return {{QStringLiteral("available"), inForce.isAvailable},
            {QStringLiteral("enforced"), inForce.isEnforced},
            {QStringLiteral("settings"), settings},
            {QStringLiteral("others"), others},
            {QStringLiteral("remarks"), QJsonArray::fromStringList(inForce.remarks)}};
}
