// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/Stores.h"

#include "client/settings/Policies.h"
#include "client/stores/AccountStore.h"
#include "client/stores/ModuleStore.h"
#include "client/stores/PolicyAccess.h"
#include "client/stores/PolicyStore.h"

std::unique_ptr<SettingsStore> makeStore(const StoreName &name, PolicyAccess *access)
{
    if (name.kind == StoreName::Kind::Account) {
        return std::make_unique<AccountStore>(name.name);
    }
    const Policy *policy = findPolicy(name.name);
    if (policy && policy->isOfModule()) {
        return std::make_unique<ModuleStore>(*policy, access);
    }
    return policy ? std::make_unique<PolicyStore>(*policy, access) : nullptr;
}

const SettingSchema *schemaOf(const StoreName &name)
{
    if (name.kind == StoreName::Kind::Account) {
        return &accountSchema();
    }
    const Policy *policy = findPolicy(name.name);
    return policy ? &policy->schema : nullptr;
}
