// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/WriteLock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr char lockPath[] = "/etc/security/.accountpolicies.lock";
constexpr qint64 longestWait = 30000; // ms
constexpr unsigned long waitPause = 50; // ms
}

WriteLock::WriteLock() : m_file(open(lockPath, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR))
{
    if (m_file == -1) {
        m_obstacle = QLatin1String(lockPath) + QLatin1String(": ") + qt_error_string();
        return;
    }
    m_obstacle = isRootsAlone()
        ? waitForIt()
        : QCoreApplication::translate("WriteLock", "%1 is not root's alone").arg(QLatin1String(lockPath));
}

WriteLock::~WriteLock()
{
    if (m_file != -1) {
        close(m_file);
    }
}

QString WriteLock::obstacle() const
{
    return m_obstacle;
}

bool WriteLock::isBusy() const
{
    return m_isBusy;
}

bool WriteLock::isRootsAlone() const
{
    struct stat status = {};
    return fstat(m_file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == 0
        && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

QString WriteLock::waitForIt()
{
    QElapsedTimer waited;
    waited.start();
    while (flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        if (waited.elapsed() >= longestWait) {
            m_isBusy = true;
            return QCoreApplication::translate("WriteLock", "another write goes on");
        }
        QThread::msleep(waitPause);
    }
    return {};
}
