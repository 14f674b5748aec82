// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "policies/pam/PamPolicy.h"

/// A policy of names that no real one has, so that nothing but the table can bring them in.
PamPolicy samplePolicy(const QString &stack = QStringLiteral("/etc/pam.d/sample-stack"));
