// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/Commands.h"

#include "client/Translation.h"
#include "client/commands/ApplyCommand.h"
#include "client/commands/CheckCommand.h"
#include "client/commands/DoctorCommand.h"
#include "client/commands/ExportCommand.h"
#include "client/commands/HelpCommand.h"
#include "client/commands/HistoryCommand.h"
#include "client/commands/LockedCommand.h"
#include "client/commands/ReportCommand.h"
#include "client/commands/SetCommand.h"
#include "client/commands/ShowCommand.h"
#include "client/commands/UndoCommand.h"
#include "client/commands/UnlockCommand.h"
#include "client/commands/UserCommand.h"
#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"

namespace
{
/// The command that other tools call by this name, or that shows what has it. Only commands that change nothing are here:
/// whoever asks for a reading must not be told of a writing.
QString calledElsewhere(const QString &name)
{
    if (findPolicy(name)) {
        return QStringLiteral("show ") + name;
    }
    static const QMap<QString, QString> names{{QStringLiteral("get"), QStringLiteral("show")},
                                              {QStringLiteral("list"), QStringLiteral("show")},
                                              {QStringLiteral("status"), QStringLiteral("show")},
                                              {QStringLiteral("view"), QStringLiteral("show")},
                                              {QStringLiteral("diff"), QStringLiteral("check")},
                                              {QStringLiteral("verify"), QStringLiteral("check")},
                                              {QStringLiteral("dump"), QStringLiteral("export")},
                                              {QStringLiteral("save"), QStringLiteral("export")},
                                              {QStringLiteral("log"), QStringLiteral("history")}};
    return names.value(name);
}
}

const Commands &allCommands()
{
    static const Commands commands = [] {
        Commands all;
        all.push_back(std::make_unique<ShowCommand>());
        all.push_back(std::make_unique<SetCommand>());
        all.push_back(std::make_unique<ExportCommand>());
        all.push_back(std::make_unique<ApplyCommand>());
        all.push_back(std::make_unique<CheckCommand>());
        all.push_back(std::make_unique<UndoCommand>());
        all.push_back(std::make_unique<HistoryCommand>());
        all.push_back(std::make_unique<UserCommand>());
        all.push_back(std::make_unique<LockedCommand>());
        all.push_back(std::make_unique<UnlockCommand>());
        all.push_back(std::make_unique<ReportCommand>());
        all.push_back(std::make_unique<DoctorCommand>());
        all.push_back(std::make_unique<HelpCommand>());
        return all;
    }();
    return commands;
}

const ClientCommand *findCommand(const QString &name)
{
    for (const auto &command : allCommands()) {
        if (command->name() == name) {
            return command.get();
        }
    }
    return nullptr;
}

QVector<Candidate> commandCandidates()
{
    QVector<Candidate> candidates;
    for (const auto &command : allCommands()) {
        candidates += {command->name(), command->summary()};
    }
    return candidates;
}

QString meantCommand(const QString &name)
{
    QString other = calledElsewhere(name);
    if (!other.isEmpty()) {
        return other;
    }
    QStringList names;
    for (const auto &command : allCommands()) {
        names += command->name();
    }
    return nearest(name, names);
}

ExitCode unknownCommand(const QString &name)
{
    const QString meant = meantCommand(name);
    return usageError(meant.isEmpty()
                          ? translate("Commands", "there is no command \"%1\"").arg(name)
                          : translate("Commands", "there is no command \"%1\"; did you mean \"%2\"?").arg(name, meant));
}
