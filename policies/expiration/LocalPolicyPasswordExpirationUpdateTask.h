// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/files/SettingsFileRewriter.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Writes the expiration defaults for new accounts into "/etc/login.defs" and "/etc/default/useradd", keeping a
 * backup of each ("<path>.bak").
 *
 * Arguments, in the units of LocalPolicyPasswordExpirationReadTask; a setting whose argument is absent is removed:
 * "maxInterval", "minInterval", "warningInterval" (int), "inactiveInterval", "expireDate" (64-bit integer).
 *
 * Fails if a file can't be rewritten; if that is the second, the first keeps its new content. A success always has
 * the notice that existing accounts aren't changed.
 */
class LocalPolicyPasswordExpirationUpdateTask : public UpdateTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyPasswordExpirationUpdateTask)

public:
    class LoginRewriterRegExpHandler : public SettingsFileRewriter
    {
    public:
        explicit LoginRewriterRegExpHandler(const QVariantMap *arguments);
    };

    class UseraddRewriterRegExpHandler : public SettingsFileRewriter
    {
    public:
        explicit UseraddRewriterRegExpHandler(const QVariantMap *arguments);
    };

    LocalPolicyPasswordExpirationUpdateTask(void *context, QVariantMap *values);

    void run() override;

    /// Makes of the copies below a folder, each by its path, what run() makes of the files themselves.
    void runBelow(const QString &root);

private:
    void update(const QString &root);
};
