// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/**
 * Keeps others from writing a module's policy, as long as it lives. Waits for another write to end, for at most half a minute;
 * one that has died is over.
 *
 * Who may open a file may lock it: so it is one that root alone may open.
 */
class WriteLock
{
public:
    WriteLock();
    ~WriteLock();

    /// Why it isn't held, one line; empty if it is.
    QString obstacle() const;
    /// Whether that is another write.
    bool isBusy() const;

private:
    Q_DISABLE_COPY(WriteLock)

    bool isRootsAlone() const;
    QString waitForIt();

    int m_file;
    QString m_obstacle;
    bool m_isBusy = false;
};
