// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/ServiceRequest.h"
#include "policies/faillock/FailureRecords.h"
#include "policies/modules/ModuleWriting.h"

class PolicyAccess;

/**
 * How the client comes to what not everybody may do about the modules: through the service or, which root alone may, in this
 * process.
 */
class ModuleAccess
{
public:
    /// @param access which way; outlives this
    explicit ModuleAccess(PolicyAccess *access);

    /// Writes the policy. In this process Ctrl-C doesn't cut it short, and of those who write so one goes after the other.
    Outcome write(const ModulePolicy &policy, const ModuleWish &wish) const;

    /// The accounts that are locked after failed logins.
    Outcome readLocked(QVector<FailureRecord> *locked) const;

    /// Opens an account that pam_faillock has locked.
    Outcome unlock(const QString &account) const;

private:
    bool ask(const ServiceMethod &method, ServiceReply *reply) const;
    Outcome outcomeHere() const;

    PolicyAccess *m_access;
};
