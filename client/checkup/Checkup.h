// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/checkup/Finding.h"

/// Looks at all that helper and service need: their own files, the bus, polkit, PAM, and what earlier failures left behind.
QVector<Finding> checkInstallation();
