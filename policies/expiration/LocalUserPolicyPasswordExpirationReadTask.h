// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Reads the expiration settings of one account from the system's account databases, see getpwnam(3), getspnam(3) and
 * shadow(5). Takes the right to read the shadow database.
 *
 * The caller puts the login name into the values as "name"; it is empty where absent, and stays there.
 *
 * Values, each there only if it is set: "maxInterval", "minInterval", "warningInterval", "inactiveInterval" (64-bit
 * integer, days), "expireDate" (64-bit integer, days since 1970-01-01).
 *
 * Fails, without any of them, if the account has no entry in one of the databases, or keeps its password elsewhere
 * than in the shadow database.
 */
class LocalUserPolicyPasswordExpirationReadTask : public ReadPropertyHeavyTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalUserPolicyPasswordExpirationReadTask)

public:
    explicit LocalUserPolicyPasswordExpirationReadTask(void *context);

    void run() override;

private:
    void read();
};
