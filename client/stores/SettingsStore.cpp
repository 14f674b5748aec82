// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/SettingsStore.h"

SettingsStore::~SettingsStore() = default;

bool SettingsStore::exists() const
{
    return true;
}

QString SettingsStore::reasonNotInForce() const
{
    return {};
}
