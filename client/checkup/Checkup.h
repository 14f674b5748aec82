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

    Grade grade;
    QString text;
    /// How to mend it; empty where it is good.
    QString remedy;
};

/// Looks at all that the helper needs: its own files, the bus, polkit, PAM, and what earlier failures left behind.
QVector<Finding> checkInstallation();
