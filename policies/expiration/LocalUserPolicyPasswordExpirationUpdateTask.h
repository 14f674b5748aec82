// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Sets all expiration settings of one account by one run of chage(1), found through the search path.
 *
 * Arguments, in the units of LocalUserPolicyPasswordExpirationReadTask; a setting whose argument is absent or -1 is
 * taken away: "maxInterval", "minInterval", "warningInterval", "inactiveInterval", "expireDate" (64-bit integer);
 * "name" (text; the login name). None is validated here, chage judges them; none is changed.
 *
 * Fails if chage can't be started, doesn't end by itself within 30 seconds, or refuses.
 */
class LocalUserPolicyPasswordExpirationUpdateTask : public UpdateTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalUserPolicyPasswordExpirationUpdateTask)

public:
    LocalUserPolicyPasswordExpirationUpdateTask(void *context, QVariantMap *values);

    void run() override;

private:
    void update();
};
