// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

/**
 * The difference between two contents of a file, as diff(1) prints it with "-U".
 *
 * @param path    stands above it; the file isn't looked at
 * @param context so many lines stand around each that differs
 */
QByteArray unifiedDiff(const QString &path, const QByteArray &before, const QByteArray &after, int context = 3);
