// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/policies/pam/SamplePolicy.h"

PamPolicy samplePolicy(const QString &stack)
{
    using Kind = PamOption::Kind;
    return {
        stack,
        {
            {QStringLiteral("first"), QStringLiteral("pam_sample"), "no module in %1"},
            {QStringLiteral("second"), QStringLiteral("pam_example"), "none in %1"},
        },
        QStringLiteral(R"(\s*.*)"),
        QStringLiteral(R"(-?\d+)"),
        {
            {QStringLiteral("quiet"), Kind::Flag, 2},
            {QStringLiteral("loud"), Kind::Flag, 1},
            {QStringLiteral("speed"), Kind::Number, 5},
            {QStringLiteral("angle"), Kind::Number, 3},
            {QStringLiteral("top_speed"), Kind::Number, 4},
        },
        QStringLiteral("speed"),
    };
}
