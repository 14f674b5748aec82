// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/SearchHint.h"

#include <algorithm>

namespace
{
/**
 * Gives "\s" and "\d" the meaning that they have for QRegExp: the white space and the decimal digits of Unicode's first
 * plane. With wider ones, a hint would start searches that find nothing, and take quadratic time again.
 */
QString withClassesOfQRegExp(QString pattern)
{
    const QString space = QStringLiteral(
        R"([\x{9}-\x{d}\x{20}\x{85}\x{a0}\x{1680}\x{2000}-\x{200a}\x{2028}\x{2029}\x{202f}\x{205f}\x{3000}])");
    const QString digit = QStringLiteral(R"((?![\x{10000}-\x{10ffff}])\p{Nd})");
    return pattern.replace(QLatin1String("\\s"), space).replace(QLatin1String("\\d"), digit);
}
}

SearchHint::SearchHint(const QList<QByteArray> &words, const QString &start)
    : m_words(words), m_start(withClassesOfQRegExp(start))
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
    return static_cast<int>(m_start.match(text).capturedStart()); // QRegExp has no larger offsets
}
