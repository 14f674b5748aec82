// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamOptionReader.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Reads the account lockout policy: the options of pam_tally in "/etc/pam.d/common-auth".
 *
 * Values: the options of lockoutPolicy(), the flags (bool, always there) and the numbers (int, there if the option is).
 *
 * Fails if the file is missing or unreadable. A stack without the module is no failure: nothing is locked then.
 */
class LocalPolicyLockoutReadTask : public ReadPropertyHeavyTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyLockoutReadTask)

public:
    class LoginReaderRegExpHandler : public PamOptionReader
    {
    public:
        explicit LoginReaderRegExpHandler(QVariantMap *values);
    };

    explicit LocalPolicyLockoutReadTask(void *context);

    void run() override;

private:
    void read();
};
