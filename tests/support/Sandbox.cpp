// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/Sandbox.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/mount.h>
#include <utility>

namespace
{
void mountOrDie(const QByteArray &source,
                const QByteArray &target,
                const char *type,
                unsigned long flags,
                const QByteArray &options)
{
    if (mount(source.constData(), target.constData(), type, flags, options.constData()) != 0) {
        qFatal("cannot mount over %s: %s", target.constData(), std::strerror(errno));
    }
}
}

bool inSandbox()
{
    return QFile::exists(QStringLiteral("/run/accountpolicies-sandbox"));
}

ScopedMount ScopedMount::readOnly(const QString &path)
{
    ScopedMount mounted = pinned(path);
    mountOrDie("none", mounted.m_path, "none", MS_REMOUNT | MS_BIND | MS_RDONLY, {});
    return mounted;
}

ScopedMount ScopedMount::pinned(const QString &path)
{
    ScopedMount mounted(path);
    mountOrDie(mounted.m_path, mounted.m_path, "none", MS_BIND, {});
    return mounted;
}

ScopedMount ScopedMount::smallDisk(const QString &path, int kilobytes)
{
    ScopedMount mounted(path);
    mountOrDie("tmpfs", mounted.m_path, "tmpfs", 0, "size=" + QByteArray::number(kilobytes) + "k");
    return mounted;
}

ScopedMount ScopedMount::roomForFiles(const QString &path, int files)
{
    ScopedMount mounted(path);
    // the folder itself counts, too
    mountOrDie("tmpfs", mounted.m_path, "tmpfs", 0, "nr_inodes=" + QByteArray::number(files + 1));
    return mounted;
}

ScopedMount::ScopedMount(const QString &path) : m_path(QFile::encodeName(path))
{
}

ScopedMount::ScopedMount(ScopedMount &&other) noexcept : m_path(std::exchange(other.m_path, QByteArray()))
{
}

ScopedMount::~ScopedMount()
{
    if (!m_path.isNull() && umount2(m_path.constData(), MNT_DETACH) != 0) {
        qFatal("cannot unmount %s: %s", m_path.constData(), std::strerror(errno));
    }
}
