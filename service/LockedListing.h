// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Answer.h"

struct FailureListing;

/**
 * The locked accounts of the listing, for ListLocked.
 *
 * A record that can't be read hides none of the others: it is an error where nothing else is locked, so that nobody takes
 * an empty list for all that there is.
 */
Answer lockedAnswer(const FailureListing &listing);
