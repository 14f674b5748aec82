// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperRequest.h"
#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"

class PolicyAccess;

/// A policy of the machine, through the helper or in this process.
class PolicyStore : public SettingsStore
{
public:
    /**
     * @param policy outlives the store
     * @param access how it is come to; outlives the store
     * @param limits how long to wait for the helper
     */
    PolicyStore(const Policy &policy, PolicyAccess *access, HelperLimits limits = {});

    StoreName name() const override;
    QString phrase() const override;
    const SettingSchema &schema() const override;
    Reading read() override;
    bool mayBeWritable() const override;
    /// Reads, but gives the helper up if it isn't at hand.
    /// @param hindrance receives why, as part of a sentence; empty if it was asked
    Reading readSoon(QString *hindrance) const;
    /// Reads in this process: by the helper's own task, with the rights of the user.
    Reading readHere() const;
    Outcome write(const Settings &settings) override;
    InForce inForce(const Settings &read) const override;
    QString obstacle() const override;
    Preview preview(const Settings &settings) const override;
    QString reasonNotInForce() const override;

private:
    HelperCall readCall() const;
    HelperReply send(const Settings &settings) const;
    Reading readingOf(const HelperReply &reply) const;

    const Policy &m_policy;
    PolicyAccess *m_access;
    HelperLimits m_limits;
};
