// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperProbe.h"

#include "client/Translation.h"
#include "client/bus/PerformAction.h"
#include "client/bus/Polkit.h"
#include "client/output/WaitingLine.h"

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QElapsedTimer>

namespace
{
/// A method that it hasn't: it says so from its event loop, as it would take a call. There is none that does nothing.
QDBusPendingCall askHelper(const QDBusConnection &bus, int limit)
{
    return bus.asyncCall(helperMethod(QStringLiteral("isListening")), limit);
}

HelperReply hindrance(const QString &reason)
{
    HelperReply reply;
    reply.outcome = {ExitCode::Failed, reason};
    reply.unavailable = reason;
    return reply;
}
}

HelperReply probeHelper(const HelperCall &call, int limit)
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        return call.answerOf(QDBusError(QDBusError::Disconnected, QString())).reply;
    }
    const WaitingLine line(translate("HelperProbe", "waiting for the helper…"));
    QElapsedTimer clock;
    clock.start();
    QDBusPendingCall helper = askHelper(bus, limit);
    helper.waitForFinished();
    // an answer that doesn't come looks like a helper that ends, but takes all the time; timers may be a twentieth early
    if (helper.error().type() == QDBusError::NoReply && clock.elapsed() >= limit * 9 / 10) {
        return hindrance(translate("HelperProbe", "the helper does not answer"));
    }
    if (helper.error().type() != QDBusError::UnknownMethod) {
        return call.answerOf(helper.error()).reply;
    }
    // not before: an answer that nobody waits for would be left behind
    QDBusPendingCall polkit = askPolkit(bus, call.name(), qMax(1, limit - static_cast<int>(clock.elapsed())));
    polkit.waitForFinished();
    return polkit.isError() ? hindrance(translate("HelperProbe", "polkit does not answer")) : HelperReply();
}
