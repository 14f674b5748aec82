// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/commands/ClientCommand.h"

#include <memory>
#include <vector>

using Commands = std::vector<std::unique_ptr<ClientCommand>>;

/// In the order in which people see them.
const Commands &allCommands();

/// Null if there is no such command.
const ClientCommand *findCommand(const QString &name);

/// Their names and what each does.
QVector<Candidate> commandCandidates();

/// The command, with its argument if need be, that may have been meant by a name that is none; empty if none is near.
QString meantCommand(const QString &name);

/// Says that there is no such command, and which one may have been meant.
ExitCode unknownCommand(const QString &name);
