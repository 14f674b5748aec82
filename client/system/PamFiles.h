// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamPolicy.h"

#include <QByteArrayList>
#include <QString>
#include <QVector>

/// The files of a policy that is in force through PAM.
struct PamFiles {
    /// The name of the policy.
    QString policy;
    /// The generated stack, which is what is in force.
    QString stack;
    /// The profiles that the helper writes, that of the newest module first; any one will do.
    QVector<PamProfile> profiles;
};

const QVector<PamFiles> &allPamFiles();

/// Null for a policy without PAM files.
const PamFiles *pamFilesOf(const QString &policy);

/// All of a file; empty if it can't be read.
QByteArray fileContent(const QString &path);

/// Whether a line of the file, comments aside, names the module.
bool namesModule(const QString &path, const QString &module);

/// Where the module is installed; empty if it isn't.
QString modulePath(const QString &module);

/// Whether this machine's pam-auth-update(8) leaves out the profiles that name the module.
bool isModuleRefused(const QString &module);

/// The content of each profile.
QByteArrayList profileContents(const PamFiles &files);

/// What follows from profiles that have changed before the write of them failed, one line.
QString changedProfileText(const PamFiles &files);

/// Why the profiles can't come into force on this machine, whatever they say, and what can be done; empty if one can.
QString obstacleTo(const PamFiles &files);

/// Why the stack may lack what the profiles say, one line.
QString reasonNotInStack(const PamFiles &files);
