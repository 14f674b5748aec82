// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionReader.h"

#include "policies/pam/PamOptionTokens.h"

PamOptionReader::PamOptionReader(const PamReadTable &table, QVariantMap *values)
    : RegExpHandler(table.linePattern, SearchHint(table.moduleNames)), m_table(table), m_values(values)
{
    for (const QString &flag : table.flags) {
        m_values->insert(flag, false);
    }
}

bool PamOptionReader::handleLine(QByteArray *line)
{
    Q_UNUSED(line)
    const QRegExp option(m_table.optionPattern);
    const QStringList tokens = pamOptionTokens(regExp().cap(m_table.optionsCapture));
    for (const QString &token : tokens) {
        // searched, not anchored: a token that merely contains a name counts as that option
        if (option.indexIn(token) == -1) {
            continue;
        }
        const QString name = option.cap(1);
        m_values->insert(name, m_table.flags.contains(name) ? QVariant(true) : QVariant(option.cap(2).toInt()));
    }
    m_found = true;
    return true;
}

bool PamOptionReader::found() const
{
    return m_found;
}
