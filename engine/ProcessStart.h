// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>

#include <unistd.h>

/**
 * Lets start() return before the program runs, so that waiting for it can have a limit.
 *
 * Qt 6 stops this process until then, however long that takes, unless something is to be done in the new one first.
 */
inline void keepStartLimited(QProcess *process)
{
#if QT_VERSION_MAJOR >= 6
    process->setChildProcessModifier([] {});
#else
    Q_UNUSED(process)
#endif
}

/// A process that can be started in a process group of its own.
class GroupProcess : public QProcess
{
public:
#if QT_VERSION_MAJOR >= 6
    explicit GroupProcess(bool hasOwnGroup)
    {
        keepStartLimited(this);
        if (hasOwnGroup) {
            setChildProcessModifier(makeGroup);
        }
    }
#else
    explicit GroupProcess(bool hasOwnGroup) : m_hasOwnGroup(hasOwnGroup)
    {
    }
#endif

private:
    static void makeGroup()
    {
        setpgid(0, 0);
    }

#if QT_VERSION_MAJOR < 6
    void setupChildProcess() override
    {
        if (m_hasOwnGroup) {
            makeGroup();
        }
    }

    bool m_hasOwnGroup;
#endif
};
