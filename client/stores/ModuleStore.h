// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"
#include "policies/modules/ModuleWriting.h"

#include <optional>

class PolicyAccess;

/// The policy of a PAM module: read in this process, which everybody may, and written by way of ModuleAccess.
class ModuleStore : public SettingsStore
{
public:
    /**
     * @param policy outlives the store
     * @param access how it is come to for a write; outlives the store
     */
    ModuleStore(const Policy &policy, PolicyAccess *access);

    StoreName name() const override;
    QString phrase() const override;
    const SettingSchema &schema() const override;
    Reading read() override;
    bool mayBeWritable() const override;
    Outcome write(const Settings &settings) override;
    InForce inForce(const Settings &read) const override;
    QString obstacle() const override;
    Preview preview(const Settings &settings) const override;
    QString danger(const Settings &before, const Settings &wanted) const override;
    bool keepsSettingsWhenOff() const override;
    bool keepsOthersChanges() const override;

private:
    ModuleWish wishFor(const Settings &settings) const;
    Outcome told(Outcome outcome) const;

    const Policy &m_policy;
    const ModulePolicy &m_module;
    PolicyAccess *m_access;
    /// What there was at the last read that succeeded: a write changes the difference to it, and nothing else.
    std::optional<Settings> m_read;
};
