// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/CommandLine.h"

#include "client/Translation.h"
#include "client/commands/Commands.h"
#include "client/commands/Completion.h"
#include "client/commands/HelpCommand.h"
#include "client/output/Terminal.h"
#include "client/settings/Assignments.h"

#include <QCoreApplication>

#include <unistd.h>

namespace
{
/// As it was typed, with one dash or two.
QString dashed(const QString &option)
{
    return QLatin1String(option.size() == 1 ? "-" : "--") + option;
}

ExitCode unknownOption(const QString &name, const QList<QCommandLineOption> &options)
{
    QStringList names;
    for (const QCommandLineOption &option : options) {
        names += option.names().constLast();
    }
    const QString meant = nearest(name, names);
    return usageError(meant.isEmpty() ? translate("CommandLine", "there is no option \"%1\"").arg(dashed(name))
                                      : translate("CommandLine", "there is no option \"%1\"; did you mean \"%2\"?")
                                            .arg(dashed(name), dashed(meant)));
}

bool isGiven(const QCommandLineOption &option, const QCommandLineParser &line)
{
    const QStringList given = line.optionNames(); // an option that the command doesn't have may be asked for, too
    return given.contains(option.names().constFirst()) || given.contains(option.names().constLast());
}

ExitCode runClientCommand(const ClientCommand &command, const QStringList &words)
{
    const QList<QCommandLineOption> options = allOptions(command);
    QCommandLineParser parser;
    parser.addOptions(options);
    if (!parser.parse(words)) {
        const QStringList unknown = parser.unknownOptionNames();
        return unknown.isEmpty() ? usageError(parser.errorText()) : unknownOption(unknown.first(), options);
    }
    if (parser.isSet(options.constLast())) {
        out().write(helpText(command));
        return ExitCode::Done;
    }
    if (isGiven(localOption(), parser) && geteuid() != 0) {
        printError(translate("CommandLine", "--local is for root alone; try sudo"));
        return ExitCode::NotAuthorized;
    }
    if (isGiven(quietOption(), parser)) {
        out().beQuiet();
    }
    return command.run(parser);
}

ExitCode runWithoutCommand(const QStringList &words)
{
    if (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h"))) {
        out().write(helpText());
        return ExitCode::Done;
    }
    if (words.contains(QStringLiteral("--version")) || words.contains(QStringLiteral("-V"))) {
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
    const ClientCommand *command = findCommand(words.at(place));
    if (!command) {
        return unknownCommand(words.at(place));
    }
    QStringList rest = words;
    rest.removeAt(place);
    return runClientCommand(*command, rest);
}
