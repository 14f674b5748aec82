// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

/// Whether this process runs in scripts/sandbox, and so may change the policies' files.
bool inSandbox();

/// What to say where it doesn't.
inline constexpr char outsideSandbox[] = "changes files of the system: run it by scripts/sandbox -- TEST";

/**
 * A mount inside the sandbox that ends with this object.
 * Makes faults that root's own rights don't stop: files that can't be written or removed, full disks.
 */
class ScopedMount
{
public:
    /// Mounts @p path over itself, read-only.
    static ScopedMount readOnly(const QString &path);
    /// Mounts @p path over itself: it can be written, but not removed.
    static ScopedMount pinned(const QString &path);
    /// An empty file system of that size over the folder @p path.
    static ScopedMount smallDisk(const QString &path, int kilobytes);
    /// An empty file system over the folder @p path that has room for so many files.
    static ScopedMount roomForFiles(const QString &path, int files);

    ScopedMount(ScopedMount &&other) noexcept;
    ~ScopedMount();

private:
    Q_DISABLE_COPY(ScopedMount)
    explicit ScopedMount(const QString &path);

    QByteArray m_path;
};
