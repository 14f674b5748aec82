// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Document.h"

#include "client/Translation.h"
#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace
{
constexpr int formatVersion = 2;

/// Whether the value is of a type that stands for the setting: flags only as booleans.
bool hasFittingType(const Setting &setting, const QJsonValue &value)
{
    switch (setting.kind) {
    case SettingKind::Flag:
    case SettingKind::Switch:
        return value.isBool();
    case SettingKind::Number:
        return value.isDouble();
    case SettingKind::Text:
        return value.isString();
    case SettingKind::Date:
        break;
    }
    return value.isDouble() || value.isString();
}

/// Says that the value isn't allowed, and what is; a text stands there with the quotes that it has in the document.
QString badJsonText(const Setting &setting, const QJsonValue &value)
{
    return translate("Document", "%1: %2 is not allowed; allowed is %3")
        .arg(setting.key, jsonText(value), allowedInDocumentText(setting));
}

bool fromJson(const Setting &setting, const QJsonValue &value, QVariant *wish)
{
    if (value.isNull()) {
        return setting.kind != SettingKind::Flag;
    }
    if (!hasFittingType(setting, value)) {
        return false;
    }
    // the same forms as for what is typed
    return parseSettingText(setting, value.isString() ? value.toString() : jsonText(value), wish);
}

/// The first value that no policy can have: the helper's numbers have 32 bits.
QString impossibleValueText(const SettingSchema &schema, const Wishes &wishes)
{
    for (auto wish = wishes.cbegin(); wish != wishes.cend(); ++wish) {
        const qlonglong number = wish.value().toLongLong();
        if (number != static_cast<int>(number)) {
            return badMemberText(*schema.find(wish.key()), wish.value());
        }
    }
    return {};
}

QString policyFromJson(const Policy &policy, const QJsonValue &value, Wishes *wishes)
{
    if (!value.isObject()) {
        return translate("Document", "%1 is not an object").arg(policy.phrase());
    }
    const QString wrong = settingsFromJson(policy.schema, policy.phrase(), value.toObject(), wishes);
    *wishes = withEnabling(policy.schema, *wishes);
    return wrong.isEmpty() ? impossibleValueText(policy.schema, *wishes) : wrong;
}

/// Why each value is wanted, for who reads the document.
QString reasonsMember()
{
    return QStringLiteral("reasons");
}

/// Of the document's format; 0 for none that there is.
int versionOf(const QJsonObject &document)
{
    const QJsonValue version = document.value(QStringLiteral("version"));
    for (int known = formatVersion; known > 0; --known) {
        if (version == QJsonValue(known)) {
            return known;
        }
    }
    return 0;
}

/// Those that a document of that version may have.
QStringList policyNamesIn(int version)
{
    QStringList names;
    for (const Policy &policy : allPolicies()) {
        if (policy.since <= version) {
            names += policy.name;
        }
    }
    return names;
}
}

QJsonValue settingToJson(const Setting &setting, const QVariant &value)
{
    if (!value.isValid()) {
        return QJsonValue::Null;
    }
    if (setting.kind == SettingKind::Flag || setting.kind == SettingKind::Switch) {
        return value.toBool();
    }
    if (setting.kind == SettingKind::Text) {
        return value.toString();
    }
    const qlonglong number = value.toLongLong();
    return setting.kind == SettingKind::Date && hasDate(number) ? QJsonValue(dateText(number)) : QJsonValue(number);
}

QString jsonText(const QJsonValue &value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QString badMemberText(const Setting &setting, const QVariant &value)
{
    return badJsonText(setting, settingToJson(setting, value));
}

QJsonObject settingsToJson(const SettingSchema &schema, const Settings &settings)
{
    QJsonObject object;
    for (const Setting &setting : schema.settings) {
        object.insert(setting.key, settingToJson(setting, settings.value(setting.key)));
    }
    return object;
}

QString settingsFromJson(const SettingSchema &schema, const QString &subject, const QJsonObject &object, Wishes *wishes)
{
    for (auto member = object.begin(); member != object.end(); ++member) {
        const Setting *setting = schema.find(member.key());
        if (!setting) {
            return unknownKeyText(schema, subject, member.key());
        }
        QVariant wish;
        if (!fromJson(*setting, member.value(), &wish)) {
            return badJsonText(*setting, member.value());
        }
        wishes->insert(member.key(), wish);
    }
    return {};
}

QByteArray writeDocument(const QMap<QString, Settings> &policies)
{
    QJsonObject all;
    for (auto it = policies.cbegin(); it != policies.cend(); ++it) {
        all.insert(it.key(), settingsToJson(findPolicy(it.key())->schema, it.value()));
    }
    const QJsonObject document{{QStringLiteral("version"), formatVersion}, {QStringLiteral("policies"), all}};
    return QJsonDocument(document).toJson();
}

QString inForceMember()
{
    return QStringLiteral("inForce");
}

QString readDocument(const QByteArray &text, QMap<QString, Wishes> *policies)
{
    QJsonParseError error;
    QJsonObject document = QJsonDocument::fromJson(text, &error).object();
    if (error.error != QJsonParseError::NoError) {
        return translate("Document", "not a JSON document: %1 (at byte %2)")
            .arg(error.errorString(), QString::number(error.offset));
    }
    if (document.value(inForceMember()).isObject()) {
        document.remove(inForceMember());
    }
    const int version = versionOf(document);
    if (version >= 2 && document.value(reasonsMember()).isObject()) {
        document.remove(reasonsMember());
    }
    if (version == 0 || !document.value(QStringLiteral("policies")).isObject() || document.size() != 2) {
        return translate("Document",
                         "not a policy document: needs \"version\": %1, \"policies\": an object, and nothing else")
            .arg(formatVersion);
    }
    const QJsonObject all = document.value(QStringLiteral("policies")).toObject();
    for (auto member = all.begin(); member != all.end(); ++member) {
        const Policy *policy = findPolicy(member.key());
        if (!policy || policy->since > version) {
            return translate("Document", "there is no policy \"%1\"; there are %2")
                .arg(member.key(), policyNamesIn(version).join(QStringLiteral(", ")));
        }
        QString wrong = policyFromJson(*policy, member.value(), &(*policies)[policy->name]);
        if (!wrong.isEmpty()) {
            return wrong;
        }
    }
    return {};
}
