// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The correction of one option in a PAM stack, on any lines.

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamStackCorrection.h"
#include "tests/fuzz/Fuzzing.h"

#include <QStringList>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const bool lockout = input.takeByte() & 1;
    const int wanted = static_cast<int>(input.takeNumber());
    const PamPolicy &policy = lockout ? lockoutPolicy() : complexityPolicy();
    const QStringList before = QString::fromUtf8(input.rest()).split(QLatin1Char('\n'));
    QStringList lines = before;

    const bool changed = correctPamLines(policy, wanted, &lines);

    require(lines.size() == before.size(), "no line comes or goes");
    require(changed == (lines != before) || changed, "a change is told");
    for (int i = 0; i < lines.size(); ++i) {
        if (!before.at(i).contains(policy.moduleExpression)
            || !before.at(i).contains(policy.correctedOption + QLatin1Char('='))) {
            require(lines.at(i) == before.at(i), "other lines stay", lines.at(i).toUtf8());
        }
    }
    if (wanted >= 0) {
        QStringList again = lines;
        correctPamLines(policy, wanted, &again);
        require(again == lines, "correcting again changes nothing", again.join(QLatin1Char('\n')).toUtf8());
    }
    return 0;
}
