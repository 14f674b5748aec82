// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/stores/SettingsStore.h"

/**
 * The expiration settings of one account of shadow(5), with the rights of this process, which must be root's.
 */
class AccountStore : public SettingsStore
{
public:
    explicit AccountStore(QString account);

    StoreName name() const override;
    QString phrase() const override;
    const SettingSchema &schema() const override;
    /// Whether the account database has the name: chage(1) would take one like "-l" for an option.
    bool exists() const override;
    Reading read() override;
    Outcome write(const Settings &settings) override;

private:
    QString m_account;
};
