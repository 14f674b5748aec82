// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/CommandRunner.h"

#include "engine/Command.h"
#include "messages/ErrorText.h"

#include <QCoreApplication>

namespace
{
struct RunnerText {
    Q_DECLARE_TR_FUNCTIONS(QObject)
public:
    static constexpr CommandFailureTexts commandFailures = {
        "QObject",
#include "engine/CommandFailureTexts.inc"
    };
};
}

bool runProcess(const QString &program, const QStringList &arguments, QString *errorString)
{
    const Command command{program, arguments};
    const CommandOutcome outcome = runCommand(command);
    if (outcome.succeeded()) {
        return true;
    }
    appendMessage(
        errorString,
        commandFailureMessage(
            RunnerText::commandFailures, command, outcome, outcome.errorString, outcome.standardError.trimmed()));
    return false;
}

bool copyFile(const QString &source, const QString &destination, QString *errorString)
{
    const QStringList arguments{
        QStringLiteral("--force"), QStringLiteral("--preserve=mode,ownership"), source, destination};
    return runProcess(QStringLiteral("cp"), arguments, errorString);
}
