// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/Stores.h"

#include "client/settings/Policies.h"
#include "client/stores/AccountStore.h"
#include "client/stores/PolicyStore.h"

namespace
{
QString accountPrefix()
{
    return QStringLiteral("user ");
}
}

std::unique_ptr<SettingsStore> makeStore(const QString &name, bool mayAsk)
{
    if (name.startsWith(accountPrefix())) {
        return std::make_unique<AccountStore>(name.mid(accountPrefix().size()));
    }
    const Policy *policy = findPolicy(name);
    return policy ? std::make_unique<PolicyStore>(*policy, mayAsk) : nullptr;
}

const SettingSchema *schemaOfStore(const QString &name)
{
    if (name.startsWith(accountPrefix())) {
        return &accountSchema();
    }
    const Policy *policy = findPolicy(name);
    return policy ? &policy->schema : nullptr;
}
