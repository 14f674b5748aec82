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
 * Why a service's stacks don't work, each in one line that stays the same when lines are added elsewhere: a module that isn't
 * installed, a file that isn't there, a control that isn't known, a jump that lands outside of its stack, a stack that can't
 * end with success.
 *
 * The stacks are read as libpam reads them, with all that they include.
 *
 * @param root    where copies of "/etc/pam.d" are, by their paths; empty for the files themselves
 * @param service the name of its file there; or of one that others include, which is then judged alone
 */
QStringList pamServiceFaults(const QString &root, const QString &service);

/// The same for all files of "/etc/pam.d".
QStringList pamFaults(const QString &root);
