// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/stores/PolicyAccess.h"

#include <QCommandLineParser>
#include <QStringList>
#include <QVector>

/// What stands behind a command's name, for its help.
struct Argument {
    QString name;
    QString description;
    /// As in the line of its usage: "[POLICY]".
    QString syntax;
};

/// What may stand at the end of the command line.
struct Candidate {
    QString word;
    /// What it means, one line; may be empty.
    QString description;
};

/// One of the tool's commands.
class ClientCommand
{
public:
    virtual ~ClientCommand();

    virtual QString name() const = 0;
    /// One line.
    virtual QString summary() const = 0;
    virtual QList<Argument> arguments() const;
    virtual QList<QCommandLineOption> options() const;
    /// What its help says below arguments and options; empty or whole lines.
    virtual QString details() const;

    /**
     * @param line what was typed; its positional arguments don't have the command's name
     */
    virtual ExitCode run(const QCommandLineParser &line) const = 0;

    /**
     * What may stand at the end of the command line, for completion by a shell.
     *
     * @param before the arguments before that place, without options
     */
    virtual QVector<Candidate> candidates(const QStringList &before) const;
};

QCommandLineOption jsonOption();
QCommandLineOption dryRunOption();
/// Where a command has it, Terminal::writeUnlessQuiet() obeys it.
QCommandLineOption quietOption();
QCommandLineOption localOption();
QCommandLineOption noAskPasswordOption();
/// Of the commands that come to policies.
QList<QCommandLineOption> accessOptions();

bool isDryRun(const QCommandLineParser &line);
/// How the options have it.
PolicyAccess accessOf(const QCommandLineParser &line);

/// Stands for the names of files among the candidates.
QString anyFile();
QVector<Candidate> policyCandidates();
/// The names of this machine's accounts.
QVector<Candidate> accountCandidates();

/// Prints what is wrong with the command line, and where to find help.
ExitCode usageError(const QString &text);
ExitCode tooManyArguments(const QString &unexpected);
ExitCode unknownPolicy(const QString &name);

/// All of a file, or of the standard input for "-".
Outcome readInput(const QString &path, QByteArray *content);
