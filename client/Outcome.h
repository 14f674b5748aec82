// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/// How the tool ends; accountpolicyctl(1) lists the numbers.
enum class ExitCode {
    Done = 0,
    Failed = 1,
    Usage = 2,
    /// Refused by polkit, or cancelled by the user.
    NotAuthorized = 3,
    /// Written, but what is in force is something else; or not written, since it can't come into force here.
    NotInForce = 4,
    /// The helper, or a tool that it runs, is at work for somebody else.
    Busy = 5,
    /// The policies in force differ from the wanted ones.
    Drift = 6,
    /// Not written: something of an administrator's would be lost.
    Loss = 7,
};

/// How a step of a command ended.
struct Outcome {
    ExitCode code = ExitCode::Done;
    /// Empty on success. One short line, details on the lines below it.
    QString error;
    /// For a write that was cancelled or got no answer in time: whether it may be carried out all the same.
    bool mayHappen = false;
    /// For a write that failed: whether it has changed files that are not in force yet.
    bool filesChanged = false;

    bool succeeded() const
    {
        return code == ExitCode::Done;
    }
};
