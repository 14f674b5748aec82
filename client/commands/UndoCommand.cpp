// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/UndoCommand.h"

#include "client/Translation.h"
#include "client/changes/History.h"
#include "client/commands/ChangeOptions.h"
#include "client/output/Terminal.h"
#include "client/stores/Stores.h"

namespace
{
ExitCode fail(const QString &text)
{
    printError(text);
    return ExitCode::Failed;
}

ExitCode undo(const HistoryEntry &entry, const QCommandLineParser &line, const ChangeMode &mode)
{
    if (!entry.store) {
        return fail(translate("UndoCommand", "%1 cannot be understood").arg(entry.file));
    }
    const std::unique_ptr<SettingsStore> store = makeStore(*entry.store, mayAskPassword(line));
    const Reading before = store->read();
    if (before.outcome.code != ExitCode::Done && before.outcome.code != ExitCode::Failed) {
        printError(before.outcome.error);
        return before.outcome.code;
    }
    return performChange(
        {store.get(), before, entry.before, translate("UndoCommand", "undo of: %1").arg(entry.command)}, mode);
}
}

QString UndoCommand::name() const
{
    return QStringLiteral("undo");
}

QString UndoCommand::summary() const
{
    return translate("UndoCommand", "Bring back the settings from before a change.");
}

QList<Argument> UndoCommand::arguments() const
{
    return {{QStringLiteral("NUMBER"),
             translate("UndoCommand", "Which change, as listed by history; 1, the newest, if not given."),
             QStringLiteral("[NUMBER]")}};
}

QList<QCommandLineOption> UndoCommand::options() const
{
    return changeOptions();
}

ExitCode UndoCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    const int number = words.isEmpty() ? 1 : words.first().toInt();
    if (number < 1) {
        return usageError(translate("UndoCommand", "\"%1\" is not the number of a change; see accountpolicyctl history")
                              .arg(words.first()));
    }
    const QVector<HistoryEntry> entries = History().entries();
    if (entries.isEmpty()) {
        return fail(translate("UndoCommand", "there is nothing to undo"));
    }
    if (number > entries.size()) {
        return fail(
            translate("UndoCommand", "there is no change %1; the oldest is %2").arg(number).arg(entries.size()));
    }
    return runChanges(line, [&](const ChangeMode &mode) {
        return undo(entries.at(number - 1), line, mode);
    });
}
