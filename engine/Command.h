// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

/// A program, by path or found through the search path, and its arguments.
struct Command {
    QString program;
    QStringList arguments;
    /// All that its environment has; if empty, it inherits this process's.
    QProcessEnvironment environment = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// Whether those that it starts end with it where it doesn't finish: it runs in a process group of its own.
    bool endsAsGroup = false;
    /// How long it may take to finish, in milliseconds.
    int limit = 30000;
};

/// How a run of a command ended.
struct CommandOutcome {
    enum class End {
        /// It didn't start within 30 seconds.
        NotStarted,
        /// It didn't finish within its limit, or was ended by a signal.
        NotFinished,
        /// It ended by itself; the exit code says how.
        Exited,
    };

    End end = End::NotStarted;
    int exitCode = 0;
    QProcess::ProcessError error = QProcess::UnknownError;
    QString errorString;
    /// Everything that it wrote there, decoded from the local 8-bit encoding; filled only where it exited.
    QString standardError;

    bool succeeded() const;
};

/**
 * The three texts for a run that failed, untranslated, and the context in which to translate them.
 * In all three, %1 is the program and %2 its arguments, joined with blanks.
 */
struct CommandFailureTexts {
    const char *context;
    /// %3 is what the process object says about its error.
    const char *notStarted;
    /// As above.
    const char *notFinished;
    /// %3 is the exit code, %4 what the program wrote to standard error.
    const char *exitCode;
};

/**
 * Runs the command to its end, for at most 30 seconds to start and its limit to finish.
 *
 * It inherits the working directory, and the environment where the command has none; nothing is written to its input.
 */
CommandOutcome runCommand(const Command &command);

/**
 * Puts a failed run into words.
 *
 * @param error         fills %3 where the run wasn't started or finished
 * @param standardError fills %4 where it exited
 */
QString commandFailureMessage(const CommandFailureTexts &texts,
                              const Command &command,
                              const CommandOutcome &outcome,
                              const QString &error,
                              const QString &standardError);
