// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/modules/ModulePolicy.h"

#include <QVariantMap>

/**
 * What puts a module's policy in force: it is where the common stacks, which the services include, call the module for all
 * that it takes to enforce it. A line in the stack of one service alone does not.
 */
enum class ModuleForce {
    /// Nothing: they don't call the module, or not for all of it.
    None,
    /// All of our profiles, and no other line that enforces it.
    OurProfiles,
    /// Lines or profiles that aren't ours: the administrator's, or another package's.
    OtherLines,
};

/// A line of a PAM stack that calls a policy's module.
struct ModuleLine {
    /// Of the stack, without the root.
    QString path;
    /// Counts from 1.
    int number;
    /// "auth", "account" or "password"
    QString type;
    QStringList options;
    /// As in the stack, without brackets.
    QString control = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// Whether it is in the common stack of its type, or in what that includes.
    bool isCommon = false;
    /// Whether one of our profiles has put it there.
    bool isOurs = false;
};

/// What a policy is on this machine.
struct ModuleReading {
    /// Why its file or the stacks can't be read, one line; empty if they were. Then the rest says nothing.
    QString error;
    /// Whether that is for what is in the policy's own file, which could be read.
    bool isMalformed = false;
    /// Where its values stand: its file, or the stack with the module's line where the module reads no file.
    QString source;
    /// What stands there, typed; what doesn't stand there, or not so that the module takes it, has no entry.
    QVariantMap values;
    /// Where the module is installed; empty if it isn't.
    QString modulePath;
    ModuleForce force = ModuleForce::None;
    /// The lines that call the module, in all stacks, those of the common ones first.
    QVector<ModuleLine> lines;
    /// What all of this comes from, files and folders, also those that aren't there; without the root. As long as nothing is
    /// different there, another reading would be the same.
    QStringList paths;
};

/**
 * Reads a policy's own file and the stacks; everybody may read them.
 *
 * The values are those of the policy's own place. What overrides them, options of its line or other files, is in lines
 * and in the module's documents.
 *
 * @param root where copies of the files are, each below it by its path; empty for the files themselves. The module is
 *             looked for on the machine in both cases
 */
ModuleReading readModule(const ModulePolicy &policy, const QString &root = QString());

/// Whether the line enforces the policy: counts failed logins, or refuses where the module does no more than that.
bool enforces(const ModulePolicy &policy, const ModuleLine &line);

/// Whether it is by this line that the module refuses somebody.
bool refuses(const ModulePolicy &policy, const ModuleLine &line);

/// Where a PAM module is installed, in the folders that libpam of this system looks in; empty if it isn't.
QString pamModulePath(const QString &module);

/// Whether the policy's installed module reads the policy's file; if it isn't installed, whether that of a new system does.
bool moduleReadsFile(const ModulePolicy &policy);
