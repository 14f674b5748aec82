// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PrivateFiles.h"

#include "policies/modules/ModulePolicy.h"
#include "policies/modules/ModuleWriting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace
{
bool isForEveryone(const QString &path, mode_t permission)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 && (status.st_mode & permission) == permission;
}

/// Where the way there leads through no link.
bool canBeReached(const QString &path)
{
    for (QString folder = QFileInfo(path).path(); folder != QLatin1String("/"); folder = QFileInfo(folder).path()) {
        if (!isForEveryone(folder, S_IXOTH)) {
            return false;
        }
    }
    return true;
}

/// The first one that not everybody may read, or get to; empty if there is none. What isn't there is no secret.
QString firstPrivateFile(const QStringList &paths)
{
    for (const QString &path : paths) {
        const QString file = QFileInfo(path).canonicalFilePath();
        if (!file.isEmpty() && !(isForEveryone(file, S_IROTH) && canBeReached(file))) {
            return path;
        }
    }
    return {};
}
}

QStringList filesOfPreviews(const ModulePolicy &policy)
{
    QStringList files{policy.path};
    const QStringList folders = modulePolicyFolders();
    for (const QString &name : folders) {
        const QDir folder(name);
        const QStringList entries = folder.entryList(QDir::Files | QDir::Hidden);
        for (const QString &file : entries) {
            files += folder.filePath(file);
        }
    }
    return files;
}

bool areForEveryone(const QStringList &paths)
{
    return firstPrivateFile(paths).isEmpty();
}

Answer refusalToTell(const QStringList &paths, const Caller &caller)
{
    const QString secret = caller.user == 0 ? QString() : firstPrivateFile(paths);
    return secret.isEmpty()
        ? Answer()
        : Answer::failure(privateFileError, QStringLiteral("only root is told what is in %1").arg(secret));
}
