// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/SearchHint.h"

#include <algorithm>

SearchHint::SearchHint(const QList<QByteArray> &words, const QString &start)
    : m_words(words)
    // QRegExp's classes know all of Unicode
    , m_start(start, QRegularExpression::UseUnicodePropertiesOption)
{
}

bool SearchHint::admits(const QByteArray &bytes) const
{
    return m_words.isEmpty() || std::any_of(m_words.cbegin(), m_words.cend(), [&bytes](const QByteArray &word) {
               return bytes.contains(word);
           });
}

int SearchHint::startIn(const QString &text) const
{
    return m_start.match(text).capturedStart();
}
