// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Setting.h"

#include <QRegularExpression>
#include <QStringList>

namespace
{
/// As it stands in a file behind "=" and is read back: a blank or a "#" would end it there.
bool hasForm(TextForm form, const QString &text)
{
    static const QRegularExpression name(QStringLiteral(R"(\A[!"$-~]+\z)"));
    static const QRegularExpression path(QStringLiteral(R"(\A/[!"$-~]*\z)"));
    return (form == TextForm::Name ? name : path).match(text).hasMatch();
}

/// In the type of the setting's kind; invalid for what stands for nothing.
QVariant typed(const Setting &setting, const QVariant &value)
{
    switch (setting.kind) {
    case SettingKind::Flag:
        return value.toBool();
    case SettingKind::Switch:
        return value.isValid() ? QVariant(value.toBool()) : QVariant();
    case SettingKind::Text:
        return value.isValid() ? QVariant(value.toString()) : QVariant();
    case SettingKind::Number:
    case SettingKind::Date:
        break;
    }
    const bool isNone = !value.isValid() || (setting.never == Never::NotSet && value.toLongLong() == -1);
    return isNone ? QVariant() : QVariant(value.toLongLong());
}
}

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
    if (!value.isValid() || setting.kind == SettingKind::Flag || setting.kind == SettingKind::Switch) {
        return true;
    }
    if (setting.kind == SettingKind::Text) {
        return hasForm(setting.form, value.toString());
    }
    const qlonglong number = value.toLongLong();
    return setting.minimum <= number && number <= setting.maximum;
}

bool isSet(const Setting &setting, const QVariant &value)
{
    return setting.kind == SettingKind::Flag ? value.toBool() : value.isValid();
}

Settings normalized(const SettingSchema &schema, const QVariantMap &values)
{
    Settings settings;
    for (const Setting &setting : schema.settings) {
        const QVariant value = typed(setting, values.value(setting.key));
        if (value.isValid()) {
            settings.insert(setting.key, value);
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
