// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/SearchHint.h"

#include <QRegularExpression>
#include <QString>
#include <QVector>

/// An option of a PAM module that a policy manages; its name is its key in a values map.
struct PamOption {
    enum class Kind {
        /// Stands without a value; read and written as bool.
        Flag,
        /// Stands with a number; read and written as int.
        Number,
    };

    QString name;
    Kind kind;
    /// Its place among the names in the pattern for reading, which tries them in that order.
    int readingPlace;
};

/// A profile of pam-auth-update(8).
struct PamProfile {
    QString path() const;

    /// Its file's name in pamProfilesFolder().
    QString name;
    /// The module that it configures, without ".so".
    QString module;
    /// What the update says if no line of it names the module, %1 being its path; untranslated.
    const char *moduleMissing;
    /// Stands before its path; empty but for a copy.
    QString root = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// A policy that is in force through the options of PAM modules, and how their lines are read and written (pam.d(5)).
struct PamPolicy {
    /// Path of the stack that pam-auth-update(8) generates.
    QString stack;
    /// In the order in which they are rewritten.
    QVector<PamProfile> profiles;
    /// What the pattern for rewriting has before the module's name.
    QString rewritingStart;
    /// The pattern of an option's number when it is read.
    QString number;
    /// In the order in which they are written.
    QVector<PamOption> options;
    /// The number that is corrected in the stack.
    QString correctedOption;
    /// What reading says of a stack that names none of the modules, %1 being the file to look at; untranslated.
    const char *modulesMissing;
    /// Whether the policy is just not set then. If so, the file to look at is the first profile, else the stack.
    bool mayBeUnset;
    /// What the update says if there is no profile, %1 and %2 being the paths of the first and the last; untranslated.
    /// Null if none may be missing.
    const char *profilesMissing;

    /// Finds the lines of the modules; the last capture is the options.
    QString readingPattern() const;
    /// The same, with everything up to the end of the module's file name as capture 1.
    QString rewritingPattern() const;
    /// Finds an option in a token of a line: capture 1 is its name, capture 2 its number.
    QString optionPattern() const;
    /// Finds a module's file name, as a Perl-compatible pattern too.
    QString modulePattern() const;
    /// For both patterns of lines.
    SearchHint hint() const;
    /// The same policy with all its files below a folder.
    PamPolicy below(const QString &root) const;
    /// Null for an option that the policy doesn't manage.
    const PamOption *option(const QString &name) const;

    /// modulePattern(), compiled once.
    QRegularExpression moduleExpression = QRegularExpression(modulePattern());
};

/// Where pam-auth-update(8) looks for its profiles.
QString pamProfilesFolder();
