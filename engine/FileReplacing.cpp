// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileReplacing.h"

#include "messages/ErrorText.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr mode_t readableForAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr mode_t permissionBits = 07777;
constexpr std::size_t bytesAtOnce = 16384;

/// Closes what it is given.
class Descriptor
{
public:
    explicit Descriptor(int number) : m_number(number)
    {
    }

    ~Descriptor()
    {
        if (m_number != -1) {
            ::close(m_number);
        }
    }

    int number() const
    {
        return m_number;
    }

    /// Whether that worked: some file systems say only then that they could not write.
    bool close()
    {
        return ::close(std::exchange(m_number, -1)) == 0;
    }

private:
    Q_DISABLE_COPY(Descriptor)

    int m_number;
};

bool writeAll(int file, const QByteArray &content)
{
    qsizetype done = 0;
    while (done < content.size()) {
        const ssize_t written = write(file, content.constData() + done, static_cast<size_t>(content.size() - done));
        if (written == -1 && errno != EINTR) {
            return false;
        }
        done += qMax<ssize_t>(written, 0);
    }
    return true;
}

/// Access control lists and the like. Where a file system has none there is nothing to copy.
bool copyAttributes(const char *from, int file)
{
    const ssize_t size = llistxattr(from, nullptr, 0);
    if (size <= 0) {
        return size == 0 || errno == ENOTSUP || errno == ENOENT;
    }
    QByteArray names(static_cast<int>(size), '\0');
    names.truncate(static_cast<int>(qMax<ssize_t>(llistxattr(from, names.data(), static_cast<size_t>(size)), 0)));
    const auto eachName = names.split('\0');
    for (const QByteArray &name : eachName) {
        const ssize_t length = name.isEmpty() ? -1 : lgetxattr(from, name.constData(), nullptr, 0);
        if (length == -1) {
            continue; // the end of the list, or gone meanwhile
        }
        QByteArray value(static_cast<int>(length), '\0');
        if (lgetxattr(from, name.constData(), value.data(), static_cast<size_t>(length)) != length
            || fsetxattr(file, name.constData(), value.constData(), static_cast<size_t>(length), 0) != 0) {
            return false;
        }
    }
    return true;
}

/// Whether the file that is built is complete, on the disk, and as the old one is but for its content.
bool fill(Descriptor *built, const QByteArray &content, const char *old, const struct stat &asOf)
{
    // the owner first: to change it takes away some of the mode
    return writeAll(built->number(), content) && fchown(built->number(), asOf.st_uid, asOf.st_gid) == 0
        && copyAttributes(old, built->number()) && fchmod(built->number(), asOf.st_mode & permissionBits) == 0
        && fsync(built->number()) == 0 && built->close();
}

bool syncFolder(const QByteArray &folder)
{
    const Descriptor opened(open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.number() != -1 && fsync(opened.number()) == 0;
}

bool fail(const QString &path, int error, QString *errorString)
{
    appendMessage(errorString, path + QLatin1String(": ") + qt_error_string(error));
    return false;
}

/// What a new file is like.
struct stat newFile()
{
    struct stat status = {};
    status.st_uid = geteuid();
    status.st_gid = getegid();
    status.st_mode = readableForAll;
    return status;
}

/// The error number; 0 if it was replaced.
int replace(const QByteArray &path, const QByteArray &content, const struct stat &asOf)
{
    const QByteArray builtPath = path + ".new";
    unlink(builtPath.constData());
    Descriptor built(
        open(builtPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (built.number() == -1) {
        return errno;
    }
    if (!fill(&built, content, path.constData(), asOf) || rename(builtPath.constData(), path.constData()) != 0) {
        const int error = errno;
        unlink(builtPath.constData());
        return error;
    }
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    return syncFolder(folder.isEmpty() ? QByteArray(".") : folder) ? 0 : errno;
}

/// The file's status, or that of a new one where there is none; nothing if it can't be replaced, then errno says why.
std::optional<struct stat> statusOf(const QByteArray &path)
{
    struct stat status = {};
    if (lstat(path.constData(), &status) != 0) {
        return errno == ENOENT ? std::make_optional(newFile()) : std::nullopt;
    }
    if (S_ISREG(status.st_mode)) {
        return status;
    }
    errno = S_ISLNK(status.st_mode) ? ELOOP : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return std::nullopt;
}
}

bool readWholeFile(const QString &path, QByteArray *content, QString *errorString)
{
    const Descriptor file(open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    content->clear();
    if (file.number() == -1) {
        return errno == ENOENT || fail(path, errno, errorString);
    }
    std::array<char, bytesAtOnce> piece{};
    for (;;) {
        const ssize_t size = read(file.number(), piece.data(), piece.size());
        if (size == 0) {
            return true;
        }
        if (size == -1 && errno != EINTR) {
            return fail(path, errno, errorString);
        }
        content->append(piece.data(), static_cast<int>(qMax<ssize_t>(size, 0)));
    }
}

bool replaceFile(const QString &path, const QByteArray &content, QString *errorString)
{
    const std::optional<struct stat> status = statusOf(QFile::encodeName(path));
    return status ? replaceFile(path, content, *status, errorString) : fail(path, errno, errorString);
}

bool replaceFile(const QString &path, const QByteArray &content, const struct stat &asOf, QString *errorString)
{
    const QByteArray name = QFile::encodeName(path);
    if (!statusOf(name)) {
        return fail(path, errno, errorString);
    }
    const int error = replace(name, content, asOf);
    return error == 0 || fail(path, error, errorString);
}
