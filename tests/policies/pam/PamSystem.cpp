// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/PamSystem.h"

#include "tests/support/Files.h"

#include <QDirIterator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{
const QString profilesFolder = QStringLiteral("/usr/share/pam-configs");
const QString stacksFolder = QStringLiteral("/etc/pam.d");
const QString realTool = QStringLiteral("/usr/sbin/pam-auth-update.real");
const QString callsFile = QStringLiteral("/run/tmp/pam-auth-update.calls");
}

FolderContent contentBelow(const QString &folder)
{
    FolderContent content;
    QDirIterator entries(
        folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QString name = path.mid(folder.size() + 1);
        const bool isFolder = entries.fileInfo().isDir();
        content.insert(isFolder ? name + QLatin1Char('/') : name, isFolder ? QByteArray() : contentOf(path));
    }
    return content;
}

FileIdentity identityOf(const QString &path)
{
    struct stat status = {};
    if (stat(qPrintable(path), &status) != 0) {
        qFatal("no status of %s: %s", qPrintable(path), std::strerror(errno));
    }
    return {status.st_ino,
            status.st_mode,
            status.st_uid,
            status.st_gid,
            qint64(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec};
}

void makeOld(const QString &path)
{
    const struct timespec times[] = {{1000000000, 5}, {1000000000, 5}};
    if (utimensat(AT_FDCWD, qPrintable(path), times, 0) != 0) {
        qFatal("cannot set the time of %s: %s", qPrintable(path), std::strerror(errno));
    }
}

PamSystem::PamSystem()
{
    if (!QFile::rename(tool(), realTool)) {
        qFatal("cannot put the real pam-auth-update aside");
    }
    QFile::remove(callsFile);
    m_mounts.push_back(ScopedMount::smallDisk(profilesFolder, 65536));
    m_mounts.push_back(ScopedMount::smallDisk(stacksFolder, 65536));
    setToolScript({});
}

PamSystem::~PamSystem()
{
    QFile::remove(tool());
    QDir().rmdir(tool()); // where a test made it a folder
    if (!QFile::rename(realTool, tool())) {
        qFatal("cannot put the real pam-auth-update back");
    }
}

QString PamSystem::profile(const QString &name)
{
    return profilesFolder + QLatin1Char('/') + name;
}

QString PamSystem::stack(const QString &name)
{
    return stacksFolder + QLatin1Char('/') + name;
}

QString PamSystem::tool()
{
    return QStringLiteral("/usr/sbin/pam-auth-update");
}

FolderContent PamSystem::profiles()
{
    return contentBelow(profilesFolder);
}

FolderContent PamSystem::stacks()
{
    return contentBelow(stacksFolder);
}

void PamSystem::setToolScript(const QByteArray &lines)
{
    writeProgram(tool(),
                 "#!/bin/sh\n"
                 "for argument; do printf '<%s>' \"$argument\"; done >> "
                     + callsFile.toLocal8Bit() + "\necho >> " + callsFile.toLocal8Bit() + "\n" + lines);
}

QByteArray PamSystem::toolCalls()
{
    return contentOf(callsFile);
}
