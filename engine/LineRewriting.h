// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

class QIODevice;
class RegExpHandler;

/**
 * Writes all lines that @p source still has to @p destination: those that the handler claims as it rebuilds them, with
 * their comments, all others byte for byte; then what the handler appends.
 */
void rewriteLines(QIODevice *source, QIODevice *destination, RegExpHandler *handler);
