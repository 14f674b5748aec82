// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CommandLine.h"

#include "client/Translation.h"
#include "client/commands/ApplyCommand.h"
#include "client/commands/CheckCommand.h"
#include "client/commands/DoctorCommand.h"
#include "client/commands/ExportCommand.h"
#include "client/commands/HistoryCommand.h"
#include "client/commands/ReportCommand.h"
#include "client/commands/SetCommand.h"
#include "client/commands/ShowCommand.h"
#include "client/commands/UndoCommand.h"
#include "client/commands/UserCommand.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"

#include <QCoreApplication>

#include <memory>
#include <vector>

namespace
{
using Commands = std::vector<std::unique_ptr<ClientCommand>>;

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
        all.push_back(std::make_unique<ReportCommand>());
        all.push_back(std::make_unique<DoctorCommand>());
        return all;
    }();
    return commands;
}

QStringList commandNames()
{
    QStringList names;
    for (const auto &command : allCommands()) {
        names += command->name();
    }
    return names;
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

/// Those of the tool as a whole: how each is typed, and its description.
QVector<QStringList> commonOptions()
{
    return {{QStringLiteral("--help"), translate("CommandLine", "Show this, or the help of a command.")},
            {QStringLiteral("--version"), translate("CommandLine", "Show the version.")}};
}

QCommandLineOption helpOption()
{
    return {{QStringLiteral("h"), QStringLiteral("help")}, translate("CommandLine", "Show this.")};
}

QString helpText()
{
    QVector<QStringList> commands;
    for (const auto &command : allCommands()) {
        QStringList syntax{command->name()};
        const auto arguments = command->arguments();
        for (const Argument &argument : arguments) {
            syntax += argument.syntax;
        }
        commands += {syntax.join(QLatin1Char(' ')), command->summary()};
    }
    return translate("CommandLine", "Usage: accountpolicyctl [COMMAND] [OPTION...]") + QStringLiteral("\n\n")
        + translate("CommandLine", "Shows and changes this machine's account policies.") + QStringLiteral("\n\n")
        + translate("CommandLine", "Commands:") + QLatin1Char('\n') + table(commands, 2) + QLatin1Char('\n')
        + translate("CommandLine", "Options:") + QLatin1Char('\n') + table(commonOptions(), 2) + QLatin1Char('\n')
        + translate("CommandLine", "Without a command: show. See accountpolicyctl(1).") + QLatin1Char('\n');
}

ExitCode runClientCommand(const ClientCommand &command, const QStringList &words)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.summary());
    parser.addPositionalArgument(command.name(), command.summary(), command.name());
    const auto arguments = command.arguments();
    for (const Argument &argument : arguments) {
        parser.addPositionalArgument(argument.name, argument.description, argument.syntax);
    }
    parser.addOptions(command.options());
    parser.addOption(helpOption());
    if (!parser.parse(words)) {
        return usageError(parser.errorText());
    }
    if (parser.isSet(helpOption())) {
        out().write(parser.helpText() + command.details());
        return ExitCode::Done;
    }
    return command.run(parser);
}

QVector<Candidate> firstCandidates()
{
    QVector<Candidate> candidates;
    for (const auto &command : allCommands()) {
        candidates += {command->name(), command->summary()};
    }
    const auto options = commonOptions();
    for (const QStringList &option : options) {
        candidates += {option.first(), option.last()};
    }
    return candidates;
}

QVector<Candidate> optionCandidates(const ClientCommand &command)
{
    QVector<Candidate> candidates;
    const auto options = command.options() + QList<QCommandLineOption>{helpOption()};
    for (const QCommandLineOption &option : options) {
        candidates += {QLatin1String("--") + option.names().constLast(), option.description()};
    }
    return candidates;
}

QVector<Candidate> candidatesFor(const QStringList &typed)
{
    if (typed.size() <= 1) {
        return firstCandidates();
    }
    const ClientCommand *command = findCommand(typed.first());
    if (!command) {
        return {};
    }
    if (typed.last().startsWith(QLatin1Char('-'))) {
        return optionCandidates(*command);
    }
    QStringList arguments;
    const QStringList before = typed.mid(1, typed.size() - 2);
    for (const QString &word : before) {
        if (!word.startsWith(QLatin1Char('-'))) {
            arguments += word;
        }
    }
    return command->candidates(arguments);
}

/// Prints, one a line, what may replace the last of the words, with a tab and its description behind it; the shells'
/// completions call this.
ExitCode complete(const QStringList &typed)
{
    const QString last = typed.value(typed.size() - 1);
    const auto candidates = candidatesFor(typed);
    for (const Candidate &candidate : candidates) {
        if (candidate.word.startsWith(last) || candidate.word == anyFile()) {
            const QString behind =
                candidate.description.isEmpty() ? QString() : QLatin1Char('\t') + candidate.description;
            out().write(candidate.word + behind + QLatin1Char('\n'));
        }
    }
    return ExitCode::Done;
}

ExitCode runWithoutCommand(const QStringList &words)
{
    if (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h"))) {
        out().write(helpText());
        return ExitCode::Done;
    }
    if (words.contains(QStringLiteral("--version"))) {
        out().write(QStringLiteral("accountpolicyctl %1\n").arg(QCoreApplication::applicationVersion()));
        return ExitCode::Done;
    }
    return runClientCommand(*findCommand(QStringLiteral("show")), words);
}
}

ExitCode runCommandLine(const QStringList &words)
{
    if (words.value(1) == QLatin1String("complete")) {
        return complete(words.mid(words.value(2) == QLatin1String("--") ? 3 : 2));
    }
    int place = 1;
    while (place < words.size() && words.at(place).startsWith(QLatin1Char('-'))) {
        ++place;
    }
    if (place == words.size()) {
        return runWithoutCommand(words);
    }
    const QString &name = words.at(place);
    const ClientCommand *command = findCommand(name);
    if (!command) {
        const QString meant = nearest(name, commandNames());
        return usageError(
            meant.isEmpty()
                ? translate("CommandLine", "there is no command \"%1\"").arg(name)
                : translate("CommandLine", "there is no command \"%1\"; did you mean \"%2\"?").arg(name, meant));
    }
    QStringList rest = words;
    rest.removeAt(place);
    return runClientCommand(*command, rest);
}
