// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamOptionReader.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Reads the password complexity policy: the options of pam_cracklib and pam_pwquality in
 * "/etc/pam.d/common-password". Lines of both modules count alike, in file order.
 *
 * Values: the options of complexityPolicy(), the flags (bool, always there) and the numbers (int, there if the option
 * is).
 *
 * Fails if the file is missing or unreadable, or names neither module.
 */
class LocalPolicyPasswordComplexityReadTask : public ReadPropertyHeavyTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyPasswordComplexityReadTask)

public:
    class LoginReaderRegExpHandler : public PamOptionReader
    {
    public:
        explicit LoginReaderRegExpHandler(QVariantMap *values);
    };

    explicit LocalPolicyPasswordComplexityReadTask(void *context);

    void run() override;

private:
    void read();
};
