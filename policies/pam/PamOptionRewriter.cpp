// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionRewriter.h"

#include "policies/pam/PamOptionTokens.h"

PamOptionRewriter::PamOptionRewriter(const PamWriteTable &table, const QVariantMap *arguments)
    : RegExpHandler(table.linePattern, SearchHint(table.moduleNames)), m_table(table), m_arguments(arguments)
{
}

bool PamOptionRewriter::handleLine(QByteArray *line)
{
    if (!line) {
        return false;
    }
    const QString head = regExp().cap(1);
    *line = (head + unmanagedOptions() + managedOptions()).toLocal8Bit();
    m_found = true;
    return true;
}

bool PamOptionRewriter::found() const
{
    return m_found;
}

QString PamOptionRewriter::unmanagedOptions() const
{
    const QRegExp namePattern(QStringLiteral("([^=]+)=?(\\d+)?"));
    const QStringList managed = m_table.flags + m_table.numbers;
    const QStringList tokens = pamOptionTokens(regExp().cap(m_table.optionsCapture));
    QString options;
    for (const QString &token : tokens) {
        const bool named = namePattern.indexIn(token) != -1;
        if (named && managed.contains(namePattern.cap(1))) {
            continue;
        }
        options += QLatin1Char(' ') + token;
    }
    return options;
}

QString PamOptionRewriter::managedOptions() const
{
    QString options;
    for (const QString &flag : m_table.flags) {
        if (m_arguments->value(flag).toBool()) {
            options += QStringLiteral(" %1").arg(flag);
        }
    }
    for (const QString &number : m_table.numbers) {
        if (m_arguments->contains(number)) {
            options += QStringLiteral(" %1=%2").arg(number, QString::number(m_arguments->value(number).toInt()));
        }
    }
    return options;
}
