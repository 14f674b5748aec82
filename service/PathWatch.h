// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

/**
 * Notices that something is different at some paths: content, mode, a file or folder that appears, is replaced or goes, a
 * link on the way, a mount.
 *
 * The kernel notes a change by the time that whoever makes it goes on, and what it has noted is looked at here: nothing that
 * was changed before a question is missed. It doesn't note what comes through a mapping of a file into memory, or what
 * another machine changes on a file system that both have.
 */
class PathWatch
{
public:
    PathWatch();
    ~PathWatch();

    /// Whether changes at all of these have been noticed since they were added.
    bool watches(const QStringList &paths) const;
    void add(const QStringList &paths);

    /// Whether something may have changed since the paths were added.
    bool hasNoticed() const;
    /// Forgets what it has noticed, and all paths.
    void clear();

private:
    Q_DISABLE_COPY_MOVE(PathWatch)

    bool watchWay(const QByteArray &path, int links);
    bool watch(const QByteArray &place);

    int m_changes;
    int m_mounts;
    std::vector<int> m_watches;
    QSet<QString> m_paths;
};
