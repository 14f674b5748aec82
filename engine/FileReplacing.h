// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

#include <sys/stat.h>

/**
 * Reads all of a file that is to be replaced; nothing of a missing one.
 *
 * @param errorString receives one message on failure, behind those that it holds already: the path and why
 * @return whether the content is all that there is: what was read in part must replace nothing
 */
bool readWholeFile(const QString &path, QByteArray *content, QString *errorString);

/**
 * Replaces a file by a new one with this content, which is complete and on the disk before it takes the old one's place:
 * whoever reads the file, whenever this process or the machine ends, finds the old content or the new one.
 *
 * The new file gets the mode, owner and extended attributes of the old one; or is the caller's and readable for all if there
 * was none. Only a plain file is replaced. A link is refused: where it leads isn't what was asked for, and to replace the
 * link itself would part what somebody has joined. The folder has to be one that only the caller may write, since the new
 * file is built there, as "<path>.new".
 *
 * @param errorString receives one message on failure, behind those that it holds already: the path and why. The file is as
 *                    it was then, or the new one where nothing but the sync of its folder has failed. "<path>.new" may
 *                    remain if this process is killed, and doesn't disturb the next time
 * @return whether the new content is in place and on the disk
 */
bool replaceFile(const QString &path, const QByteArray &content, QString *errorString);

/// The same, but the new file's mode and owner are given.
bool replaceFile(const QString &path, const QByteArray &content, const struct stat &asOf, QString *errorString);
