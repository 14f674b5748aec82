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

/// Says that there is no such command, and which one may have been meant.
ExitCode unknownCommand(const QString &name);
