// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/Command.h"
#include "policies/pam/PamOptionRewriter.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

struct PamPolicy;

/**
 * Writes the password complexity policy into the profiles "/usr/share/pam-configs/cracklib" and
 * "/usr/share/pam-configs/pwquality", whichever exist, puts the profiles in force and corrects "minlen" in
 * "/etc/pam.d/common-password".
 *
 * Arguments: the options of complexityPolicy(), the flags (bool) and the numbers (int); an option whose argument is
 * absent is removed.
 *
 * Fails if there is no profile, if one can't be rewritten, if none so far names a module, or if pam-auth-update(8)
 * fails; what was written until then stays.
 */
class LocalPolicyPasswordComplexityUpdateTask : public UpdateTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyPasswordComplexityUpdateTask)

public:
    class LoginRewriterRegExpHandler : public PamOptionRewriter
    {
    public:
        explicit LoginRewriterRegExpHandler(const QVariantMap *arguments);
    };

    LocalPolicyPasswordComplexityUpdateTask(void *context, QVariantMap *values);

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
