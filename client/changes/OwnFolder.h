// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QStringList>

/**
 * A folder that belongs to this user, and the files in it that do. It is opened once; all that is done then is done in what
 * was opened, whatever comes to stand under its name. Links are not followed, neither to the folder nor in it.
 */
class OwnFolder
{
public:
    OwnFolder();
    ~OwnFolder();
    Q_DISABLE_COPY_MOVE(OwnFolder)

    /**
     * Opens the folder, if there is one.
     *
     * @return why it is refused; empty too where there is none, which has no files
     */
    QString open(const QString &path);

    /**
     * Opens the folder, and makes it before, for this user alone, if there is none. In one that is there others may write no
     * more.
     *
     * @return why not
     */
    QString make(const QString &path);

    /// In no order.
    QStringList names() const;

    /// All of a file; empty if it can't be read.
    QByteArray content(const QString &name) const;

    /**
     * Makes the name a file of just these bytes, which is there as a whole or not at all.
     *
     * @return why not
     */
    QString write(const QString &name, const QByteArray &content) const;

    void remove(const QString &name) const;

private:
    int m_handle = -1;
};
