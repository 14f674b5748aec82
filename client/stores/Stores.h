// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/stores/SettingsStore.h"

#include <memory>

class PolicyAccess;

/**
 * The store of that name.
 *
 * @param access how policies are come to; outlives the store
 * @return null if there is no such policy
 */
std::unique_ptr<SettingsStore> makeStore(const StoreName &name, PolicyAccess *access);

/// The schema of the store of that name; null if there is no such policy.
const SettingSchema *schemaOf(const StoreName &name);
