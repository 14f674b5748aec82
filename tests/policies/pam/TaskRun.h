// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVariantMap>

class AbstractTask;

/**
 * Runs a task and tells everything that it leaves: state, message, whether it kept its description, values with their
 * types, and how often and in which state it called finish(). Only in tests that count those calls.
 */
QStringList outcomeOfRun(AbstractTask *task);

/// What outcomeOfRun() tells of a task that ends as it should: with its description, and one finish() at the very end.
QStringList expectedOutcome(int state, const QString &message, const QVariantMap &values);
