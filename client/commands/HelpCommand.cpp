// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/HelpCommand.h"

#include "client/Translation.h"
#include "client/commands/Commands.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"

namespace
{
/// As it is typed: "-h, --help", "--user NAME".
QString optionSyntax(const QCommandLineOption &option)
{
    QStringList names;
    const auto all = option.names();
    for (const QString &name : all) {
        names += QLatin1String(name.size() == 1 ? "-" : "--") + name;
    }
    const QString syntax = names.join(QStringLiteral(", "));
    return option.valueName().isEmpty() ? syntax : syntax + QLatin1Char(' ') + option.valueName();
}

/// The command with its arguments.
QString commandSyntax(const ClientCommand &command)
{
    QStringList syntax{command.name()};
    const auto arguments = command.arguments();
    for (const Argument &argument : arguments) {
        syntax += argument.syntax;
    }
    return syntax.join(QLatin1Char(' '));
}

QString paragraph(const QString &text)
{
    return wrapped(text, out().width()).join(QLatin1Char('\n')) + QLatin1Char('\n');
}

/// A heading, and below it what each of the first cells is; nothing where there are none.
QString section(const QString &heading, const QVector<QStringList> &rows)
{
    return rows.isEmpty() ? QString()
                          : QLatin1Char('\n') + heading + QLatin1Char('\n') + explanations(rows, out().width());
}

QString optionsSection(const QList<QCommandLineOption> &options)
{
    QVector<QStringList> rows;
    for (const QCommandLineOption &option : options) {
        rows += {optionSyntax(option), option.description()};
    }
    return section(translate("HelpCommand", "Options:"), rows);
}
}

QString HelpCommand::name() const
{
    return QStringLiteral("help");
}

QString HelpCommand::summary() const
{
    return translate("HelpCommand", "Show this, or the help of a command.");
}

QList<Argument> HelpCommand::arguments() const
{
    return {{QStringLiteral("COMMAND"),
             translate("HelpCommand", "The command. All where none is given."),
             QStringLiteral("[COMMAND]")}};
}

ExitCode HelpCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    if (words.isEmpty()) {
        out().write(helpText());
        return ExitCode::Done;
    }
    const ClientCommand *command = findCommand(words.first());
    if (!command) {
        return unknownCommand(words.first());
    }
    out().write(helpText(*command));
    return ExitCode::Done;
}

QVector<Candidate> HelpCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? commandCandidates() : QVector<Candidate>();
}

QList<QCommandLineOption> commonOptions()
{
    return {{{QStringLiteral("h"), QStringLiteral("help")},
             translate("HelpCommand", "Show this, or the help of a command.")},
            {{QStringLiteral("V"), QStringLiteral("version")}, translate("HelpCommand", "Show the version.")}};
}

QList<QCommandLineOption> allOptions(const ClientCommand &command)
{
    return command.options()
        + QList<QCommandLineOption>{
            {{QStringLiteral("h"), QStringLiteral("help")}, translate("HelpCommand", "Show this.")}};
}

QString helpText()
{
    QVector<QStringList> commands;
    for (const auto &command : allCommands()) {
        commands += {commandSyntax(*command), command->summary()};
    }
    return paragraph(translate("HelpCommand", "Usage: accountpolicyctl [COMMAND] [OPTION...]")) + QLatin1Char('\n')
        + paragraph(translate("HelpCommand", "Shows and changes this machine's account policies."))
        + section(translate("HelpCommand", "Commands:"), commands) + optionsSection(commonOptions()) + QLatin1Char('\n')
        + paragraph(translate("HelpCommand", "Without a command: show. See accountpolicyctl(1)."));
}

QString helpText(const ClientCommand &command)
{
    QVector<QStringList> arguments;
    const auto all = command.arguments();
    for (const Argument &argument : all) {
        arguments += {argument.name, argument.description};
    }
    return paragraph(translate("HelpCommand", "Usage: accountpolicyctl %1 [OPTION...]").arg(commandSyntax(command)))
        + paragraph(command.summary()) + section(translate("HelpCommand", "Arguments:"), arguments)
        + optionsSection(allOptions(command)) + command.details();
}
