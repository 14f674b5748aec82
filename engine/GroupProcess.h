// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>

#include <sys/types.h>

/// A process whose start() returns before the program runs, and that can have a process group of its own.
class GroupProcess : public QProcess
{
public:
    explicit GroupProcess(bool hasOwnGroup);

    /// Ends all that is left of its own group, and waits until that is gone: from then on it writes nothing. Does nothing
    /// where it has none.
    void endGroup();

private:
#if QT_VERSION_MAJOR < 6
    void setupChildProcess() override;
#endif

    bool m_hasOwnGroup;
    /// 0 as long as there is none.
    pid_t m_group = 0;
};
