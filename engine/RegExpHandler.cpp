// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/RegExpHandler.h"

#include "messages/LocalText.h"

#include <utility>

RegExpHandler::RegExpHandler(const QString &pattern, SearchHint hint)
    : m_regExp(pattern, Qt::CaseSensitive, QRegExp::RegExp), m_hint(std::move(hint))
{
}

RegExpHandler::~RegExpHandler() = default;

bool RegExpHandler::appendLines(QByteArray *tail)
{
    Q_UNUSED(tail)
    return false;
}

bool RegExpHandler::matches(const QByteArray &text) const
{
    if (!m_hint.admits(text)) {
        return false;
    }
    const QString setting = localText(text).trimmed();
    if (setting.isEmpty()) {
        return false;
    }
    const int start = m_hint.startIn(setting);
    return start != -1 && m_regExp.indexIn(setting, start, QRegExp::CaretAtZero) != -1;
}

const QRegExp &RegExpHandler::regExp() const
{
    return m_regExp;
}
