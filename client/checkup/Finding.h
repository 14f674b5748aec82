// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QVector>

/// What a look at one part of the installation found.
struct Finding {
    enum class Grade {
        Good,
        /// Works as far as it goes; somebody may want to know.
        Note,
        /// Doesn't work.
        Wrong,
    };

    static Finding good(const QString &text);
    static Finding note(const QString &text, const QString &remedy);
    static Finding wrong(const QString &text, const QString &remedy);
    /// Wrong if there is no such file.
    static Finding ofFile(const QString &path, const QString &what, const QString &remedy);

    Grade grade;
    QString text;
    /// How to mend it; empty where it is good.
    QString remedy;
};
