// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionReader.h"

#include "policies/pam/PamOptionTokens.h"
#include "policies/pam/PamPolicy.h"

PamOptionReader::PamOptionReader(const PamPolicy &policy, QVariantMap *values)
    : RegExpHandler(policy.readingPattern(), policy.hint())
    , m_policy(policy)
    , m_option(policy.optionPattern())
    , m_values(values)
{
    for (const PamOption &option : policy.options) {
        if (option.kind == PamOption::Kind::Flag) {
            m_values->insert(option.name, false);
        }
    }
}

bool PamOptionReader::handleLine(QByteArray *line)
{
    Q_UNUSED(line)
    const QStringList tokens = pamOptionTokens(regExp());
    for (const QString &token : tokens) {
        // searched, not anchored: a token that merely contains a name counts as that option
        if (m_option.indexIn(token) == -1) {
            continue;
        }
        const PamOption *option = m_policy.option(m_option.cap(1));
        const bool isFlag = option->kind == PamOption::Kind::Flag;
        m_values->insert(option->name, isFlag ? QVariant(true) : QVariant(m_option.cap(2).toInt()));
    }
    m_found = true;
    return true;
}

bool PamOptionReader::found() const
{
    return m_found;
}
