// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

/**
 * The difference between two contents of a file, as diff(1) prints it with "-u".
 *
 * @param path stands above it; the file isn't looked at
 */
QByteArray unifiedDiff(const QString &path, const QByteArray &before, const QByteArray &after);
