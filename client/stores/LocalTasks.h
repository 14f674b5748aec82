// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperCall.h"
#include "client/settings/Setting.h"

/// Has the policy read in this process, by the helper's own task and with the rights of the user; what the helper would answer.
HelperReply readLocally(const QString &policy);

/**
 * Has the policy written in this process, by the helper's own task, as the helper runs it; what the helper would answer.
 *
 * Of those who write so one goes after the other. What is begun is not interrupted by Ctrl-C.
 */
HelperReply writeLocally(const QString &policy, const Settings &settings);
