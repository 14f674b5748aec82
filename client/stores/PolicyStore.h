// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperRequest.h"
#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"

/// A policy of the machine, through the helper.
class PolicyStore : public SettingsStore
{
public:
    /**
     * @param policy outlives the store
     * @param mayAsk whether a password may be asked for on the terminal
     * @param limits how long to wait for the helper
     */
    PolicyStore(const Policy &policy, bool mayAsk, HelperLimits limits = {});

    StoreName name() const override;
    QString phrase() const override;
    const SettingSchema &schema() const override;
    Reading read() override;
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
    Reading readingOf(const HelperReply &reply) const;

    const Policy &m_policy;
    bool m_mayAsk;
    HelperLimits m_limits;
};
