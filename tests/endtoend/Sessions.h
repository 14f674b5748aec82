// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/endtoend/ClientFixture.h"

/**
 * Plays what people type, and compares all that they see with the file TESTCLASS.FUNCTION: sessions, each on fresh files,
 * between lines "## NAME". Behind "# " stands what root types, behind "$ " what nobody does, for bash. What comes to the
 * standard output follows as it is, behind "! " what comes to the standard error, and behind "= " an exit code but 0.
 *
 * Beside the client, a session has bring-profile, which brings a profile of the lockout policy onto a machine that never
 * had one; without-times, a filter for the history; without-home, which runs a command as policytester without HOME and
 * XDG_STATE_HOME, as a unit of the system is started; remove-helper, with --broken for one that
 * always ends at its start; and return-helper, by which each session with that ends.
 */
class Sessions : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();

protected:
    /// Adds the sessions of the present function's file.
    void addSessions() const;
    /// Plays the one of the present row.
    static void play();
};
