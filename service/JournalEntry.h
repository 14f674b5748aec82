// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Caller.h"

#include <QVariantMap>

/// What somebody has changed through the service, or tried to, once polkit had admitted it; of a list, what it lacks.
struct JournalEntry {
    Caller caller;
    /// The last part of polkit's action: "write-faillock", "unlock".
    QString action;
    /// "policy faillock", "account alice"
    QString subject;
    QVariantMap before;
    QVariantMap after;
    /// How it ended, in a word: doneOutcome(), or the last part of the error's name.
    QString outcome;
    /// Why, or what there is to say of it, in one line; mostly empty where it is done.
    QString reason;
    /// What came with a write: "on", "force".
    QVariantMap options = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// What has put a policy in force before its write, and does so now: forceName().
    QString forceBefore = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    QString forceNow = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// The outcome of what has succeeded.
inline QString doneOutcome()
{
    return QStringLiteral("done");
}

/// Leaves one entry in the journal, with fields that journalctl(1) can look for; accountpoliciesd(8) has their names.
void writeToJournal(const JournalEntry &entry);
