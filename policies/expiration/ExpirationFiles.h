// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/SearchHint.h"

#include <QString>
#include <QVariant>
#include <QVector>

/// One setting of the expiration policy and the value that stands for it.
struct ExpirationSetting {
    QString name;
    /// Its key in a values map.
    QString key;
    /// The value for the text in the file; invalid where there is nothing to report.
    QVariant (*read)(const QString &text);
    /// The text for an argument; arguments are not validated.
    QString (*write)(const QVariant &argument);
    /// Ends the line where the setting is added at the end of the file.
    QByteArray appendedLineEnd;
};

/// A file with settings of the expiration policy.
struct ExpirationFile {
    QString path;
    /// Capture 1 is a setting's name, capture 2 its text.
    QString pattern;
    SearchHint hint;
    /// Stands between name and text when a setting is written.
    QString separator;
    /// In the order in which they are added to a file.
    QVector<ExpirationSetting> settings;
};

/// The ageing settings, in days, of login.defs(5).
const ExpirationFile &loginDefs();

/// The account expiry settings among the defaults of useradd(8): INACTIVE in days, EXPIRE as a date.
const ExpirationFile &useraddDefaults();
