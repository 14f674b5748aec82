// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/UnlockCommand.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "client/stores/AccountStore.h"
#include "client/stores/ModuleAccess.h"

namespace
{
Outcome unlockAccount(const QString &account, PolicyAccess *access)
{
    const AccountStore store(account);
    return store.exists()
        ? ModuleAccess(access).unlock(account)
        : Outcome{ExitCode::Failed, translate("UnlockCommand", "%1 does not exist").arg(store.phrase())};
}
}

QString UnlockCommand::name() const
{
    return QStringLiteral("unlock");
}

QString UnlockCommand::summary() const
{
    return translate("UnlockCommand", "Open accounts that are locked after failed logins.");
}

QList<Argument> UnlockCommand::arguments() const
{
    return {
        {QStringLiteral("NAME"), translate("UnlockCommand", "The accounts' login names."), QStringLiteral("NAME...")}};
}

QList<QCommandLineOption> UnlockCommand::options() const
{
    return QList<QCommandLineOption>{quietOption()} + accessOptions();
}

ExitCode UnlockCommand::run(const QCommandLineParser &line) const
{
    const QStringList accounts = line.positionalArguments();
    if (accounts.isEmpty()) {
        return usageError(translate("UnlockCommand", "which account?"));
    }
    PolicyAccess access = accessOf(line);
    ExitCode result = ExitCode::Done;
    for (const QString &account : accounts) {
        const Outcome outcome = unlockAccount(account, &access);
        if (outcome.succeeded()) {
            const QString text = translate("UnlockCommand", "no failed logins count against %1").arg(account);
            out().writeUnlessQuiet(printable(text) + QLatin1Char('\n'));
            continue;
        }
        printError(outcome.error);
        result = result == ExitCode::Done ? outcome.code : result;
        if (outcome.code == ExitCode::NotAuthorized || access.isServiceBarred()) {
            break; // nor would the next be
        }
    }
    return result;
}

QVector<Candidate> UnlockCommand::candidates(const QStringList &before) const
{
    QVector<Candidate> candidates;
    const auto accounts = accountCandidates();
    for (const Candidate &account : accounts) {
        if (!before.contains(account.word)) {
            candidates += account;
        }
    }
    return candidates;
}
