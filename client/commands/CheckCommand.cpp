// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CheckCommand.h"

#include "client/Translation.h"
#include "client/commands/DocumentArgument.h"
#include "client/commands/PolicyReadings.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace
{
QVector<QStringList> driftRows(const Policy &policy, const Settings &found, const Wishes &wishes)
{
    QVector<QStringList> rows;
    const Settings wanted = fulfilled(policy.schema, found, wishes);
    const auto keys = differingKeys(policy.schema, found, wanted);
    for (const QString &key : keys) {
        const Setting &setting = *policy.schema.find(key);
        rows += {policy.name, key, settingWords(setting, wanted.value(key)), settingWords(setting, found.value(key))};
    }
    return rows;
}

/// The same for programs, with values as in the document.
QJsonArray driftMembers(const Policy &policy, const Settings &found, const Wishes &wishes)
{
    QJsonArray members;
    const Settings wanted = fulfilled(policy.schema, found, wishes);
    const auto keys = differingKeys(policy.schema, found, wanted);
    for (const QString &key : keys) {
        members += QJsonObject{{QStringLiteral("policy"), policy.name},
                               {QStringLiteral("setting"), key},
                               {QStringLiteral("wanted"), settingsToJson(policy.schema, wanted).value(key)},
                               {QStringLiteral("found"), settingsToJson(policy.schema, found).value(key)}};
    }
    return members;
}

void printDrift(const PolicyReadings &readings, const QMap<QString, Wishes> &document)
{
    QJsonArray differences;
    for (auto reading = readings.settings.cbegin(); reading != readings.settings.cend(); ++reading) {
        const QJsonArray members =
            driftMembers(*findPolicy(reading.key()), reading.value(), document.value(reading.key()));
        for (const QJsonValue &member : members) {
            differences += member;
        }
    }
    const QJsonObject drift{{QStringLiteral("version"), 1}, {QStringLiteral("differences"), differences}};
    out().write(QString::fromUtf8(QJsonDocument(drift).toJson()));
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
    return {jsonOption(), noAskPasswordOption()};
}

ExitCode CheckCommand::run(const QCommandLineParser &line) const
{
    QMap<QString, Wishes> document;
    const ExitCode understood = readDocumentArgument(line, &document);
    if (understood != ExitCode::Done) {
        return understood;
    }
    const PolicyReadings readings = readPolicies(document.keys(), mayAskPassword(line));
    QVector<QStringList> rows;
    for (auto reading = readings.settings.cbegin(); reading != readings.settings.cend(); ++reading) {
        rows += driftRows(*findPolicy(reading.key()), reading.value(), document.value(reading.key()));
    }
    if (line.isSet(jsonOption())) {
        printDrift(readings, document);
    } else if (!rows.isEmpty()) {
        rows.prepend({translate("CheckCommand", "policy"),
                      translate("CheckCommand", "setting"),
                      translate("CheckCommand", "wanted"),
                      translate("CheckCommand", "found")});
        out().write(table(rows, 0));
    }
    const ExitCode read = printFailures(readings);
    if (read != ExitCode::Done) {
        return read;
    }
    return rows.isEmpty() ? ExitCode::Done : ExitCode::Drift;
}

QVector<Candidate> CheckCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? QVector<Candidate>{{anyFile(), {}}} : QVector<Candidate>();
}
