// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>

/**
 * Tells in linear time whether and where a line can match a handler's pattern.
 *
 * QRegExp tries a pattern at every offset and needs quadratic time for a pattern that begins with ".*" or "\s*":
 * a line of a megabyte would keep it busy for hours. A hint never changes what matches, only how fast it is found.
 */
class SearchHint
{
public:
    /// Says nothing: every line is searched from its start.
    SearchHint() = default;

    /**
     * @param words ASCII texts of which every match contains at least one
     * @param start a Perl-compatible pattern, with "\\s" and "\\d" as QRegExp takes them, whose leftmost match begins where the leftmost match of the handler's
     *              pattern begins, and that is found nowhere if that pattern isn't; empty: the start of the line
     */
    explicit SearchHint(const QList<QByteArray> &words, const QString &start = QString());

    /// Whether a line of these bytes can match at all.
    bool admits(const QByteArray &bytes) const;

    /// The offset in @p text at which to start the search, or -1 if there is nothing to find.
    int startIn(const QString &text) const;

private:
    QList<QByteArray> m_words;
    QRegularExpression m_start;
};
