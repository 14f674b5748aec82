// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QProcessEnvironment>

/**
 * Which profiles are chosen, as debconf(7) has it, so that this can go back to what it was.
 *
 * The database itself is never put back: it is of all packages, and others may have written it since.
 */
class DebconfAnswer
{
public:
    /**
     * Takes the answer.
     *
     * @param root        stands before the path of the database
     * @param environment that of pam-auth-update(8), by which debconf finds the same database
     */
    DebconfAnswer(const QString &root, const QProcessEnvironment &environment);

    /// Puts it back by way of debconf, where it is another one by now; why that failed, one line, empty if it didn't.
    QString putBack() const;

private:
    QString m_path;
    QProcessEnvironment m_environment;
    QByteArray m_taken;
};
