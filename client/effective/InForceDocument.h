// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/effective/InForce.h"

#include <QJsonObject>

/// What a policy comes to, as a member of a document; docs/accountpolicies.schema.json.in describes it.
QJsonObject inForceToJson(const SettingSchema &schema, const InForce &inForce);
