// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/OwnFolder.h"

#include "client/Translation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
bool isOwn(const struct stat &status)
{
    return status.st_uid == geteuid();
}

bool isOwnFile(const struct stat &status)
{
    return S_ISREG(status.st_mode) && isOwn(status);
}

/// Lets nobody else put names into the folder, or take them out. Who may look stays as it is: a folder on the way to it may
/// have been a link to anywhere.
bool keepOthersOut(int handle)
{
    constexpr mode_t permissions = 07777;
    struct stat status = {};
    return fstat(handle, &status) == 0
        && fchmod(handle, status.st_mode & permissions & ~static_cast<mode_t>(S_IWGRP | S_IWOTH)) == 0;
}

/// What is wrong with the file, by errno.
QString systemError(const QString &path)
{
    return path + QLatin1String(": ") + qt_error_string(errno);
}

/// @return whether it is open; errno tells why not
bool openFile(int folder, const QByteArray &name, int flags, QIODevice::OpenMode mode, QFile *file)
{
    const int handle = openat(folder, name.constData(), flags | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return handle >= 0 && file->open(handle, mode, QFileDevice::AutoCloseHandle);
}

/// For its names: what was opened, whatever stands under its path by now. A chroot may have no /proc to find it by.
std::unique_ptr<DIR, int (*)(DIR *)> openAgain(int folder)
{
    const int handle = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *opened = handle < 0 ? nullptr : fdopendir(handle);
    if (handle >= 0 && !opened) {
        close(handle);
    }
    return {opened, &closedir};
}
}

OwnFolder::OwnFolder() = default;

OwnFolder::~OwnFolder()
{
    if (m_handle >= 0) {
        close(m_handle);
    }
}

QString OwnFolder::open(const QString &path)
{
    const int handle = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (handle < 0) {
        const QString error = systemError(path);
        const QFileInfo there(path);
        if (there.isSymLink()) {
            return translate("OwnFolder", "%1 is a link, which is not followed").arg(path);
        }
        return there.exists() ? error : QString();
    }
    struct stat status = {};
    if (fstat(handle, &status) != 0 || !isOwn(status)) {
        close(handle);
        return translate("OwnFolder", "%1 belongs to another account").arg(path);
    }
    m_handle = handle;
    return {};
}

QString OwnFolder::make(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    if (mkdir(QFile::encodeName(path).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        return systemError(path);
    }
    QString refusal = open(path);
    if (refusal.isEmpty() && !keepOthersOut(m_handle)) {
        refusal = systemError(path);
    }
    return refusal;
}

QStringList OwnFolder::names() const
{
    QStringList names;
    const auto folder = openAgain(m_handle);
    // cppcheck-suppress readdirCalled // safe where no other thread has the same folder: readdir(3)
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        struct stat status = {};
        if (fstatat(m_handle, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && isOwnFile(status)) {
            names += QFile::decodeName(entry->d_name);
        }
    }
    return names;
}

QByteArray OwnFolder::content(const QString &name) const
{
    QFile file;
    struct stat status = {};
    const bool isOpen = openFile(m_handle, QFile::encodeName(name), O_RDONLY | O_NONBLOCK, QIODevice::ReadOnly, &file);
    return isOpen && fstat(file.handle(), &status) == 0 && isOwnFile(status) ? file.readAll() : QByteArray();
}

QString OwnFolder::write(const QString &name, const QByteArray &content) const
{
    const QByteArray whole = QFile::encodeName(name);
    const QByteArray part = '.' + whole + ".part";
    QFile file;
    if (!openFile(m_handle, part, O_WRONLY | O_CREAT | O_EXCL, QIODevice::WriteOnly | QIODevice::Unbuffered, &file)) {
        return qt_error_string(errno);
    }
    if (file.write(content) == content.size() && fsync(file.handle()) == 0
        && renameat(m_handle, part.constData(), m_handle, whole.constData()) == 0) {
        return {};
    }
    QString error = qt_error_string(errno);
    unlinkat(m_handle, part.constData(), 0);
    return error;
}

void OwnFolder::remove(const QString &name) const
{
    unlinkat(m_handle, QFile::encodeName(name).constData(), 0);
}
