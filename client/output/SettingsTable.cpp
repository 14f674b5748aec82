// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/SettingsTable.h"

#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/SettingText.h"

QString settingsTable(const SettingSchema &schema, const Settings &settings)
{
    QVector<QStringList> rows;
    for (const Setting &setting : schema.settings) {
        rows += {setting.key, settingWords(setting, settings.value(setting.key))};
    }
    return table(rows, 2);
}

QString settingsHelp(const SettingSchema &schema)
{
    QVector<QStringList> rows;
    for (const Setting &setting : schema.settings) {
        rows += {setting.key, explanationText(setting)};
    }
    return explanations(rows, out().width());
}
