// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "messages/LibraryText.h"

#include <QRegularExpression>

QString libraryText(const QString &errorString)
{
    static const QRegularExpression start(QStringLiteral("\\AChild process set up failed: "));
    static const QRegularExpression copy(QStringLiteral("\\A(Cannot create .* for output): .*\\z"),
                                         QRegularExpression::DotMatchesEverythingOption);
    return QString(errorString).remove(start).replace(copy, QStringLiteral("\\1"));
}
