// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// How a program ended; two are compared, and shown where they differ, as a whole.
struct ProgramResult {
    /// -1 if it didn't start or didn't end by itself in time.
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};
Q_DECLARE_METATYPE(ProgramResult)
bool operator==(const ProgramResult &left, const ProgramResult &right);
char *toString(const ProgramResult &result);

inline constexpr int root = 0;
/// An account without any right of its own.
inline constexpr int nobody = 65534;

/// Runs a program to its end, as the account of number @p user.
ProgramResult
runAs(int user, const QString &program, const QStringList &arguments, const QByteArray &input = QByteArray());
/// The words of @p command are cut at blanks.
ProgramResult runAs(int user, const char *command, const QByteArray &input = QByteArray());

/// What cp calls itself in its messages when it is run by its path: this, or just its name, by the release of coreutils.
QString nameOfCp();
/// What a message has of a cp that ended with 1 after it had said @p words behind its name.
QString failureOfCp(const char *words);

/// The words of a command line, cut at blanks.
QStringList splitWords(const QString &words);

/// A program of the build folder that every account can run, wherever that folder is; within the sandbox.
QString copyForEverybody(const QString &path);
