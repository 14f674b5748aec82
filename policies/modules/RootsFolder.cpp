// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/RootsFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <sys/stat.h>

namespace
{
constexpr int mostLinks = 40;

QString noFolder(const QString &path)
{
    return QCoreApplication::translate("RootsFolder", "%1 is no folder").arg(path);
}

/// In a folder of all, as /tmp is, nobody takes root's place.
bool mayOthersReplaceIn(const struct stat &folder, bool isLast)
{
    const bool isWritable = (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return folder.st_uid != 0 || (isWritable && (isLast || (folder.st_mode & S_ISVTX) == 0));
}

QStringList namesIn(const QString &path)
{
    QStringList names = path.split(QLatin1Char('/'));
    names.removeAll(QString());
    names.removeAll(QStringLiteral("."));
    return names;
}
}

QString rootsFolderFault(const QString &path)
{
    QString reached;
    QStringList left = namesIn(path);
    for (int links = 0; !left.isEmpty();) {
        const QString name = left.takeFirst();
        if (name == QLatin1String("..")) {
            reached = reached.section(QLatin1Char('/'), 0, -2);
            continue;
        }
        const QString next = reached + QLatin1Char('/') + name;
        struct stat status = {};
        if (lstat(QFile::encodeName(next).constData(), &status) != 0) {
            return noFolder(next);
        }
        if (S_ISLNK(status.st_mode)) {
            if (++links > mostLinks) {
                return noFolder(path);
            }
            left = namesIn(QFile::symLinkTarget(next)) + left;
            reached.clear();
            continue;
        }
        if (!S_ISDIR(status.st_mode)) {
            return noFolder(next);
        }
        if (mayOthersReplaceIn(status, left.isEmpty())) {
            return QCoreApplication::translate("RootsFolder", "others than root may write in %1").arg(next);
        }
        reached = next;
    }
    return {};
}
