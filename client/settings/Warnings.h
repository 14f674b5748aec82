// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

#include <QStringList>

/**
 * What a change would bring about that is allowed, but hardly meant; what was so before the change is not told.
 *
 * @param today days since 1970-01-01
 * @return one line each
 */
QStringList warningTexts(const SettingSchema &schema, const Settings &before, const Settings &wanted, qlonglong today);
