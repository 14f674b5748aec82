// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QVector>

#include <functional>
#include <optional>
#include <utility>

using Work = std::function<void()>;

/// Milliseconds that one run of each of several pieces of work takes: medians of @p rounds runs that take turns.
QVector<double> measureInTurn(int rounds, const QVector<Work> &works);

/// Milliseconds that one run of each of two pieces of work takes: medians of runs that take turns.
using Medians = std::pair<double, double>;

/// Runs @p ours and @p theirs in turn, @p rounds times, each after its preparation, which isn't measured.
Medians
measure(int rounds, const Work &ours, const Work &theirs, const Work &prepareOurs = {}, const Work &prepareTheirs = {});

/// Milliseconds of one piece of work: the median of @p rounds runs.
double measure(int rounds, const Work &work);

/// Prints a heading and the names of the columns.
void printHeading(const QString &heading);

/// Prints a row with its ratio and the limit that this is to keep, if it has one.
void printRow(const QString &name, const Medians &medians, std::optional<double> limit = {});

/// How many rows were above their limits so far.
int rowsAboveLimit();
