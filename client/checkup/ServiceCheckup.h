// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/checkup/Finding.h"

/// Looks at what the service for the policies of PAM's modules needs, and whether it answers.
QVector<Finding> checkService();
