// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

#include <initializer_list>

/// The texts of literals in UTF-8.
inline QStringList texts(std::initializer_list<const char *> literals)
{
    QStringList texts;
    for (const char *literal : literals) {
        texts += QString::fromUtf8(literal);
    }
    return texts;
}
