// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/UndoCommand.h"

#include "client/Translation.h"
#include "client/changes/Undoing.h"
#include "client/commands/ChangeArgument.h"
#include "client/commands/ChangeOptions.h"
#include "client/stores/Stores.h"

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
    return changeArguments(
        translate("UndoCommand", "Which change, as listed by history; 1, the newest, if not given."));
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
    QVector<HistoryEntry> entries;
    int number = {};
    ExitCode result = readChanges(&entries);
    if (result == ExitCode::Done) {
        result = findChange(entries, words.value(0, QStringLiteral("1")), &number);
    }
    if (result != ExitCode::Done) {
        return result;
    }
    const HistoryEntry &entry = entries.at(number - 1);
    PolicyAccess access = accessOf(line);
    const std::unique_ptr<SettingsStore> store = makeStore(*entry.store, &access);
    return runChanges(line, [&](const ChangeMode &mode) {
        return undoChange(entry, store.get(), mode);
    });
}

QVector<Candidate> UndoCommand::candidates(const QStringList &before) const
{
    return changeCandidates(before);
}
