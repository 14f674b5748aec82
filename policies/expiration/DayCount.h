// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QDate>
#include <QString>

/// Day 0 of all day counts, as in shadow(5).
inline QDate dayZero()
{
    return {1970, 1, 1};
}

/// How a date is written, as in useradd(8).
inline QString dateFormat()
{
    return QStringLiteral("yyyy-MM-dd");
}
