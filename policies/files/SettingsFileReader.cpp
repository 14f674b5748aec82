// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/ExpirationReader.h"

#include "policies/expiration/ExpirationFiles.h"

ExpirationReader::ExpirationReader(const ExpirationFile &file, QVariantMap *values)
    : RegExpHandler(file.pattern, file.hint), m_file(file), m_values(values)
{
}

bool ExpirationReader::handleLine(QByteArray *line)
{
    Q_UNUSED(line)
    for (const ExpirationSetting &setting : m_file.settings) {
        if (setting.name != regExp().cap(1)) {
            continue;
        }
        const QVariant value = setting.read(regExp().cap(2));
        if (value.isValid()) {
            m_values->insert(setting.key, value);
        }
    }
    return true;
}
