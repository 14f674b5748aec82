// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Answer.h"

Answer Answer::of(const QVariant &value)
{
    return {{value}, {}, {}, {}};
}

Answer Answer::failure(const char *error, const QString &text)
{
    return {{}, QLatin1String(error), text, {}};
}
