// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/FileSnapshot.h"

#include "engine/FileReplacing.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

FileSnapshot::FileSnapshot(const QStringList &paths)
{
    for (const QString &path : paths) {
        Taken taken{path, false, {}, {}};
        if (lstat(QFile::encodeName(path).constData(), &taken.status) != 0) {
            if (errno == ENOENT) {
                m_taken += taken;
            } else {
                m_error = path + QLatin1String(": ") + qt_error_string();
            }
            continue;
        }
        if (!S_ISREG(taken.status.st_mode)) {
            continue;
        }
        taken.existed = true;
        if (readWholeFile(path, &taken.content, &m_error)) {
            m_taken += taken;
        }
    }
}

QString FileSnapshot::error() const
{
    return m_error;
}

bool FileSnapshot::differs() const
{
    return !std::all_of(m_taken.begin(), m_taken.end(), isAsTaken);
}

bool FileSnapshot::differs(const QStringList &paths) const
{
    return std::any_of(m_taken.begin(), m_taken.end(), [&paths](const Taken &taken) {
        return paths.contains(taken.path) && !isAsTaken(taken);
    });
}

QStringList FileSnapshot::putBack() const
{
    QStringList problems;
    for (const Taken &taken : m_taken) {
        if (isAsTaken(taken)) {
            continue;
        }
        QString problem;
        if (taken.existed) {
            replaceFile(taken.path, taken.content, taken.status, &problem);
        } else if (!QFile::remove(taken.path)) {
            problem = taken.path + QLatin1String(": ") + qt_error_string();
        }
        if (!problem.isEmpty()) {
            problems += problem;
        }
    }
    return problems;
}

bool FileSnapshot::isAsTaken(const Taken &taken)
{
    QByteArray content;
    QString why;
    return QFile::exists(taken.path) == taken.existed && readWholeFile(taken.path, &content, &why)
        && content == taken.content;
}
