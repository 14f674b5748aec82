// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/commands/ClientCommand.h"

/// Says how the tool, or one of its commands, is used.
class HelpCommand : public ClientCommand
{
public:
    QString name() const override;
    QString summary() const override;
    QList<Argument> arguments() const override;
    ExitCode run(const QCommandLineParser &line) const override;
    QVector<Candidate> candidates(const QStringList &before) const override;
};

/// Those of the tool as a whole.
QList<QCommandLineOption> commonOptions();
/// Those of the command, and the one for its help.
QList<QCommandLineOption> allOptions(const ClientCommand &command);

/// How the tool is used.
QString helpText();
/// How the command is used.
QString helpText(const ClientCommand &command);
