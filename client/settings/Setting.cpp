// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Setting.h"

#include <QStringList>

const Setting *SettingSchema::find(const QString &key) const
{
    for (const Setting &setting : settings) {
        if (setting.key == key) {
            return &setting;
        }
    }
    return nullptr;
}

QStringList SettingSchema::keys() const
{
    QStringList keys;
    for (const Setting &setting : settings) {
        keys += setting.key;
    }
    return keys;
}

bool isAllowed(const Setting &setting, const QVariant &value)
{
    if (!value.isValid() || setting.kind == SettingKind::Flag) {
        return true;
    }
    const qlonglong number = value.toLongLong();
    return setting.minimum <= number && number <= setting.maximum;
}

Settings normalized(const SettingSchema &schema, const QVariantMap &values)
{
    Settings settings;
    for (const Setting &setting : schema.settings) {
        const QVariant value = values.value(setting.key);
        if (setting.kind == SettingKind::Flag) {
            settings.insert(setting.key, value.toBool());
        } else if (value.isValid() && (setting.never != Never::NotSet || value.toLongLong() != -1)) {
            settings.insert(setting.key, value.toLongLong());
        }
    }
    return settings;
}

Settings fulfilled(const SettingSchema &schema, const Settings &settings, const Wishes &wishes)
{
    QVariantMap values = settings;
    for (auto wish = wishes.cbegin(); wish != wishes.cend(); ++wish) {
        values.insert(wish.key(), wish.value());
    }
    return normalized(schema, values);
}

QStringList differingKeys(const SettingSchema &schema, const Settings &left, const Settings &right)
{
    QStringList keys;
    for (const Setting &setting : schema.settings) {
        if (left.value(setting.key) != right.value(setting.key)) {
            keys += setting.key;
        }
    }
    return keys;
}
