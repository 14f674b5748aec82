// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CheckCommand.h"

#include "client/Translation.h"
#include "client/commands/DocumentArgument.h"
#include "client/commands/PolicyReadings.h"
#include "client/effective/PolicyInForce.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace
{
/// A setting that is not as it is wanted.
struct Difference {
    QString policy;
    Setting setting;
    QVariant wanted;
    QVariant found;
};

/// Where policies differ from what is wanted of them.
struct Drift {
    QVector<Difference> differences;
    /// Why, where more than a policy's own files has a say.
    QStringList obstacles;

    bool isEmpty() const
    {
        return differences.isEmpty() && obstacles.isEmpty();
    }
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

void addDrift(const Policy &policy, const Settings &read, const Wishes &wishes, Drift *drift)
{
    const SettingSchema schema = wishedSchema(policy.schema, wishes);
    const Settings wanted = fulfilled(schema, read, wishes);
    const Comparison comparison = compare(schema, inForceOf(policy, read), read, wanted, wishes.keys());
    const auto keys = differingKeys(schema, comparison.found, wanted);
    for (const QString &key : keys) {
        drift->differences += {policy.name, *schema.find(key), wanted.value(key), comparison.found.value(key)};
    }
    for (const QString &obstacle : comparison.obstacles) {
        drift->obstacles += policy.name + QLatin1String(": ") + obstacle;
    }
}

void printDrift(const Drift &drift)
{
    QVector<QStringList> rows;
    for (const Difference &difference : drift.differences) {
        rows += {difference.policy,
                 difference.setting.key,
                 settingWords(difference.setting, difference.wanted),
                 settingWords(difference.setting, difference.found)};
    }
    if (!rows.isEmpty()) {
        rows.prepend({translate("CheckCommand", "policy"),
                      translate("CheckCommand", "setting"),
                      translate("CheckCommand", "wanted"),
                      translate("CheckCommand", "found")});
        out().write(table(rows, 0));
    }
    for (const QString &obstacle : drift.obstacles) {
        out().write(printable(obstacle) + QLatin1Char('\n'));
    }
}

/// The same for programs, with values as in the document.
void printDriftDocument(const Drift &drift)
{
    QJsonArray differences;
    for (const Difference &difference : drift.differences) {
        differences += QJsonObject{{QStringLiteral("policy"), difference.policy},
                                   {QStringLiteral("setting"), difference.setting.key},
                                   {QStringLiteral("wanted"), settingToJson(difference.setting, difference.wanted)},
                                   {QStringLiteral("found"), settingToJson(difference.setting, difference.found)}};
    }
    const QJsonObject document{{QStringLiteral("version"), 1},
                               {QStringLiteral("differences"), differences},
                               {QStringLiteral("obstacles"), QJsonArray::fromStringList(drift.obstacles)}};
    out().write(QString::fromUtf8(QJsonDocument(document).toJson()));
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
    return QList<QCommandLineOption>{jsonOption()} + accessOptions();
}

ExitCode CheckCommand::run(const QCommandLineParser &line) const
{
    QMap<QString, Wishes> document;
    const ExitCode understood = readDocumentArgument(line, &document);
    if (understood != ExitCode::Done) {
        return understood;
    }
    const PolicyReadings readings = readPolicies(document.keys(), accessOf(line));
    Drift drift;
    for (auto reading = readings.settings.cbegin(); reading != readings.settings.cend(); ++reading) {
        addDrift(*findPolicy(reading.key()), reading.value(), document.value(reading.key()), &drift);
    }
    if (line.isSet(jsonOption())) {
        printDriftDocument(drift);
    } else {
        printDrift(drift);
    }
    const ExitCode read = printFailures(readings);
    if (read != ExitCode::Done) {
        return read;
    }
    return drift.isEmpty() ? ExitCode::Done : ExitCode::Drift;
}

QVector<Candidate> CheckCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? QVector<Candidate>{{anyFile(), {}}} : QVector<Candidate>();
}
