// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/InForceTable.h"

#include "client/Translation.h"
#include "client/output/Table.h"
#include "client/settings/SettingText.h"

namespace
{
QStringList settingRow(const Setting &setting, const InForce &inForce)
{
    QStringList row{setting.key, inForceWords(setting, inForce)};
    if (inForce.isAvailable && inForce.origins.contains(setting.key)) {
        row += originText(inForce.origins.value(setting.key));
    }
    return row;
}
}

QString inForceTable(const SettingSchema &schema, const InForce &inForce)
{
    QVector<QStringList> rows;
    for (const Setting &setting : schema.settings) {
        rows += settingRow(setting, inForce);
    }
    for (const BindingSetting &other : inForce.others) {
        rows += {other.name, bindingText(other), originText(other.origin)};
    }
    QStringList lines = table(rows, 2).split(QLatin1Char('\n'));
    if (!inForce.others.isEmpty()) {
        lines.insert(schema.settings.size(), QLatin1String("  ") + inForce.othersTitle);
    }
    for (const QString &remark : inForce.remarks) {
        lines.insert(lines.size() - 1, translate("InForceTable", "  Note: %1").arg(remark));
    }
    return lines.join(QLatin1Char('\n'));
}

QString inForceWords(const Setting &setting, const InForce &inForce)
{
    return inForce.isAvailable ? settingWords(setting, inForce.settings.value(setting.key))
                               : translate("InForceTable", "not available on this system");
}

QString bindingText(const BindingSetting &setting)
{
    const QString text = setting.value.toString();
    return text.isEmpty() ? translate("InForceTable", "not set") : text;
}
