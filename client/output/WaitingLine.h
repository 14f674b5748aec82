// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QTimer>

/**
 * A line on the terminal that says that something is being waited for, from a second after its construction until its
 * end. Nothing where the standard error is no terminal.
 */
class WaitingLine
{
public:
    explicit WaitingLine(const QString &text);
    ~WaitingLine();

    /// Takes the line away, or keeps it from coming: somebody else needs the terminal.
    void giveWay();

private:
    Q_DISABLE_COPY(WaitingLine)

    QTimer m_timer;
    bool m_shown = false;
};
