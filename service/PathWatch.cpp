// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PathWatch.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace
{
constexpr uint32_t allChanges =
    IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVE | IN_DELETE_SELF | IN_MOVE_SELF | IN_DONT_FOLLOW;

constexpr int mostLinks = 40; // as the kernel follows

/// Null for what is no link.
QByteArray linkAt(const QByteArray &place)
{
    QByteArray target(PATH_MAX, '\0');
    const ssize_t size = readlink(place.constData(), target.data(), static_cast<size_t>(target.size()));
    return size < 0 ? QByteArray() : target.left(static_cast<int>(size));
}
}

PathWatch::PathWatch()
    : m_changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), m_mounts(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC))
{
}

PathWatch::~PathWatch()
{
    for (const int descriptor : {m_changes, m_mounts}) {
        if (descriptor != -1) {
            close(descriptor);
        }
    }
}

bool PathWatch::watches(const QStringList &paths) const
{
    return std::all_of(paths.begin(), paths.end(), [this](const QString &path) {
        return m_paths.contains(path);
    });
}

void PathWatch::add(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (m_mounts != -1 && !m_paths.contains(path) && watchWay(QFile::encodeName(path), 0)) {
            m_paths += path;
        }
    }
}

bool PathWatch::hasNoticed() const
{
    // a mount is told as an exception
    std::array<pollfd, 2> noticed{pollfd{m_changes, POLLIN, 0}, pollfd{m_mounts, POLLPRI, 0}};
    return poll(noticed.data(), noticed.size(), 0) != 0;
}

void PathWatch::clear()
{
    for (const int added : m_watches) {
        inotify_rm_watch(m_changes, added);
    }
    m_watches.clear();
    m_paths.clear();
    // not by closing it, for which the kernel takes many milliseconds
    std::array<char, 65536> events;
    while (read(m_changes, events.data(), events.size()) > 0) {}
}

/// Each folder on the way, before what stands in it is looked at, and what the path leads to.
bool PathWatch::watchWay(const QByteArray &path, int links)
{
    QByteArray place;
    QByteArrayList names = path.split('/');
    while (!names.isEmpty()) {
        const QByteArray name = names.takeFirst();
        if (name.isEmpty()) {
            continue;
        }
        const QByteArray folder = place + '/';
        place = folder + name;
        if (!watch(folder)) {
            return errno == ENOENT;
        }
        const QByteArray target = linkAt(place);
        if (!target.isNull()) {
            const QByteArray start = target.startsWith('/') ? QByteArray() : folder;
            return links < mostLinks && watchWay(start + target + '/' + names.join('/'), links + 1);
        }
    }
    return watch(place) || errno == ENOENT;
}

bool PathWatch::watch(const QByteArray &place)
{
    const int added = inotify_add_watch(m_changes, place.constData(), allChanges);
    if (added != -1) {
        m_watches.push_back(added);
    }
    return added != -1;
}
