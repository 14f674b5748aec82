// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ApplyCommand.h"

#include "client/Translation.h"
#include "client/commands/ChangeOptions.h"
#include "client/commands/DocumentArgument.h"
#include "client/output/Terminal.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/stores/Stores.h"

#include <algorithm>

namespace
{
/// The first value that would be set and may not be; what is in force already may be any value.
QString disallowedText(const SettingSchema &schema, const Settings &before, const Wishes &wishes)
{
    const auto keys = differingKeys(schema, before, fulfilled(schema, before, wishes));
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        if (!isAllowed(setting, wishes.value(key))) {
            return badMemberText(setting, wishes.value(key));
        }
    }
    return {};
}

bool allowsAll(const SettingSchema &schema, const Wishes &wishes)
{
    const QStringList keys = wishes.keys();
    return std::all_of(keys.begin(), keys.end(), [&](const QString &key) {
        return isAllowed(*schema.find(key), wishes.value(key));
    });
}

/// Looks for what may not be set in all policies of the document, before the first of them is written.
ExitCode checkValues(const QMap<QString, Wishes> &document, PolicyAccess *access, const QCommandLineParser &line)
{
    for (auto policy = document.cbegin(); policy != document.cend(); ++policy) {
        const SettingSchema &schema = findPolicy(policy.key())->schema;
        if (allowsAll(schema, policy.value())) {
            continue;
        }
        const Reading reading = makeStore({StoreName::Kind::Policy, policy.key()}, access)->read();
        if (!reading.outcome.succeeded()) {
            printError(reading.outcome.error);
            return reading.outcome.code;
        }
        const QString wrong = disallowedText(schema, reading.settings, policy.value());
        if (!wrong.isEmpty()) {
            return documentError(line, wrong);
        }
    }
    return ExitCode::Done;
}

/// What is to be done.
struct Application {
    QMap<QString, Wishes> document;
    PolicyAccess access;
    QString command;
};

ExitCode applyPolicy(const QString &name, Application *application, const ChangeMode &mode)
{
    const std::unique_ptr<SettingsStore> store = makeStore({StoreName::Kind::Policy, name}, &application->access);
    const Reading before = store->read();
    if (!before.outcome.succeeded()) {
        printError(before.outcome.error);
        return before.outcome.code;
    }
    const Wishes wishes = application->document.value(name);
    const Settings wanted = fulfilled(store->schema(), before.settings, wishes);
    const Change change{store.get(), before, wanted, application->command, false, wishes.keys()};
    if (wanted != before.settings) {
        return performChange(change, mode);
    }
    const Outcome present = presentOutcome(change);
    if (!present.succeeded()) {
        printError(present.error);
        return present.code;
    }
    if (!mode.report) {
        out().writeUnlessQuiet(translate("ApplyCommand", "%1: already in force").arg(name) + QLatin1Char('\n'));
    }
    return ExitCode::Done;
}

/// Whether to leave the other policies alone: what the user refused once isn't asked again, nor looked for once more.
bool endsAll(ExitCode code, const PolicyAccess &access)
{
    return code == ExitCode::NotAuthorized || code == ExitCode::Busy || access.isBarred() || access.isServiceBarred();
}

ExitCode applyDocument(Application *application, const ChangeMode &mode)
{
    ExitCode result = ExitCode::Done;
    const auto names = policyNames();
    for (const QString &policy : names) {
        if (!application->document.contains(policy)) {
            continue;
        }
        const ExitCode code = applyPolicy(policy, application, mode);
        // "written, but not in force" gives way to a worse end
        if (result == ExitCode::Done || result == ExitCode::NotInForce) {
            result = code == ExitCode::Done ? result : code;
        }
        if (endsAll(code, application->access)) {
            break;
        }
    }
    return result;
}
}

QString ApplyCommand::name() const
{
    return QStringLiteral("apply");
}

QString ApplyCommand::summary() const
{
    return translate("ApplyCommand", "Put the policies of a document in force.");
}

QList<Argument> ApplyCommand::arguments() const
{
    return documentArguments();
}

QList<QCommandLineOption> ApplyCommand::options() const
{
    return changeOptions();
}

ExitCode ApplyCommand::run(const QCommandLineParser &line) const
{
    Application application{{}, accessOf(line), {}};
    ExitCode understood = readDocumentArgument(line, &application.document);
    if (understood == ExitCode::Done) {
        understood = checkValues(application.document, &application.access, line);
    }
    if (understood != ExitCode::Done) {
        return understood;
    }
    application.command = QLatin1String("apply ") + line.positionalArguments().constFirst() + typedChangeOptions(line);
    return runChanges(line, [&](const ChangeMode &mode) {
        return applyDocument(&application, mode);
    });
}

QVector<Candidate> ApplyCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? QVector<Candidate>{{anyFile(), {}}} : QVector<Candidate>();
}
