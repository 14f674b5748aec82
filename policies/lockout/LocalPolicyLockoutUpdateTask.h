// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/pam/PamOptionRewriter.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

struct PamPolicy;

/**
 * Writes the account lockout policy into the profile "/usr/share/pam-configs/tally", puts the profiles in force and
 * corrects "deny" in "/etc/pam.d/common-auth".
 *
 * Arguments: the options of lockoutPolicy(), the flags (bool) and the numbers (int); an option whose argument is absent
 * is removed.
 *
 * Fails if the profile can't be rewritten or doesn't name the module, or if pam-auth-update(8) fails; what was
 * written until then stays.
 */
class LocalPolicyLockoutUpdateTask : public UpdateTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyLockoutUpdateTask)

public:
    class LoginRewriterRegExpHandler : public PamOptionRewriter
    {
    public:
        explicit LoginRewriterRegExpHandler(const QVariantMap *arguments);
    };

    LocalPolicyLockoutUpdateTask(void *context, QVariantMap *values);

    void run() override;

    /**
     * Makes below a folder, in copies of the files, what run() makes of the files themselves.
     *
     * @param root where the copies are, each below it by its path
     * @param tool the run of pam-auth-update(8) that puts the profiles there in force
     */
    void runBelow(const QString &root, const Command &tool);

private:
    void update(const PamPolicy &policy, const Command &tool);
};
