// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperRequest.h"

/// How long a read waits for a helper that it can do without.
inline constexpr int readPatience = 3000; // ms

/**
 * Calls an action that reads; again, a few times, if the helper ends under it.
 *
 * @param mayAsk whether a password may be asked for on the terminal
 */
HelperReply askForReading(const HelperCall &call, bool mayAsk, HelperLimits limits = {});

/// The same, but gives the helper up if it isn't at hand within readPatience.
HelperReply askForReadingSoon(const HelperCall &call, bool mayAsk);
