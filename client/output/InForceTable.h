// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

/// What a policy comes to, for people: a line for each setting, with its value and where that comes from; then what
/// else binds, and what keeps it from being in force.
QString inForceTable(const SettingSchema &schema, const InForce &inForce);

/// The value of a setting with units, or that there can be none.
QString inForceWords(const Setting &setting, const InForce &inForce);

/// The value of something that can't be set; "not set" for an empty text.
QString bindingText(const BindingSetting &setting);
