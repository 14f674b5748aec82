// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/commands/ClientCommand.h"

/// Puts a document's policies in force, those that aren't already.
class ApplyCommand : public ClientCommand
{
public:
    QString name() const override;
    QString summary() const override;
    QList<Argument> arguments() const override;
    QList<QCommandLineOption> options() const override;
    ExitCode run(const QCommandLineParser &line) const override;
    QVector<Candidate> candidates(const QStringList &before) const override;
};
