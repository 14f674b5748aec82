// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/files/SettingsFileReader.h"

#include "policies/files/SettingsFile.h"

SettingsFileReader::SettingsFileReader(const SettingsFile &file, QVariantMap *values)
    : RegExpHandler(file.pattern(), file.hint()), m_file(file), m_values(values)
{
}

bool SettingsFileReader::handleLine(QByteArray *line)
{
    Q_UNUSED(line)
    for (const FileSetting &setting : m_file.settings) {
        if (setting.name != regExp().cap(1)) {
            continue;
        }
        const QVariant value = setting.read ? setting.read(regExp().cap(2)) : QVariant(true);
        if (value.isValid()) {
            m_values->insert(setting.key, value);
        }
    }
    return true;
}
