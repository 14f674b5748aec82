// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/changes/Change.h"
#include "client/commands/ClientCommand.h"

#include <functional>

/// The options of the commands that change something.
QList<QCommandLineOption> changeOptions();

/// For the history: what was typed of them that counts for the change, with a blank before it.
QString typedChangeOptions(const QCommandLineParser &line);

/**
 * Has changes made in the mode that the options ask for, and prints the one document of a dry run that is to be printed so.
 *
 * @param perform makes them
 */
ExitCode runChanges(const QCommandLineParser &line, const std::function<ExitCode(const ChangeMode &)> &perform);
