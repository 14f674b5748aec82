// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/ExpirationRewriter.h"

#include "policies/expiration/ExpirationFiles.h"

namespace
{
constexpr quint64 bit(int index)
{
    return quint64(1) << index;
}
}

ExpirationRewriter::ExpirationRewriter(const ExpirationFile &file, const QVariantMap *arguments)
    : RegExpHandler(file.pattern, file.hint), m_file(file), m_arguments(arguments)
{
}

bool ExpirationRewriter::handleLine(QByteArray *line)
{
    line->clear();
    for (int i = 0; i < m_file.settings.size(); ++i) {
        const ExpirationSetting &setting = m_file.settings.at(i);
        if (setting.name == regExp().cap(1) && m_arguments->contains(setting.key)) {
            *line = settingText(setting);
            m_seen |= bit(i);
        }
    }
    // true even for an empty line: that is how a setting is removed
    return true;
}

bool ExpirationRewriter::appendLines(QByteArray *tail)
{
    if (m_seen == bit(m_file.settings.size()) - 1) {
        return false;
    }
    tail->clear();
    for (int i = 0; i < m_file.settings.size(); ++i) {
        const ExpirationSetting &setting = m_file.settings.at(i);
        if (!(m_seen & bit(i)) && m_arguments->contains(setting.key)) {
            *tail += settingText(setting) + setting.appendedLineEnd;
        }
    }
    return true;
}

QByteArray ExpirationRewriter::settingText(const ExpirationSetting &setting) const
{
    return (setting.name + m_file.separator + setting.write(m_arguments->value(setting.key))).toLocal8Bit();
}
