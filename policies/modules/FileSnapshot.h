// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>

#include <sys/stat.h>

/// Files as they were at a time, so that they can go back to that.
class FileSnapshot
{
public:
    /// Takes the files; those that aren't there are to be gone again. What is no plain file is left alone.
    explicit FileSnapshot(const QStringList &paths);

    /// Why a file couldn't be taken; empty if all were.
    QString error() const;

    /// Whether any of them is another now, by what is in it or that it is there.
    bool differs() const;
    /// The same for some of them.
    bool differs(const QStringList &paths) const;

    /// Puts back those that are others by now; what couldn't be put back, and why, one line each.
    QStringList putBack() const;

private:
    struct Taken {
        QString path;
        bool existed;
        struct stat status;
        QByteArray content;
    };

    static bool isAsTaken(const Taken &taken);

    QVector<Taken> m_taken;
    QString m_error;
};
