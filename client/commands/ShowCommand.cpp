// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ShowCommand.h"

#include "client/Translation.h"
#include "client/commands/PolicyReadings.h"
#include "client/effective/InForceDocument.h"
#include "client/effective/PolicyInForce.h"
#include "client/effective/Sections.h"
#include "client/output/InForceTable.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"

#include <QJsonDocument>

namespace
{
void printForPeople(const PolicyReadings &readings)
{
    QStringList sections;
    const QVector<Section> shown = policySections(readings.settings);
    for (const Section &section : shown) {
        sections +=
            out().bold(section.title) + QLatin1Char('\n') + printable(inForceTable(*section.schema, section.inForce));
    }
    out().write(sections.join(QLatin1Char('\n')));
}

/// The document of export, and beside it what the policies come to.
void printJson(const PolicyReadings &readings)
{
    QJsonObject inForce;
    for (auto reading = readings.settings.cbegin(); reading != readings.settings.cend(); ++reading) {
        const Policy &policy = *findPolicy(reading.key());
        inForce.insert(policy.name, inForceToJson(policy.schema, inForceOf(policy, reading.value())));
    }
    QJsonObject document = QJsonDocument::fromJson(writeDocument(readings.settings)).object();
    document.insert(inForceMember(), inForce);
    out().write(QString::fromUtf8(QJsonDocument(document).toJson()));
}

/// The value alone: what isn't set is an empty line, or null.
void printValue(const Setting &setting, const InForce &inForce, bool asJson)
{
    const QVariant value = inForce.settings.value(setting.key);
    if (asJson) {
        out().write(jsonText(settingToJson(setting, value)) + QLatin1Char('\n'));
        return;
    }
    out().write((value.isValid() ? settingText(setting, value) : QString()) + QLatin1Char('\n'));
}

bool isJson(const QCommandLineParser &line)
{
    return line.isSet(QStringLiteral("json"));
}

ExitCode showPolicies(const QStringList &names, const QCommandLineParser &line)
{
    const PolicyReadings readings = readPolicies(names, accessOf(line));
    if (isJson(line)) {
        printJson(readings);
    } else {
        printForPeople(readings);
    }
    return printFailures(readings);
}

ExitCode showValue(const Policy &policy, const QString &key, const QCommandLineParser &line)
{
    const Setting *setting = policy.schema.find(key);
    if (!setting) {
        return usageError(unknownKeyText(policy.schema, policy.phrase(), key));
    }
    const PolicyReadings readings = readPolicies({policy.name}, accessOf(line));
    if (readings.settings.contains(policy.name)) {
        printValue(*setting, inForceOf(policy, readings.settings.value(policy.name)), isJson(line));
    }
    return printFailures(readings);
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
             QStringLiteral("[POLICY")},
            {QStringLiteral("KEY"),
             translate("ShowCommand", "The setting whose value alone is printed; an empty line if it is not set."),
             QStringLiteral("[KEY]]")}};
}

QList<QCommandLineOption> ShowCommand::options() const
{
    return QList<QCommandLineOption>{jsonOption()} + accessOptions();
}

ExitCode ShowCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.size() > 2) {
        return tooManyArguments(words.at(2));
    }
    if (words.isEmpty()) {
        return showPolicies(policyNames(), line);
    }
    const Policy *policy = findPolicy(words.first());
    if (!policy) {
        return unknownPolicy(words.first());
    }
    return words.size() == 1 ? showPolicies(words, line) : showValue(*policy, words.at(1), line);
}

QVector<Candidate> ShowCommand::candidates(const QStringList &before) const
{
    if (before.isEmpty()) {
        return policyCandidates();
    }
    const Policy *policy = findPolicy(before.first());
    QVector<Candidate> candidates;
    if (policy && before.size() == 1) {
        for (const Setting &setting : policy->schema.settings) {
            candidates += {setting.key, descriptionText(setting)};
        }
    }
    return candidates;
}
