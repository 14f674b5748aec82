// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>

/// Between which lines of a stack pam-auth-update(8) puts the profiles'. Both are 0 in a stack that it doesn't write.
struct PrimaryBlock {
    explicit PrimaryBlock(const QByteArray &stack);

    bool contains(int number) const;

    int begin = 0;
    int end = 0;
};
