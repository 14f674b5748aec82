// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionTokens.h"

QStringList pamOptionTokens(const QRegExp &matched)
{
    return matched.cap(matched.captureCount()).split(QRegExp(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
}
