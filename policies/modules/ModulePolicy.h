// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

/// One setting of a PAM module, by the name that it has in the module's file.
struct ModuleSetting {
    enum class Kind {
        /// bool; the name stands alone where it is true. What is false isn't there.
        Flag,
        /// bool; the name stands with 1 or 0.
        Switch,
        /// qlonglong
        Number,
        /// qlonglong
        Seconds,
        /// QString of printable ASCII without blanks and "#"
        Text,
        /// As above, an absolute path.
        Path,
    };

    QString name;
    Kind kind;
    /// The range of what may be written, both ends included; 0 but for numbers and seconds.
    qlonglong minimum = 0;
    qlonglong maximum = 0;
    /// Whether 0 seconds are for ever; then "never" in the file is read as 0.
    bool zeroIsNever = false;
    /// What the module goes by where nothing sets it; invalid where there is nothing, or another setting says it.
    QVariant byDefault = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// Whether the module keeps no more of the number than its lowest 16 bits.
    bool isShort = false;
};

/// A policy that one PAM module enforces.
struct ModulePolicy {
    /// Null for a setting that the policy doesn't have.
    const ModuleSetting *find(const QString &setting) const;
    /// Why the values can't be written, one line: a name that isn't there, a type, a range. Empty if they can.
    QString faultIn(const QVariantMap &values) const;

    /// How it is called: "faillock".
    QString name;
    /// Without ".so": "pam_faillock".
    QString module;
    /// The file that the values are kept in.
    QString path;
    /// The types of the stacks whose lines call it (pam.conf(5)): "auth", "account", "password".
    QStringList types;
    /// In the order in which they are shown and written.
    QVector<ModuleSetting> settings;
    /// Our profiles of pam-auth-update(8), which put it in force; empty if another package's do.
    QStringList profiles;
    /// What the lines have that put it in force; empty if each line that calls the module does.
    QString enforcingOption = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// Reads a file's content as the module does, and says what is wrong with it; null for one of names and values alone.
    QVariantMap (*readContent)(const QByteArray &content, QString *error) = nullptr;
    /// Whether its module takes names in upper and lower case alike.
    bool ignoresCase = false;
    /// Whether of lines that set the same the first one counts, and no other even where it sets nothing; else the last one.
    bool takesFirstLine = false;
    /// Whether of its options a flag with a text isn't taken, and a text that is no number counts as 0.
    bool strictOptions = false;
    /// Whether its module reads no file in older releases: what our line has there is to be in the file in newer ones.
    bool hadNoFile = false;
};

const ModulePolicy &faillockPolicy();
const ModulePolicy &pwqualityPolicy();
const ModulePolicy &pwhistoryPolicy();

/// All of them, in the order in which they are shown.
QVector<const ModulePolicy *> modulePolicies();
/// Null if none is called so.
const ModulePolicy *modulePolicy(const QString &name);
