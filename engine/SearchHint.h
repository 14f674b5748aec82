// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>

/**
 * Tells in linear time whether and where a line can match a handler's pattern.
 *
 * QRegExp tries a pattern at every offset. That takes quadratic time where the pattern begins with ".*" or "\s*": hours
 * for a line of a megabyte. A hint never changes what matches, only how fast it is found.
 */
class SearchHint
{
public:
    /// Says nothing: every line is searched from its start.
    SearchHint() = default;

    /**
     * @param words ASCII texts; every match of the handler's pattern contains at least one of them
     * @param start a Perl-compatible pattern, in which "\\s" and "\\d" mean what they mean to QRegExp. Its leftmost
     *              match begins where that of the handler's pattern does; where it has none, that has none either.
     *              Empty: the search starts with the line
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
