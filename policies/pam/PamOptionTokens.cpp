// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionTokens.h"

QStringList pamOptionTokens(const QRegExp &matched)
{
    const QString options = matched.cap(matched.captureCount());
    const QRegExp token(QStringLiteral("\\S+"));
    QStringList tokens;
    for (int at = token.indexIn(options); at != -1; at = token.indexIn(options, at + token.matchedLength())) {
        tokens += token.cap();
    }
    return tokens;
}
