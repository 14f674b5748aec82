// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

#include <QJsonObject>
#include <QMap>

/// One value as JSON: flags as booleans, numbers as numbers, dates as "YYYY-MM-DD", null for what isn't set.
QJsonValue settingToJson(const Setting &setting, const QVariant &value);

/// The value as it stands in a document.
QString jsonText(const QJsonValue &value);

/**
 * Settings as JSON: flags as booleans, numbers as numbers, dates as "YYYY-MM-DD" (day counts beyond the calendar), null
 * for what isn't set.
 */
QJsonObject settingsToJson(const SettingSchema &schema, const Settings &settings);

/**
 * Understands settings in that form; any date may be a day count. Ranges don't matter: what was found on a machine has
 * to be understood.
 *
 * @param subject what they are settings of, for messages
 * @param wishes  receives one wish for each key that is there; null is the wish that it isn't set
 * @return what is wrong, one line; empty if nothing is
 */
QString
settingsFromJson(const SettingSchema &schema, const QString &subject, const QJsonObject &object, Wishes *wishes);

/// Says that a document's value isn't allowed, and what is.
QString badMemberText(const Setting &setting, const QVariant &value);

/// The document of docs/accountpolicies.schema.json.in, in its newest version.
/// @param policies settings by the name of their policy
QByteArray writeDocument(const QMap<QString, Settings> &policies);

/// The member of a document that tells what the policies come to; it is printed, and ignored where one is read.
QString inForceMember();

/**
 * Understands such a document, and one of the first version, whose policies are those of the helper.
 *
 * @param policies receives the wishes for each policy that it has
 * @return what is wrong, one line; empty if nothing is
 */
QString readDocument(const QByteArray &text, QMap<QString, Wishes> *policies);
