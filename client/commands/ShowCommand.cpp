// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ShowCommand.h"

#include "client/Translation.h"
#include "client/commands/PolicyReadings.h"
#include "client/output/SettingsTable.h"
#include "client/output/Terminal.h"
#include "client/settings/Policies.h"

namespace
{
void printForPeople(const PolicyReadings &readings)
{
    QStringList sections;
    for (const Policy &policy : allPolicies()) {
        if (readings.settings.contains(policy.name)) {
            sections += out().bold(policy.titleText()) + QLatin1Char('\n')
                + settingsTable(policy.schema, readings.settings.value(policy.name));
        }
    }
    out().write(sections.join(QLatin1Char('\n')));
}
}

QString ShowCommand::name() const
{
    return QStringLiteral("show");
}

QString ShowCommand::summary() const
{
    return translate("ShowCommand", "Show the policies in force.");
}

QList<Argument> ShowCommand::arguments() const
{
    return {{QStringLiteral("POLICY"),
             translate("ShowCommand", "The policy: %1. All where none is given.")
                 .arg(policyNames().join(QStringLiteral(", "))),
             QStringLiteral("[POLICY]")}};
}

QList<QCommandLineOption> ShowCommand::options() const
{
    return {jsonOption(), noAskPasswordOption()};
}

ExitCode ShowCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    if (!words.isEmpty() && !findPolicy(words.first())) {
        return unknownPolicy(words.first());
    }
    const PolicyReadings readings = readPolicies(words.isEmpty() ? policyNames() : words, mayAskPassword(line));
    if (line.isSet(QStringLiteral("json"))) {
        printDocument(readings);
    } else {
        printForPeople(readings);
    }
    return printFailures(readings);
}

QVector<Candidate> ShowCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? policyCandidates() : QVector<Candidate>();
}
