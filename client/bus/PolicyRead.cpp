// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/PolicyRead.h"

#include "client/bus/HelperProbe.h"
#include "client/bus/RequestWait.h"

#include <QDeadlineTimer>

#include <functional>

namespace
{
constexpr int attempts = 5;

HelperReply repeated(const std::function<HelperReply()> &attempt)
{
    HelperReply reply = attempt();
    for (int count = 1; reply.helperEnded && count < attempts; ++count) {
        reply = attempt();
    }
    return reply;
}

HelperReply askIfAtHand(const HelperCall &call, bool mayAsk, const QDeadlineTimer &patience)
{
    HelperReply probed = probeHelper(call, static_cast<int>(patience.remainingTime()));
    if (!probed.outcome.succeeded()) {
        return probed;
    }
    HelperLimits limits;
    limits.turn = static_cast<int>(patience.remainingTime());
    return ask(call, mayAsk, limits);
}
}

HelperReply askForReading(const HelperCall &call, bool mayAsk, HelperLimits limits)
{
    return repeated([&] {
        return ask(call, mayAsk, limits);
    });
}

HelperReply askForReadingSoon(const HelperCall &call, bool mayAsk)
{
    const QDeadlineTimer patience(readPatience);
    return repeated([&] {
        return askIfAtHand(call, mayAsk, patience);
    });
}
