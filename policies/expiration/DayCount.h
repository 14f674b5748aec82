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

/// The date that is written so; invalid if it is none. Years are from 1 on: Qt 6 would take those before, with a minus sign.
inline QDate dateOf(const QString &text)
{
    const QDate date = QDate::fromString(text, dateFormat());
    return date.year() > 0 ? date : QDate();
}
