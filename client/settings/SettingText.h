// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

/// What a person would type for the value: "yes", "90", "2027-01-31", "never"; "not set" for an invalid variant that isn't
/// what "never" stands for.
QString settingText(const Setting &setting, const QVariant &value);

/// The same with its unit, long times in larger units too: "900 s (15 min)"; and what never comes as such: "99999 days
/// (never)".
QString settingWords(const Setting &setting, const QVariant &value);

/// What may be typed, as part of a sentence: "a whole number from 0 to 65535".
QString allowedText(const Setting &setting);

/// The same for a JSON document, where numbers and flags have a type and null stands for what isn't set.
QString allowedInDocumentText(const Setting &setting);

/// What the setting is, in one line.
QString descriptionText(const Setting &setting);

/// What the setting is and what may be typed: "Characters of the shortest password: a whole number from 6 to 512".
QString explanationText(const Setting &setting);

/**
 * Understands what was typed, whether or not it is within the setting's range.
 *
 * @param value receives the value, an invalid variant for "never" where that means not set
 * @return whether it was understood
 */
bool parseSettingText(const Setting &setting, const QString &text, QVariant *value);

/// Whether the calendar of four-digit years has that day.
bool hasDate(qlonglong days);

/// The date of a day count, as YYYY-MM-DD; the count itself where the calendar ends.
QString dateText(qlonglong days);

/**
 * Understands a date of the form YYYY-MM-DD.
 *
 * @param days receives the days since 1970-01-01
 */
bool parseDate(const QString &text, qlonglong *days);
