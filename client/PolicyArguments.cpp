// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/PolicyArguments.h"

namespace
{
/// The value behind a text; invalid if the text is neither a truth value nor a number.
QVariant parseValue(const QString &text)
{
    if (text == QLatin1String("true") || text == QLatin1String("false")) {
        return text == QLatin1String("true");
    }
    bool isNumber = false;
    const qlonglong number = text.toLongLong(&isNumber);
    return isNumber ? QVariant(number) : QVariant();
}
}

QString parsePolicyArguments(const QStringList &words, QVariantMap *arguments)
{
    for (const QString &word : words) {
        const QString key = word.section(QLatin1Char('='), 0, 0);
        const QVariant value = parseValue(word.section(QLatin1Char('='), 1));
        if (key.isEmpty() || !value.isValid()) {
            return QStringLiteral("\"%1\" is not of the form key=number, key=true or key=false").arg(word);
        }
        arguments->insert(key, value);
    }
    return {};
}
