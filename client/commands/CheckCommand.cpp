// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CheckCommand.h"

#include "client/Translation.h"
#include "client/commands/DocumentArgument.h"
#include "client/commands/PolicyReadings.h"
#include "client/effective/PolicyInForce.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

namespace
{
/// Where a policy differs from what is wanted of it.
struct Drift {
    QVector<QStringList> rows;
    /// Why, where more than the policy's own files has a say.
    QStringList obstacles;
};

/// The settings that the document has.
SettingSchema wishedSchema(const SettingSchema &schema, const Wishes &wishes)
{
    SettingSchema wished;
    for (const Setting &setting : schema.settings) {
        if (wishes.contains(setting.key)) {
            wished.settings += setting;
        }
    }
    return wished;
}

Drift driftOf(const Policy &policy, const Settings &read, const Wishes &wishes)
{
    const SettingSchema schema = wishedSchema(policy.schema, wishes);
    const Settings wanted = fulfilled(schema, read, wishes);
    const Comparison comparison = compare(schema, inForceOf(policy, read), read, wanted);
    Drift drift;
    const auto keys = differingKeys(schema, comparison.found, wanted);
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        drift.rows += {policy.name,
                       key,
                       settingWords(setting, wanted.value(key)),
                       settingWords(setting, comparison.found.value(key))};
    }
    for (const QString &obstacle : comparison.obstacles) {
        drift.obstacles += policy.name + QLatin1String(": ") + obstacle;
    }
    return drift;
}

void print(const Drift &drift)
{
    if (!drift.rows.isEmpty()) {
        const QStringList title{translate("CheckCommand", "policy"),
                                translate("CheckCommand", "setting"),
                                translate("CheckCommand", "wanted"),
                                translate("CheckCommand", "found")};
        out().write(table(QVector<QStringList>{title} + drift.rows, 0));
    }
    for (const QString &obstacle : drift.obstacles) {
        out().write(printable(obstacle) + QLatin1Char('\n'));
    }
}
}

QString CheckCommand::name() const
{
    return QStringLiteral("check");
}

QString CheckCommand::summary() const
{
    return translate("CheckCommand", "Tell where the policies in force differ from a document.");
}

QList<Argument> CheckCommand::arguments() const
{
    return documentArguments();
}

QList<QCommandLineOption> CheckCommand::options() const
{
    return {noAskPasswordOption()};
}

ExitCode CheckCommand::run(const QCommandLineParser &line) const
{
    QMap<QString, Wishes> document;
    const ExitCode understood = readDocumentArgument(line, &document);
    if (understood != ExitCode::Done) {
        return understood;
    }
    const PolicyReadings readings = readPolicies(document.keys(), mayAskPassword(line));
    Drift drift;
    for (auto reading = readings.settings.cbegin(); reading != readings.settings.cend(); ++reading) {
        const Drift part = driftOf(*findPolicy(reading.key()), reading.value(), document.value(reading.key()));
        drift.rows += part.rows;
        drift.obstacles += part.obstacles;
    }
    print(drift);
    const ExitCode read = printFailures(readings);
    if (read != ExitCode::Done) {
        return read;
    }
    return drift.rows.isEmpty() && drift.obstacles.isEmpty() ? ExitCode::Done : ExitCode::Drift;
}

QVector<Candidate> CheckCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? QVector<Candidate>{{anyFile(), {}}} : QVector<Candidate>();
}
