// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"
#include "policies/modules/ModuleWriting.h"

#include <optional>

/// The policy of a PAM module: read in this process, which everybody may, and written by way of ModuleAccess.
class ModuleStore : public SettingsStore
{
public:
    /**
     * @param policy   outlives the store
     * @param mayForce whether stacks may be made anew that were edited by hand
     */
    explicit ModuleStore(const Policy &policy, bool mayForce = false);

    StoreName name() const override;
    QString phrase() const override;
    const SettingSchema &schema() const override;
    Reading read() override;
    Outcome write(const Settings &settings) override;
    InForce inForce(const Settings &read) const override;
    QString obstacle() const override;
    Preview preview(const Settings &settings) const override;
    QString danger(const Settings &before, const Settings &wanted) const override;
    bool keepsOthersChanges() const override;

private:
    ModuleWish wishFor(const Settings &settings) const;
    Outcome told(Outcome outcome) const;

    const Policy &m_policy;
    const ModulePolicy &m_module;
    bool m_mayForce;
    /// What there was at the last read that succeeded: a write changes the difference to it, and nothing else.
    std::optional<Settings> m_read;
};
