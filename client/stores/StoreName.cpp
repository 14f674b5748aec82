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
    const bool isAccount = words->value(0) == accountWord();
    if (words->size() < (isAccount ? 2 : 1)) {
        return {};
    }
    if (isAccount) {
        words->removeFirst();
    }
    return StoreName{isAccount ? Kind::Account : Kind::Policy, words->takeFirst()};
}

QString accountWord()
{
    return QStringLiteral("user");
}
