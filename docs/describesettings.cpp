// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Fills the places that manual pages and the schema leave for what the client's tables say of the settings:
//
//   describesettings SOURCE TARGET

#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QStringList>

#include <limits>

namespace
{
using Texts = QMap<QString, QString>;

/// Items of a list of mdoc(7), with explanations.
QString manualItems(const SettingSchema &schema)
{
    QStringList lines;
    for (const Setting &setting : schema.settings) {
        lines += {QLatin1String(".It Cm ") + setting.key, explanationText(setting)};
    }
    return lines.join(QLatin1Char('\n'));
}

/// The type of a key on the bus, and what it counts.
QString busType(const Setting &setting)
{
    static const QMap<Unit, QString> units{{Unit::FailedLogins, QStringLiteral("failed logins")},
                                           {Unit::Seconds, QStringLiteral("seconds")},
                                           {Unit::Characters, QStringLiteral("characters")},
                                           {Unit::Credits, QStringLiteral("credits")},
                                           {Unit::Days, QStringLiteral("days")}};
    switch (setting.kind) {
    case SettingKind::Flag:
    case SettingKind::Switch:
        return QStringLiteral("bool");
    case SettingKind::Text:
        return QStringLiteral("text");
    case SettingKind::Date:
        return QStringLiteral("64-bit int, days since 1970-01-01");
    case SettingKind::Number:
        break;
    }
    return QLatin1String("int, ") + units.value(setting.unit);
}

/// The keys in lines of mdoc(7), those of one type after another together.
QString manualKeys(const SettingSchema &schema)
{
    QStringList lines;
    for (int i = 0; i < schema.settings.size();) {
        const QString type = busType(schema.settings.at(i));
        QStringList keys;
        for (; i < schema.settings.size() && busType(schema.settings.at(i)) == type; ++i) {
            keys += schema.settings.at(i).key;
        }
        lines += QLatin1String(".Cm ") + keys.join(QStringLiteral(" , "));
        lines += QStringLiteral("(%1)").arg(type) + (i < schema.settings.size() ? QStringLiteral(",") : QString());
    }
    return lines.join(QLatin1Char('\n'));
}

/// Any number that a machine may have, with further members.
QJsonObject numberSchema(QJsonObject members)
{
    members.insert(QStringLiteral("minimum"), std::numeric_limits<int>::min());
    members.insert(QStringLiteral("maximum"), std::numeric_limits<int>::max());
    return members;
}

QJsonObject dateSchema(const QString &description)
{
    const QString form = QStringLiteral("^[0-9]{4}-(0[1-9]|1[0-2])-(0[1-9]|[12][0-9]|3[01])$");
    const QString further = QStringLiteral(
        ", or its number of days since 1970-01-01 (printed only where the day has no such text); null for never");
    return {{QStringLiteral("description"), description + further},
            {QStringLiteral("anyOf"),
             QJsonArray{
                 QJsonObject{{QStringLiteral("type"), QStringLiteral("null")}},
                 numberSchema({{QStringLiteral("type"), QStringLiteral("integer")}}),
                 QJsonObject{{QStringLiteral("type"), QStringLiteral("string")}, {QStringLiteral("pattern"), form}}}}};
}

/// A value of that type, or none.
QJsonObject optionalSchema(const QString &type, const QString &description)
{
    return {{QStringLiteral("type"), QJsonArray{type, QStringLiteral("null")}},
            {QStringLiteral("description"), description + QStringLiteral("; null where it is not set")}};
}

/// For a number that means never.
QString neverText(Never never)
{
    switch (never) {
    case Never::MinusOne:
        return QStringLiteral(", -1 for never");
    case Never::Zero:
        return QStringLiteral(", 0 for never");
    case Never::NoWord:
    case Never::NotSet:
        break;
    }
    return {};
}

QJsonObject valueSchema(const Setting &setting)
{
    const QString description = descriptionText(setting);
    switch (setting.kind) {
    case SettingKind::Flag:
        return {{QStringLiteral("type"), QStringLiteral("boolean")}, {QStringLiteral("description"), description}};
    case SettingKind::Switch:
        return optionalSchema(QStringLiteral("boolean"), description);
    case SettingKind::Text:
        return optionalSchema(QStringLiteral("string"), description);
    case SettingKind::Date:
        return dateSchema(description);
    case SettingKind::Number:
        break;
    }
    return numberSchema(optionalSchema(QStringLiteral("integer"), description + neverText(setting.never)));
}

QJsonObject policySchema(const Policy &policy)
{
    QJsonObject properties;
    for (const Setting &setting : policy.schema.settings) {
        properties.insert(setting.key, valueSchema(setting));
    }
    return {{QStringLiteral("type"), QStringLiteral("object")},
            {QStringLiteral("description"), policy.titleText()},
            {QStringLiteral("properties"), properties},
            {QStringLiteral("additionalProperties"), false}};
}

QString jsonLines(const QJsonDocument &document)
{
    return QString::fromUtf8(document.toJson()).trimmed();
}

/// What comes to which place.
Texts allTexts()
{
    Texts texts;
    QJsonObject schemas;
    QJsonArray first;
    for (const Policy &policy : allPolicies()) {
        texts.insert(QStringLiteral("@settings of %1@").arg(policy.name), manualItems(policy.schema));
        texts.insert(QStringLiteral("@keys of %1@").arg(policy.name), manualKeys(policy.schema));
        schemas.insert(policy.name, policySchema(policy));
        if (policy.since == 1) {
            first += policy.name;
        }
    }
    texts.insert(QStringLiteral("@policies of version 1@"), jsonLines(QJsonDocument(first)));
    texts.insert(QStringLiteral("@policies@"), jsonLines(QJsonDocument(schemas)));
    return texts;
}

/// The line with the texts in its places, indented as it is.
QString filled(const Texts &texts, QString line)
{
    int blanks = 0;
    while (blanks < line.size() && line.at(blanks) == QLatin1Char(' ')) {
        ++blanks;
    }
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        line.replace(text.key(),
                     QString(text.value()).replace(QLatin1Char('\n'), QLatin1Char('\n') + line.left(blanks)));
    }
    return line;
}
}

int main(int argc, char *argv[])
{
    QFile source(QFile::decodeName(argc == 3 ? argv[1] : ""));
    QFile target(QFile::decodeName(argc == 3 ? argv[2] : ""));
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)) {
        qCritical("usage: describesettings SOURCE TARGET");
        return 1;
    }
    const Texts texts = allTexts();
    QStringList lines = QString::fromUtf8(source.readAll()).split(QLatin1Char('\n'));
    for (QString &line : lines) {
        line = filled(texts, line);
    }
    target.write(lines.join(QLatin1Char('\n')).toUtf8());
    target.close();
    return target.error() == QFileDevice::NoError ? 0 : 1;
}
