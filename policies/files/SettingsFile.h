// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/SearchHint.h"

#include <QString>
#include <QVariant>
#include <QVector>

/// One setting of a file and the value that stands for it.
struct FileSetting {
    QString name;
    /// Its key in a values map.
    QString key;
    /// The value for the text in the file; invalid where there is nothing to report. Null for a flag, which is true
    /// where it stands.
    QVariant (*read)(const QString &text);
    /// The text for an argument, which is not validated. Null for a flag: that is written if its argument is true.
    QString (*write)(const QVariant &argument);
    /// Ends the line where the setting is added at the end of the file.
    QByteArray appendedLineEnd;
};

/// A file of settings, one a line: a name, and behind a separator its value.
struct SettingsFile {
    QString path;
    /// What stands between a setting's name and its text when it is read.
    QString separatorPattern;
    /// A setting's text when it is read; no "\\s" or "\\d" in brackets, which a hint can't take.
    QString textPattern;
    /// Stands between name and text when a setting is written.
    QString separator;
    /// In the order in which they are added to a file.
    QVector<FileSetting> settings;

    /// Finds a setting in a line: capture 1 is its name, capture 2 its text.
    QString pattern() const;
    /// For the pattern.
    SearchHint hint() const;
};
