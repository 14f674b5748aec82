// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QtGlobal>

#include <unistd.h>

/// This process of root's, and the programs that it starts, with the rights of nobody for a while.
class AsNobody
{
public:
    AsNobody()
    {
        if (setresgid(number, number, 0) != 0 || setresuid(number, number, 0) != 0) {
            qFatal("cannot become nobody");
        }
    }
    ~AsNobody()
    {
        if (setresuid(0, 0, 0) != 0 || setresgid(0, 0, 0) != 0) {
            qFatal("cannot become root again");
        }
    }

private:
    Q_DISABLE_COPY_MOVE(AsNobody)

    static constexpr uid_t number = 65534;
};
