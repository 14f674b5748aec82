// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

class RegExpHandler;

/**
 * Reads a configuration file through a handler: each line that matches is handed over, with a null line.
 *
 * @param path        the file
 * @param handler     the handler; not owned
 * @param errorString receives one message on failure, behind those that it holds already
 * @return whether the file was read to its end; false if it doesn't exist or can't be opened
 */
bool readFile(const QString &path, RegExpHandler *handler, QString *errorString);
