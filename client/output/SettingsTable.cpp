// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/SettingsTable.h"

#include "client/output/Table.h"
#include "client/settings/SettingText.h"

namespace
{
/// What a line of 79 characters leaves beside the longest key.
constexpr int explanationWidth = 59;
}

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
        const QStringList lines = wrapped(explanationText(setting), explanationWidth);
        QString key = setting.key;
        for (const QString &line : lines) {
            rows += {key, line};
            key.clear(); // it stands before the first line alone
        }
    }
    return table(rows, 2);
}
