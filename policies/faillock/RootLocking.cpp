// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/faillock/RootLocking.h"

bool locksRoot(const QVariantMap &values)
{
    return values.value(QStringLiteral("even_deny_root")).toBool()
        || values.value(QStringLiteral("root_unlock_time")).isValid();
}
