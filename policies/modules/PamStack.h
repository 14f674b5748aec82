// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVector>

/// A line of a PAM stack (pam.conf(5)), with the lines that a backslash joins to it.
struct PamStackLine {
    /// Which line of its file it begins on; counts from 1.
    int number;
    /// In lower case and without the dash; "@include" for a line that includes a file for all types.
    QString type;
    /// A dash before the type: nothing is logged if the module isn't there.
    bool mayBeMissing;
    /// As it stands, without its brackets.
    QString control;
    bool isBracketed;
    /// The module, or the file that is included.
    QString module;
    QStringList options;

    /// Whether it calls the module of that name, given without ".so" and folder.
    bool calls(const QString &name) const;
};

/// The lines of a stack's content that libpam goes by.
QVector<PamStackLine> pamStackLines(const QByteArray &content);

/**
 * The content with other options on the line that calls a module, all else to the byte; options that stay are as they stand.
 *
 * @param number where the line begins; counts from 1
 * @return null if that line isn't alone on its own, but goes on in the next one
 */
QByteArray
pamStackWithOptions(const QByteArray &content, int number, const QString &module, const QStringList &options);

/// The folders of services' files: "/etc/pam.d", and that of packages, where a service is looked for that isn't in the first.
QStringList pamFolders();

/// The path of a service's file, in the folder where libpam takes it from.
QString pamServicePath(const QString &root, const QString &service);

/// The names of the files in these folders, or in copies below a folder, those that others include first. What tools,
/// editors and administrators keep beside them isn't theirs.
QStringList pamServices(const QString &root);
