// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>

#include <functional>

class QIODevice;
class RegExpHandler;

/// Receives each raw line, line end included, and whether the handler's pattern was found in it.
using LineVisitor = std::function<void(const QByteArray &line, bool matched)>;

/**
 * Walks over all lines that @p device still has, in order, and searches each for the pattern of @p handler.
 *
 * What is searched is the text before the first "#" and before the first NUL byte.
 */
void walkLines(QIODevice *device, const RegExpHandler &handler, const LineVisitor &visit);

/**
 * The comment of a raw line: its bytes from the first "#" on, without white space at their end.
 *
 * They are never decoded, so that a comment survives even where it is no valid text.
 */
QByteArray commentOf(const QByteArray &line);
