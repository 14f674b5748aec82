// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

/// Writes @p content to the file @p path, or ends the program.
void writeInput(const QString &path, const QByteArray &content);

/// Lines as login.defs has them: comments, other settings, and each tenth an ageing setting.
QByteArray loginDefs(int lines);

/// The script for "sed -n -E" that prints the ageing settings of a file in the format of login.defs(5).
QString ageingScript();
