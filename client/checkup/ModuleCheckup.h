// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/checkup/Finding.h"

/// Looks at the policies of PAM's modules: whether they can come into force, and whether what they have does.
QVector<Finding> checkModules();
