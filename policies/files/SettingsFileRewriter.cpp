// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/files/SettingsFileRewriter.h"

#include "messages/LocalText.h"
#include "policies/files/SettingsFile.h"

namespace
{
constexpr quint64 bit(qsizetype index)
{
    return quint64(1) << index;
}
}

SettingsFileRewriter::SettingsFileRewriter(const SettingsFile &file, const QVariantMap *arguments)
    : RegExpHandler(file.pattern(), file.hint()), m_file(file), m_arguments(arguments)
{
}

bool SettingsFileRewriter::handleLine(QByteArray *line)
{
    line->clear();
    for (int i = 0; i < m_file.settings.size(); ++i) {
        const FileSetting &setting = m_file.settings.at(i);
        if (setting.name == regExp().cap(1) && isAskedFor(setting)) {
            *line = settingText(setting);
            m_seen |= bit(i);
        }
    }
    // true even for an empty line: that is how a setting is removed
    return true;
}

bool SettingsFileRewriter::appendLines(QByteArray *tail)
{
    if (m_seen == bit(m_file.settings.size()) - 1) {
        return false;
    }
    tail->clear();
    for (int i = 0; i < m_file.settings.size(); ++i) {
        const FileSetting &setting = m_file.settings.at(i);
        if (!(m_seen & bit(i)) && isAskedFor(setting)) {
            *tail += settingText(setting) + setting.appendedLineEnd;
        }
    }
    return true;
}

bool SettingsFileRewriter::isAskedFor(const FileSetting &setting) const
{
    return setting.write ? m_arguments->contains(setting.key) : m_arguments->value(setting.key).toBool();
}

QByteArray SettingsFileRewriter::settingText(const FileSetting &setting) const
{
    const QString value = setting.write ? m_file.separator + setting.write(m_arguments->value(setting.key)) : QString();
    return localBytes(setting.name + value);
}
