// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperRequest.h"

/// Starts the request and waits for its reply, in an event loop of its own.
HelperReply waitFor(HelperRequest *request);

/// The same for a call by the person at the terminal.
/// @param mayAsk whether a password may be asked for there
HelperReply ask(HelperCall call, bool mayAsk, HelperLimits limits = {});
