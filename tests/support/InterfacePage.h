// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVector>

/**
 * The rows of the first table under a heading of docs/interface.md, cell by cell, without the table's head.
 * Ends the test program if there are none.
 */
QVector<QStringList> interfaceTable(const QString &heading);

/// What a cell has in code marks, piece by piece.
QStringList codeIn(const QString &cell);
