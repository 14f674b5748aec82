// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>

/// Makes this process's standard error a terminal until this object ends. To be made before the client writes to it.
class ErrorTerminal
{
public:
    ErrorTerminal();
    ~ErrorTerminal();

    /// What it got since the last call, as it was written.
    QByteArray shown() const;

private:
    Q_DISABLE_COPY_MOVE(ErrorTerminal)

    int m_before;
    int m_master = -1;
};
