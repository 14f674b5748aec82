// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/SearchHint.h"

#include <QByteArray>
#include <QRegExp>

/**
 * Handles the lines of a configuration file that match one regular expression.
 *
 * readFile() and rewriteFile() walk over a file's lines; what they search is a line's text before its first "#",
 * without white space around it. Every line that matches is handed over, in file order.
 */
class RegExpHandler
{
public:
    /**
     * @param pattern a QRegExp pattern of the default syntax, case-sensitive, searched anywhere in the text
     * @param hint    makes the search linear where the pattern alone would not be
     */
    explicit RegExpHandler(const QString &pattern, SearchHint hint = SearchHint());
    virtual ~RegExpHandler();

    /**
     * Called right after a line has matched; regExp() holds the captures.
     *
     * @param line null when a file is read. When it is rewritten, the raw line (local 8-bit bytes, line end included),
     *             which the handler may replace
     * @return whether @p line now holds a new text, without comment and line end, which are added to it. Doesn't count
     *         when a file is read
     */
    virtual bool handleLine(QByteArray *line) = 0;

    /**
     * Called once when a file is rewritten, after the last line.
     *
     * @param tail a null array; receives the text to add at the end of the file, line ends included
     * @return whether there is such a text; the default has none
     */
    virtual bool appendLines(QByteArray *tail);

    /**
     * Searches the text of a line for the pattern.
     *
     * @param text the raw bytes before the line's comment
     * @return whether it was found; regExp() then holds the captures
     */
    bool matches(const QByteArray &text) const;

    const QRegExp &regExp() const;

private:
    Q_DISABLE_COPY(RegExpHandler)

    QRegExp m_regExp;
    SearchHint m_hint;
};
