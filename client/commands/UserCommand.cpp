// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/UserCommand.h"

#include "client/Translation.h"
#include "client/output/SettingsTable.h"
#include "client/output/Terminal.h"
#include "client/stores/AccountStore.h"

QString UserCommand::name() const
{
    return QStringLiteral("user");
}

QString UserCommand::summary() const
{
    return translate("UserCommand", "Show the expiration settings of an account (root only).");
}

QList<Argument> UserCommand::arguments() const
{
    return {{QStringLiteral("NAME"), translate("UserCommand", "The account's login name."), QStringLiteral("NAME")}};
}

ExitCode UserCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.isEmpty()) {
        return usageError(translate("UserCommand", "which account?"));
    }
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    AccountStore store(words.first());
    const Reading reading = store.read();
    if (!reading.outcome.succeeded()) {
        printError(reading.outcome.error);
        return reading.outcome.code;
    }
    out().write(out().bold(printable(words.first())) + QLatin1Char('\n')
                + settingsTable(store.schema(), reading.settings));
    return ExitCode::Done;
}

QVector<Candidate> UserCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? accountCandidates() : QVector<Candidate>();
}
