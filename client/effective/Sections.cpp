// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Sections.h"

#include "client/Translation.h"
#include "client/effective/PolicyInForce.h"

#include <optional>

namespace
{
QString complexityName()
{
    return QStringLiteral("complexity");
}

QString qualityName()
{
    return QStringLiteral("pwquality");
}

/// All settings of both, those that both have once.
const SettingSchema &demandSchema()
{
    static const SettingSchema schema = [] {
        SettingSchema both = findPolicy(qualityName())->schema;
        for (const Setting &setting : findPolicy(complexityName())->schema.settings) {
            if (!both.find(setting.key)) {
                both.settings += setting;
            }
        }
        return both;
    }();
    return schema;
}

/// None where only one of them is to be seen, or they are no one demand.
std::optional<Section> demandSection(const QMap<QString, Settings> &readings)
{
    if (!readings.contains(complexityName()) || !readings.contains(qualityName())) {
        return {};
    }
    const std::optional<InForce> inForce =
        demandInForce(demandSchema(), readings.value(complexityName()), readings.value(qualityName()));
    if (!inForce) {
        return {};
    }
    return Section{
        translate("Sections", "New passwords: the policies complexity and pwquality"), &demandSchema(), *inForce};
}
}

QVector<Section> policySections(const QMap<QString, Settings> &readings)
{
    const std::optional<Section> demand = demandSection(readings);
    QVector<Section> sections;
    for (const Policy &policy : allPolicies()) {
        if (!readings.contains(policy.name) || (demand && policy.name == qualityName())) {
            continue;
        }
        sections += demand && policy.name == complexityName()
            ? *demand
            : Section{policy.titleText(), &policy.schema, inForceOf(policy, readings.value(policy.name))};
    }
    return sections;
}
