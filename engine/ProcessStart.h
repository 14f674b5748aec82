// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>

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
