// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

#include <QStringList>

/**
 * Prints, one a line, what may replace the last of the words, with a tab and its description behind it; the shells'
 * completions call this.
 *
 * @param typed the words behind the tool's name
 */
ExitCode complete(const QStringList &typed);
