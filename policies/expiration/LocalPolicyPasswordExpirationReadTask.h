// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/files/SettingsFileReader.h"
#include "tasks/ElementTask.h"

#include <QCoreApplication>

/**
 * Reads the expiration defaults for new accounts from "/etc/login.defs" and "/etc/default/useradd".
 *
 * Values, each there only if its setting is: "maxInterval", "minInterval", "warningInterval", "inactiveInterval"
 * (int, days), "expireDate" (64-bit integer, days since 1970-01-01; only for a valid date).
 *
 * Fails if a file is missing or unreadable; the values of the first file stay if that is the second.
 */
class LocalPolicyPasswordExpirationReadTask : public ReadPropertyHeavyTask
{
    Q_DECLARE_TR_FUNCTIONS(LocalPolicyPasswordExpirationReadTask)

public:
    class LoginReaderRegExpHandler : public SettingsFileReader
    {
    public:
        explicit LoginReaderRegExpHandler(QVariantMap *values);
    };

    class UseraddReaderRegExpHandler : public SettingsFileReader
    {
    public:
        explicit UseraddReaderRegExpHandler(QVariantMap *values);
    };

    explicit LocalPolicyPasswordExpirationReadTask(void *context);

    void run() override;

private:
    void read();
};
