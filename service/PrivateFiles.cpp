// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PrivateFiles.h"

#include "policies/modules/ModulePolicy.h"
#include "policies/modules/ModuleWriting.h"
#include "policies/modules/PamStack.h"

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
}

QStringList filesOfReads(const ModulePolicy &policy)
{
    QStringList files{policy.path};
    const QStringList services = pamServices({});
    for (const QString &service : services) {
        files += QLatin1String("/etc/pam.d/") + service;
    }
    for (const QString &type : policy.types) {
        files += QLatin1String("/var/lib/pam/") + type;
    }
    return files;
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
