// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ExportCommand.h"

#include "client/Translation.h"
#include "client/commands/PolicyReadings.h"
#include "client/settings/Policies.h"

QString ExportCommand::name() const
{
    return QStringLiteral("export");
}

QString ExportCommand::summary() const
{
    return translate("ExportCommand", "Print the policies in force as a document.");
}

QList<QCommandLineOption> ExportCommand::options() const
{
    return accessOptions();
}

ExitCode ExportCommand::run(const QCommandLineParser &line) const
{
    if (!line.positionalArguments().isEmpty()) {
        return tooManyArguments(line.positionalArguments().constFirst());
    }
    const PolicyReadings readings = readPolicies(policyNames(), accessOf(line));
    printDocument(readings);
    return printFailures(readings);
}
