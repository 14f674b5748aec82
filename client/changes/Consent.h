// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

/**
 * Asks the person at the terminal whether to go on. Where there is none, nobody has agreed.
 *
 * @param danger what for, a sentence; nothing is asked for an empty one
 * @return a success if the answer is yes
 */
Outcome askConsent(const QString &danger);
