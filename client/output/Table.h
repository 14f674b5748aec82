// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVector>

/**
 * Lines up cells in columns, two blanks apart.
 *
 * @param rows   cells; a row may have fewer than others
 * @param indent blanks before each row
 * @return one line for each row, each with its line end
 */
QString table(const QVector<QStringList> &rows, int indent);

/**
 * Lines up what is explained, in the first cells, with its explanations, in the second ones, which are wrapped. Below its
 * first cell stands the explanation of a long one and, where a line is short, each.
 *
 * @param width how long a line may be
 */
QString explanations(const QVector<QStringList> &rows, int width);

/// The text in lines of at most @p width characters; a word that is longer has a line of its own.
QStringList wrapped(const QString &text, int width);
