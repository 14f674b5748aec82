// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

#include <QStringList>

/**
 * Finds the command that is meant and runs it.
 *
 * @param words the command line, from the program's name on
 */
ExitCode runCommandLine(const QStringList &words);
