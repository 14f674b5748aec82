// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QVariantMap>
#include <QVector>

#include <limits>

enum class SettingKind {
    /// bool
    Flag,
    /// bool, or not set: a module that isn't told does as it thinks best, which may be either
    Switch,
    /// qlonglong
    Number,
    /// qlonglong, days since 1970-01-01; people see and type dates
    Date,
    /// QString
    Text,
};

enum class Unit { None, FailedLogins, Seconds, Characters, Credits, Days };

/// More than any setting can be.
constexpr qlonglong beyondNumbers = std::numeric_limits<qlonglong>::max();

/// What the word "never" stands for.
enum class Never { NoWord, MinusOne, NotSet, Zero };

/// What a text has to be.
enum class TextForm { Name, Path };

/// One setting of a policy or an account.
struct Setting {
    /// Its name in arguments and replies, on the command line and in documents.
    QString key;
    SettingKind kind;
    Unit unit;
    /// The range of what may be written, both ends included; 0 for what is no number.
    qlonglong minimum;
    qlonglong maximum;
    Never never;
    /// One line, untranslated, in the context "Policies".
    const char *description;
    /// So many or more are as good as never.
    qlonglong neverFrom = beyondNumbers;
    /// Of texts alone.
    TextForm form = TextForm::Name;
};

/// The settings that are read and written together.
struct SettingSchema {
    /// In the order in which people see them.
    QVector<Setting> settings;

    /// Null if there is no such setting.
    const Setting *find(const QString &key) const;
    QStringList keys() const;
};

/**
 * The values of a whole schema: each flag is there as bool; anything else is there, in the type of its kind, if it is set.
 */
using Settings = QVariantMap;

/**
 * What somebody wants of some settings: the value that each is to have, or an invalid variant if it is not to be set. A
 * setting that isn't named may be as it is.
 */
using Wishes = QVariantMap;

/// Whether the value may be set: it is within the range or of the form, or not set. What is in force may be something else.
bool isAllowed(const Setting &setting, const QVariant &value);

/// Whether the value says something: a flag that doesn't stand says no more than its absence.
bool isSet(const Setting &setting, const QVariant &value);

/// Brings a values map of the helper, or of a task, into the form of Settings; drops what isn't in the schema.
Settings normalized(const SettingSchema &schema, const QVariantMap &values);

/// The settings with the wishes fulfilled.
Settings fulfilled(const SettingSchema &schema, const Settings &settings, const Wishes &wishes);

/// The keys, in the schema's order, whose values differ.
QStringList differingKeys(const SettingSchema &schema, const Settings &left, const Settings &right);
