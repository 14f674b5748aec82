// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/SetCommand.h"

#include "client/Translation.h"
#include "client/commands/ChangeOptions.h"
#include "client/output/SettingsTable.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"
#include "client/stores/Stores.h"

#include <QRegularExpression>

#include <functional>

namespace
{
/// The words that it may have as a value; an empty one stands for what can't be listed.
QStringList valueCandidates(const Setting &setting)
{
    if (setting.kind == SettingKind::Flag || setting.kind == SettingKind::Switch) {
        return {QStringLiteral("yes"), QStringLiteral("no")};
    }
    return setting.never == Never::NoWord ? QStringList{QString()} : QStringList{QString(), QStringLiteral("never")};
}

QVector<Candidate> assignmentCandidates(const SettingSchema &schema, const QStringList &given)
{
    QVector<Candidate> candidates;
    for (const Setting &setting : schema.settings) {
        const QString start = setting.key + QLatin1Char('=');
        if (!given.filter(QRegularExpression(QLatin1Char('^') + start)).isEmpty()) {
            continue;
        }
        const auto values = valueCandidates(setting);
        for (const QString &value : values) {
            candidates += {start + value, descriptionText(setting)};
        }
    }
    return candidates;
}

QString offName()
{
    return QStringLiteral("off");
}

/// Adds the wish of --off; what is wrong with it, one line, empty if nothing is.
QString addOff(const SettingSchema &schema, const QString &subject, Wishes *wishes)
{
    if (!schema.find(enabledKey())) {
        return translate("SetCommand", "%1 cannot be switched off here").arg(subject);
    }
    if (wishes->contains(enabledKey())) {
        return translate("SetCommand", "--off and %1 are the same; give one").arg(enabledKey());
    }
    wishes->insert(enabledKey(), false);
    return {};
}

ExitCode setSettings(SettingsStore *store, const Wishes &wishes, const QCommandLineParser &line, const ChangeMode &mode)
{
    const bool replace = line.isSet(QStringLiteral("replace"));
    const QStringList typed = QStringList{QStringLiteral("set")} + line.positionalArguments();
    Change change{store, store->read(), {}, typed.join(QLatin1Char(' '))};
    if (replace) {
        change.command += QLatin1String(" --replace");
    }
    if (line.isSet(offName())) {
        change.command += QLatin1String(" --off");
    }
    change.command += typedChangeOptions(line);
    const Outcome &read = change.before.outcome;
    const bool mayBeReplaced = read.code == ExitCode::Failed && store->mayBeWritable();
    if (!read.succeeded() && !(replace && mayBeReplaced)) {
        const QString hint =
            translate("SetCommand", "what is not known cannot be kept; --replace writes just what is typed");
        printError(mayBeReplaced && store->exists() ? read.error + QLatin1Char('\n') + hint : read.error);
        return read.code;
    }
    const Wishes all = withEnabling(store->schema(), wishes);
    change.named = all.keys();
    const bool loses = all.value(enabledKey()) == QVariant(false) && !store->keepsSettingsWhenOff();
    change.wanted = fulfilled(store->schema(), replace || loses ? Settings() : change.before.settings, all);
    return performChange(change, mode);
}
}

QString SetCommand::name() const
{
    return QStringLiteral("set");
}

QString SetCommand::summary() const
{
    return translate("SetCommand", "Change settings of a policy, or of an account.");
}

QList<Argument> SetCommand::arguments() const
{
    QStringList subjects = policyNames();
    subjects += translate("SetCommand", "or \"user NAME\" for an account (root only)");
    return {{QStringLiteral("POLICY"), subjects.join(QStringLiteral(", ")), QStringLiteral("POLICY|user NAME")},
            {QStringLiteral("KEY=VALUE"),
             translate("SetCommand", "A setting; KEY= drops it. Those that are not named stay as they are."),
             QStringLiteral("KEY=VALUE...")}};
}

QList<QCommandLineOption> SetCommand::options() const
{
    return QList<QCommandLineOption>{
               {QStringLiteral("replace"), translate("SetCommand", "Drop all settings that are not named.")},
               {offName(), translate("SetCommand", "Switch the policy off; the same as enabled=no.")}}
    + changeOptions();
}

QString SetCommand::details() const
{
    QString details;
    for (const Policy &policy : allPolicies()) {
        details += QLatin1Char('\n') + translate("SetCommand", "Settings of %1:").arg(policy.name) + QLatin1Char('\n')
            + settingsHelp(policy.schema);
    }
    return details + QLatin1Char('\n') + translate("SetCommand", "An account has the settings of expiration.")
        + QLatin1Char('\n');
}

ExitCode SetCommand::run(const QCommandLineParser &line) const
{
    QStringList words = line.positionalArguments();
    const std::optional<StoreName> subject = StoreName::takeFrom(&words);
    if (!subject) {
        return usageError(translate("SetCommand", "what is to be set? a policy (%1), or \"user NAME\"")
                              .arg(policyNames().join(QStringLiteral(", "))));
    }
    PolicyAccess access = accessOf(line);
    const std::unique_ptr<SettingsStore> store = makeStore(*subject, &access);
    if (!store) {
        return unknownPolicy(subject->name);
    }
    if (words.isEmpty() && !line.isSet(QStringLiteral("replace")) && !line.isSet(offName())) {
        return usageError(
            translate("SetCommand", "which settings? %1").arg(store->schema().keys().join(QStringLiteral(", "))));
    }
    Wishes wishes;
    QString wrong = parseAssignments(store->schema(), store->phrase(), words, &wishes);
    if (wrong.isEmpty() && line.isSet(offName())) {
        wrong = addOff(store->schema(), store->phrase(), &wishes);
    }
    if (!wrong.isEmpty()) {
        return usageError(wrong);
    }
    const auto perform = [&](const ChangeMode &mode) {
        return setSettings(store.get(), wishes, line, mode);
    };
    // by reference: gcc's analyzer cannot follow a copy
    return runChanges(line, std::cref(perform));
}

QVector<Candidate> SetCommand::candidates(const QStringList &before) const
{
    QStringList words = before;
    const std::optional<StoreName> subject = StoreName::takeFrom(&words);
    if (!subject) {
        const Candidate account{accountWord(), translate("SetCommand", "The settings of an account (root only)")};
        return before.isEmpty() ? policyCandidates() + QVector<Candidate>{account} : accountCandidates();
    }
    const SettingSchema *schema = schemaOf(*subject);
    return schema ? assignmentCandidates(*schema, words) : QVector<Candidate>();
}
