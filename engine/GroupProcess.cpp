// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/GroupProcess.h"

#include "engine/ProcessStart.h"

#include <QElapsedTimer>
#include <QThread>

#include <csignal>
#include <unistd.h>

namespace
{
constexpr int endLimit = 5000; // ms, for what has been killed
constexpr unsigned long endPause = 10; // ms
}

GroupProcess::GroupProcess(bool hasOwnGroup) : m_hasOwnGroup(hasOwnGroup)
{
    keepStartLimited(this);
    if (!m_hasOwnGroup) {
        return;
    }
#if QT_VERSION_MAJOR >= 6
    setChildProcessModifier([] {
        setpgid(0, 0);
    });
#endif
    connect(this, &QProcess::started, this, [this] {
        m_group = static_cast<pid_t>(processId());
    });
}

void GroupProcess::endGroup()
{
    if (m_group == 0) {
        return;
    }
    ::kill(-m_group, SIGKILL);
    waitForFinished(endLimit);
    QElapsedTimer waited;
    waited.start();
    while (::kill(-m_group, 0) == 0 && waited.elapsed() < endLimit) {
        QThread::msleep(endPause);
    }
}

#if QT_VERSION_MAJOR < 6
void GroupProcess::setupChildProcess()
{
    if (m_hasOwnGroup) {
        setpgid(0, 0);
    }
}
#endif
