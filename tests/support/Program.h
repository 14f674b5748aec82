// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// How a program ended.
struct ProgramResult {
    /// -1 if it didn't start or didn't end by itself within a minute.
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};

inline constexpr int root = 0;
/// An account without any right of its own.
inline constexpr int nobody = 65534;

/// Runs a program to its end, as the account of number @p user.
ProgramResult
runAs(int user, const QString &program, const QStringList &arguments, const QByteArray &input = QByteArray());
