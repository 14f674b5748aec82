// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/Completion.h"

#include "client/commands/Commands.h"
#include "client/commands/HelpCommand.h"
#include "client/output/Terminal.h"

#include <QSet>

namespace
{
QVector<Candidate> optionCandidates(const QList<QCommandLineOption> &options)
{
    QVector<Candidate> candidates;
    for (const QCommandLineOption &option : options) {
        candidates += {QLatin1String("--") + option.names().constLast(), option.description()};
    }
    return candidates;
}

QVector<Candidate> candidatesFor(const QStringList &typed)
{
    if (typed.size() <= 1) {
        return commandCandidates() + optionCandidates(commonOptions());
    }
    const ClientCommand *command = findCommand(typed.first());
    if (!command) {
        return {};
    }
    if (typed.last().startsWith(QLatin1Char('-'))) {
        return optionCandidates(allOptions(*command));
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

/// As much of "key=value" as is of use behind what was typed: values come when their key is there.
QString offered(const QString &candidate, const QString &typed)
{
    const auto equals = candidate.indexOf(QLatin1Char('='));
    return equals >= typed.size() ? candidate.left(equals + 1) : candidate;
}

/// Whether the word has neither a line end nor a tab, which end it here, nor what a terminal would obey.
bool isOneWord(const QString &word)
{
    return printable(word) == word && !word.contains(QLatin1Char('\n')) && !word.contains(QLatin1Char('\t'));
}

QString lineFor(const QString &word, const QString &description)
{
    const QString behind = description.isEmpty() ? QString() : QLatin1Char('\t') + printable(description.simplified());
    return word + behind + QLatin1Char('\n');
}
}

ExitCode complete(const QStringList &typed)
{
    const QString last = typed.value(typed.size() - 1);
    QSet<QString> printed;
    const auto candidates = candidatesFor(typed);
    for (const Candidate &candidate : candidates) {
        const QString word = offered(candidate.word, last);
        const bool fits = word == anyFile() || word.startsWith(last);
        if (fits && isOneWord(word) && !printed.contains(word)) {
            printed += word;
            out().write(lineFor(word, candidate.description));
        }
    }
    return ExitCode::Done;
}
