// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/LockedListing.h"

#include "policies/faillock/FailureRecords.h"
#include "service/BusTypes.h"

Answer lockedAnswer(const FailureListing &listing)
{
    LockedAccounts locked;
    for (const FailureRecord &record : listing.accounts) {
        if (record.isLocked) {
            locked += LockedAccount{record.account,
                                    record.failures,
                                    record.first.toSecsSinceEpoch(),
                                    record.last.toSecsSinceEpoch(),
                                    record.source,
                                    record.until ? record.until->toSecsSinceEpoch() : 0};
        }
    }
    return listing.error.isEmpty() || !locked.isEmpty() ? Answer::of(QVariant::fromValue(locked))
                                                        : Answer::failure(failedError, listing.error);
}
