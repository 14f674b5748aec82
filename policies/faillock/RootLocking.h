// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QVariantMap>

/// Whether failed logins lock root, too, where these values of faillock are in force: either of two settings does that.
bool locksRoot(const QVariantMap &values);
