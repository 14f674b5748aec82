// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionRewriter.h"

#include "messages/LocalText.h"
#include "policies/pam/PamOptionTokens.h"
#include "policies/pam/PamPolicy.h"

PamOptionRewriter::PamOptionRewriter(const PamPolicy &policy, const QVariantMap *arguments)
    : RegExpHandler(policy.rewritingPattern(), policy.hint()), m_policy(policy), m_arguments(arguments)
{
}

bool PamOptionRewriter::handleLine(QByteArray *line)
{
    if (!line) {
        return false;
    }
    const QString head = regExp().cap(1);
    *line = localBytes(head + unmanagedOptions() + managedOptions());
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
    const QStringList tokens = pamOptionTokens(regExp());
    QString options;
    for (const QString &token : tokens) {
        const bool named = namePattern.indexIn(token) != -1;
        if (named && m_policy.option(namePattern.cap(1))) {
            continue;
        }
        options += QLatin1Char(' ') + token;
    }
    return options;
}

QString PamOptionRewriter::managedOptions() const
{
    QString options;
    for (const PamOption &option : m_policy.options) {
        const QVariant argument = m_arguments->value(option.name);
        if (option.kind == PamOption::Kind::Flag) {
            options += argument.toBool() ? QStringLiteral(" %1").arg(option.name) : QString();
        } else if (m_arguments->contains(option.name)) {
            options += QStringLiteral(" %1=%2").arg(option.name, QString::number(argument.toInt()));
        }
    }
    return options;
}
