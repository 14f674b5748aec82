// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionTokens.h"

#include <QRegExp>

QStringList pamOptionTokens(const QString &options)
{
    return options.split(QRegExp(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
}
