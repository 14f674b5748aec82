// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/stores/SettingsStore.h"

#include <QJsonArray>

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
    /// The keys of the settings that were asked for; the rest is to stay as it was.
    QStringList named = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// Whether what is wanted is in force already, where what was read is what is wanted; if not, why.
Outcome presentOutcome(const Change &change);

/// How to go about a change.
struct ChangeMode {
    /// Only to show what would change.
    bool dryRun = false;
    /// To go on where the change can't come into force, where its preview fails, or where it takes something away.
    bool force = false;
    /// Receives what a dry run shows, in place of the standard output; may be null.
    QJsonArray *report = nullptr;
};

/**
 * Carries the change out, or previews it, and says so. Saves the settings as they were, writes, reads back and
 * compares. If the write fails and changes nothing, what was saved is removed.
 *
 * An undo shows before it is sent what it takes back. A change of a policy of PAM is previewed in any case, and not begun where that says why not.
 *
 * @return Done only if everything that was asked for is in force, or would be tried by the same call without dryRun
 */
ExitCode performChange(const Change &change, const ChangeMode &mode);
