// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/**
 * Replaces a file by a new one with this content, which is complete and on the disk before it takes the old one's place:
 * whoever reads the file, whenever this process or the machine ends, finds the old content or the new one.
 *
 * The new file gets the mode, owner and extended attributes of the old one, or is root's and readable for all if there was
 * none. Where the path is a link, the file that it leads to is replaced and the link stays. A folder or a device isn't
 * replaced. A file with more names than one gets its own content under this name alone.
 *
 * @param errorString receives one message on failure: the path and why. The file is as it was then, and no other remains
 * @return whether the new content is in place, on the disk
 */
bool replaceFile(const QString &path, const QByteArray &content, QString *errorString);
