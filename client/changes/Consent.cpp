// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Consent.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "messages/LocalText.h"

#include <array>
#include <cstdio>
#include <unistd.h>

namespace
{
/// What was typed, without its line end; empty at the end of the input.
QString typedLine()
{
    std::array<char, 64> line{};
    return std::fgets(line.data(), line.size(), stdin) ? localText(line.data()).trimmed() : QString();
}

bool agrees(const QString &answer)
{
    return answer.compare(translate("Consent", "yes"), Qt::CaseInsensitive) == 0;
}
}

Outcome askConsent(const QString &danger)
{
    if (danger.isEmpty()) {
        return {};
    }
    if (isatty(STDIN_FILENO) == 0 || !err().isTerminal()) {
        return {
            ExitCode::NotAuthorized,
            danger + QLatin1Char('\n')
                + translate("Consent", "nothing was changed: this has to be confirmed, on a terminal or by --force")};
    }
    err().write(danger + QLatin1Char('\n') + translate("Consent", "Type yes to go on: "));
    return agrees(typedLine()) ? Outcome()
                               : Outcome{ExitCode::NotAuthorized, translate("Consent", "nothing was changed")};
}
