// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/commands/ClientCommand.h"

/// Lists the accounts that pam_faillock has locked.
class LockedCommand : public ClientCommand
{
public:
    QString name() const override;
    QString summary() const override;
    QList<QCommandLineOption> options() const override;
    ExitCode run(const QCommandLineParser &line) const override;
};
