// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Sandbox.h"

#include <QByteArrayList>
#include <QMap>
#include <QString>

#include <vector>

/// The names below a folder with their bytes; a folder's name ends in "/".
using FolderContent = QMap<QString, QByteArray>;

/// Everything below @p folder.
FolderContent contentBelow(const QString &folder);

/// What tells two versions of a file apart even where their bytes are equal.
struct FileIdentity {
    quint64 inode;
    quint32 mode;
    quint32 owner;
    quint32 group;
    /// Nanoseconds.
    qint64 modified;
};

/// Ends the test program if there is no such file.
FileIdentity identityOf(const QString &path);

/// Sets the time of the last change to one long past, so that every write shows.
void makeOld(const QString &path);

/**
 * The folders of pam-auth-update's profiles and of the PAM stacks, empty, and in place of pam-auth-update a stand-in
 * that notes how it is called and does nothing. Everything is as before with the destruction. Sandbox only.
 */
class PamSystem
{
public:
    PamSystem();
    ~PamSystem();

    /// Path of the profile of that name.
    static QString profile(const QString &name);
    /// Path of the stack of that name.
    static QString stack(const QString &name);
    /// Path of pam-auth-update.
    static QString tool();

    static FolderContent profiles();
    static FolderContent stacks();

    /// Lines of sh(1) that the stand-in runs after noting its call.
    static void setToolScript(const QByteArray &lines);
    /// A line for each run of the stand-in, every argument between "<" and ">".
    static QByteArray toolCalls();

private:
    Q_DISABLE_COPY(PamSystem)

    std::vector<ScopedMount> m_mounts;
};

/// What the stand-in notes for one right call.
inline constexpr char rightToolCall[] = "<--force><--package>\n";
