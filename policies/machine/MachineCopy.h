// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/machine/FilePreview.h"

#include <QMap>
#include <QTemporaryDir>
#include <QVector>

/**
 * Copies of files of this machine, each by its path below a folder that is this user's alone. They go with this object.
 */
class MachineCopy
{
public:
    MachineCopy();

    /// Stands before the path of each copy.
    QString root() const;

    /// Takes a file, or nothing where there is none. The copy can be written, whatever the mode of the file is.
    void takeFile(const QString &path);
    /// Takes a folder, where there is one, and those of its files that match; folders inside it come without theirs.
    void takeFolder(const QString &folder, const QString &pattern);

    /// Takes what pam-auth-update(8) has been told through debconf.
    void takeDebconf();

    /// Why something couldn't be taken; empty if all was.
    QString error() const;

    /// What was taken of a file; null where there was none.
    QByteArray taken(const QString &path) const;
    /// Those of the files that are others by now, or gone.
    QVector<FilePreview> changes(const QStringList &paths) const;
    /// The paths of a folder's files, those that were taken and those that are there now.
    QStringList files(const QString &folder) const;

    /// A run of pam-auth-update(8) that works on the copies, debconf's database among them, and asks nobody.
    Command pamAuthUpdate() const;
    /// The same for a run that has arguments of its own.
    Command onCopies(Command tool) const;

    /// A text about the copies as one about the files.
    QString aboutMachine(QString text) const;

private:
    void note(const QString &problem);
    bool write(const QString &path, const QByteArray &content);

    QTemporaryDir m_folder;
    QMap<QString, QByteArray> m_taken;
    QString m_error;
};
