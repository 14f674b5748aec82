// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperCall.h"

/**
 * Looks whether the helper listens and polkit decides about the call, by questions that may be left without an answer.
 *
 * A call may not be left: if its caller is gone when the helper asks polkit about it, or if polkit doesn't know its action,
 * the helper waits for good.
 *
 * @param limit how long to wait, in ms
 * @return what hinders the call; nothing if it may be sent
 */
HelperReply probeHelper(const HelperCall &call, int limit);
