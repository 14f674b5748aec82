// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ClientCommand.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "messages/LocalText.h"

#include <QFile>

#include <pwd.h>

ClientCommand::~ClientCommand() = default;

QList<Argument> ClientCommand::arguments() const
{
    return {};
}

QList<QCommandLineOption> ClientCommand::options() const
{
    return {};
}

QString ClientCommand::details() const
{
    return {};
}

QVector<Candidate> ClientCommand::candidates(const QStringList &before) const
{
    Q_UNUSED(before)
    return {};
}

QCommandLineOption jsonOption()
{
    return {{QStringLiteral("j"), QStringLiteral("json")}, translate("ClientCommand", "Print a JSON document.")};
}

QCommandLineOption dryRunOption()
{
    return {QStringLiteral("dry-run"), translate("ClientCommand", "Show what would change, and change nothing.")};
}

QCommandLineOption quietOption()
{
    return {{QStringLiteral("q"), QStringLiteral("quiet")}, translate("ClientCommand", "Say nothing on success.")};
}

QCommandLineOption localOption()
{
    return {QStringLiteral("local"), translate("ClientCommand", "Do without the helper and the service (root only).")};
}

QCommandLineOption noAskPasswordOption()
{
    return {QStringLiteral("no-ask-password"),
            translate("ClientCommand", "Do not ask for a password on the terminal.")};
}

bool isDryRun(const QCommandLineParser &line)
{
    return line.isSet(QStringLiteral("dry-run"));
}

QList<QCommandLineOption> accessOptions()
{
    return {localOption(), noAskPasswordOption()};
}

PolicyAccess accessOf(const QCommandLineParser &line)
{
    return PolicyAccess(!line.isSet(QStringLiteral("no-ask-password")),
                        line.isSet(QStringLiteral("local")) ? PolicyAccess::Way::Local : PolicyAccess::Way::Helper,
                        line.optionNames().contains(QStringLiteral("force"))); // which not every command has
}

QString anyFile()
{
    return QStringLiteral("<file>");
}

QVector<Candidate> policyCandidates()
{
    QVector<Candidate> candidates;
    for (const Policy &policy : allPolicies()) {
        candidates += {policy.name, policy.titleText()};
    }
    return candidates;
}

QVector<Candidate> accountCandidates()
{
    QVector<Candidate> candidates;
    while (const passwd *entry = getpwent()) {
        candidates += {localText(entry->pw_name), {}};
    }
    endpwent();
    return candidates;
}

ExitCode usageError(const QString &text)
{
    printError(text + QLatin1Char('\n') + translate("ClientCommand", "see accountpolicyctl --help"));
    return ExitCode::Usage;
}

ExitCode tooManyArguments(const QString &unexpected)
{
    return usageError(translate("ClientCommand", "\"%1\" is not expected here").arg(unexpected));
}

ExitCode unknownPolicy(const QString &name)
{
    const QString meant = nearest(name, policyNames());
    const QString known = meant.isEmpty()
        ? translate("ClientCommand", "there are %1").arg(policyNames().join(QStringLiteral(", ")))
        : translate("ClientCommand", "did you mean \"%1\"?").arg(meant);
    return usageError(translate("ClientCommand", "there is no policy \"%1\"; %2").arg(name, known));
}

Outcome readInput(const QString &path, QByteArray *content)
{
    QFile file(path);
    const bool isOpen =
        path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (isOpen) {
        *content = file.readAll();
    }
    if (file.error() != QFileDevice::NoError) {
        return {ExitCode::Failed, translate("ClientCommand", "%1 cannot be read\n%2").arg(path, file.errorString())};
    }
    return {};
}
