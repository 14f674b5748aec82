// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>

/// All bytes of a file; a null array if it can't be read.
QByteArray contentOf(const QString &path);
QByteArray contentOf(const char *path);

/// The lines of a file that contain a text.
QByteArrayList linesWith(const QByteArray &text, const QString &path);
QByteArrayList linesWith(const QByteArray &text, const char *path);

/// Makes @p path a file of just these bytes, and the folders on the way to it. Ends the test program if it can't.
void writeContent(const QString &path, const QByteArray &content);
void writeContent(const char *path, const QByteArray &content);

/// Makes @p path an executable file; the first line names its interpreter.
void writeProgram(const QString &path, const QByteArray &script);
void writeProgram(const char *path, const QByteArray &script);

/// The numbers of this process's open files, one for looking at them included.
QStringList openFiles();
