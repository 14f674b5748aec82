// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QStringList>

/**
 * Runs a program and turns every kind of failure into one message.
 *
 * Blocks for at most 60 seconds: 30 for the start, 30 for the end. Standard output is dropped; standard error is
 * used only in the message.
 *
 * @param program     path of the program, or its name to be found through the search path
 * @param arguments   its arguments
 * @param errorString receives the message, behind those that it holds already
 * @return whether the program ended by itself with exit code 0
 */
bool runProcess(const QString &program, const QStringList &arguments, QString *errorString);

/**
 * Copies a file's content into another, with mode and ownership, by means of cp(1).
 *
 * A destination that can't be opened is replaced; one that is a folder gets the copy inside it.
 *
 * @return whether cp succeeded; otherwise @p errorString has a message more
 */
bool copyFile(const QString &source, const QString &destination, QString *errorString);
