// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/StoreName.h"

namespace
{
QString accountPrefix()
{
    return accountWord() + QLatin1Char(' ');
}
}

QString StoreName::text() const
{
    return kind == Kind::Account ? accountPrefix() + name : name;
}

StoreName StoreName::fromText(const QString &text)
{
    if (text.startsWith(accountPrefix())) {
        return {Kind::Account, text.mid(accountPrefix().size())};
    }
    return {Kind::Policy, text};
}

std::optional<StoreName> StoreName::takeFrom(QStringList *words)
{
    const int length = words->value(0) == accountWord() ? 2 : 1;
    if (words->size() < length) {
        return {};
    }
    const QString first = words->takeFirst();
    return length == 2 ? StoreName{Kind::Account, words->takeFirst()} : fromText(first);
}

QString accountWord()
{
    return QStringLiteral("user");
}
