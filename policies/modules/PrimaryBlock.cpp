// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PrimaryBlock.h"

#include <QByteArrayList>

PrimaryBlock::PrimaryBlock(const QByteArray &stack)
{
    const auto lines = stack.split('\n');
    for (int number = 1; number <= lines.size(); ++number) {
        if (lines.at(number - 1).startsWith("# here are the per-package modules (the \"Primary\" block)")) {
            begin = number;
        } else if (lines.at(number - 1).startsWith("# here's the fallback if no module succeeds")) {
            end = number;
        }
    }
}

bool PrimaryBlock::contains(int number) const
{
    return number > begin && number < end;
}
