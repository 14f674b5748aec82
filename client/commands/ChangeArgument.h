// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/changes/History.h"
#include "client/commands/ClientCommand.h"

/// What a command that takes the number of a change has behind its name.
/// @param description what the number is for, with what is done without one
QList<Argument> changeArguments(const QString &description);

/// All changes, the newest first, which has the number 1; prints why they are not read.
ExitCode readChanges(QVector<HistoryEntry> *entries);

/**
 * Finds the change of that number; prints why there is none that can be understood.
 *
 * @param word   the number, as typed
 * @param number receives it
 */
ExitCode findChange(const QVector<HistoryEntry> &entries, const QString &word, int *number);

/// The numbers of the changes that can be understood.
QVector<Candidate> changeCandidates(const QStringList &before);

/// A text that comes from a file as one cell of a table, whatever it contains.
QString changeCell(const QString &text);
