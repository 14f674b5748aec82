// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

struct ChangeMode;
struct HistoryEntry;
class SettingsStore;

/**
 * Takes back what a change has changed, and nothing else, and tells what that is. That is a change too, and can be undone.
 *
 * If the entry doesn't tell what was asked for, or if what is in force can't be read, all settings become what they were
 * before the change.
 *
 * @param entry  one that is understood
 * @param store  that of the entry
 */
ExitCode undoChange(const HistoryEntry &entry, SettingsStore *store, const ChangeMode &mode);
