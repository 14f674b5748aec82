// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/Command.h"

#include "engine/GroupProcess.h"
#include "messages/LibraryText.h"
#include "messages/LocalText.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace
{
constexpr int startLimit = 30000; // ms
}

bool CommandOutcome::succeeded() const
{
    return end == End::Exited && exitCode == 0;
}

CommandOutcome runCommand(const Command &command)
{
    GroupProcess process(command.endsAsGroup);
    // where none is set it inherits this process's; Qt 6 would take an empty one for what it says
    if (!command.environment.isEmpty()) {
        process.setProcessEnvironment(command.environment);
    }
    process.start(command.program, command.arguments, QIODevice::ReadOnly);
    CommandOutcome outcome;
    if (!process.waitForStarted(startLimit)) {
        outcome.end = CommandOutcome::End::NotStarted;
    } else if (!process.waitForFinished(command.limit) || process.exitStatus() != QProcess::NormalExit) {
        // a crash has no text of its own
        outcome.end = CommandOutcome::End::NotFinished;
    } else {
        outcome.end = CommandOutcome::End::Exited;
        outcome.exitCode = process.exitCode();
        // by its length: what stands behind a NUL byte counts too
        outcome.standardError = wholeLocalText(process.readAllStandardError());
    }
    outcome.error = process.error();
    outcome.errorString = libraryText(process.errorString());
    if (command.environment.isEmpty()) {
        // the call that Qt 5 starts it by then; Qt 6 has one for both
        static const QRegularExpression call(QStringLiteral("\\Aexecve: "));
        outcome.errorString.replace(call, QStringLiteral("execvp: "));
    }
    if (outcome.end == CommandOutcome::End::NotFinished) {
        process.endGroup();
    }
    return outcome;
}

QString commandFailureMessage(const CommandFailureTexts &texts,
                              const Command &command,
                              const CommandOutcome &outcome,
                              const QString &error,
                              const QString &standardError)
{
    const QString arguments = command.arguments.join(QLatin1Char(' '));
    if (outcome.end == CommandOutcome::End::Exited) {
        return QCoreApplication::translate(texts.context, texts.exitCode)
            .arg(command.program, arguments, QString::number(outcome.exitCode), standardError);
    }
    const bool started = outcome.end == CommandOutcome::End::NotFinished;
    return QCoreApplication::translate(texts.context, started ? texts.notFinished : texts.notStarted)
        .arg(command.program, arguments, error);
}
