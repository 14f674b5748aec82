// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/stores/SettingsStore.h"

/// A change of the settings of one store.
struct Change {
    SettingsStore *store;
    /// What was read; its outcome may be a failure, where the change doesn't depend on it.
    Reading before;
    Settings wanted;
    /// What was typed, for the history.
    QString command;
    /// An undo that fails, and puts nothing in force, is kept by no entry: who tries again means the same change.
    bool isUndo = false;
};

/// A table of key, now and then: one row for each setting that the change would make another; empty if there is none.
QString changeTable(const Change &change);
/// Whether what is wanted is in force already, where what was read is what is wanted; if not, why.
Outcome presentOutcome(const Change &change);

/**
 * Carries the change out, or previews it, and says so. Saves the settings as they were, writes, reads back and
 * compares. If the write fails and changes nothing, what was saved is removed.
 *
 * @param dryRun whether only to show the change
 * @return Done only if everything that was asked for is in force
 */
ExitCode performChange(const Change &change, bool dryRun);
