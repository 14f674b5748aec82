// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

class RegExpHandler;

/// What the name of a file's temporary copy has behind the file's own.
inline constexpr char temporarySuffix[] = ".tmp";

/**
 * Rewrites a configuration file through a handler.
 *
 * The new content is built in "<path>.tmp" and then copied into the existing file, which keeps its inode, mode and
 * owner. Lines that the handler doesn't claim keep their bytes. A claimed line keeps its comment, set off by one
 * tab, and ends in "\n".
 *
 * Left on disk: nothing but the new content (and "<path>.bak" if asked for) on success. After a failed copy, open or
 * backup the file is unchanged and "<path>.tmp" may remain; it doesn't disturb the next run.
 *
 * @param path        the file
 * @param handler     the handler; not owned
 * @param errorString receives a message on failure, behind those that it holds already. A temporary file that
 *                    can't be removed is reported there too, without being a failure
 * @param keepBackup  whether to keep the old content (content and permissions, not the owner) as "<path>.bak"
 * @return whether the new content is in place
 */
bool rewriteFile(const QString &path, RegExpHandler *handler, QString *errorString, bool keepBackup);
