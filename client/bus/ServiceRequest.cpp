// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/ServiceRequest.h"

#include "client/Translation.h"
#include "client/bus/TerminalPrompt.h"
#include "service/Answer.h"
#include "service/ServiceNames.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>

namespace
{
// a write waits for others, half a minute each at most, and for its tool
constexpr int answerLimit = 100000; // ms
// the service itself gives a question up after five minutes
constexpr int promptLimit = 310000; // ms
constexpr int farewellLimit = 2000; // ms, for the answer to what was cancelled
// past all of these, so that the bus never gives up first
constexpr int callLimit = 400000; // ms

QDBusMessage callOf(const ServiceMethod &method)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(serviceName), QLatin1String(servicePath), QLatin1String(serviceName), method.name);
    call.setArguments(method.arguments);
    return call;
}

HelperAbsence serviceAbsenceBy(QDBusError::ErrorType error)
{
    switch (error) {
    case QDBusError::Disconnected:
        return isBusMissing() ? HelperAbsence::NoBus : HelperAbsence::None;
    case QDBusError::ServiceUnknown: // nobody has told the bus how to start it
        return HelperAbsence::NotInstalled;
    default:
        return HelperAbsence::None;
    }
}

/// What an error of the service's own comes to.
Outcome outcomeOfError(const QString &name, const QString &text)
{
    if (name == QLatin1String(notAuthorizedError) || name == QLatin1String(interactionError)) {
        return {ExitCode::NotAuthorized, translate("ServiceRequest", "not authorized")};
    }
    if (name == QLatin1String(authorizationFailedError)) {
        return {ExitCode::NotAuthorized,
                translate("ServiceRequest", "not authorized: polkit has not decided about it")};
    }
    if (name == QLatin1String(rootOnlyError)) {
        return {ExitCode::NotAuthorized, translate("ServiceRequest", "%1; try sudo").arg(text)};
    }
    if (name == QLatin1String(tooManyRequestsError)) {
        return {ExitCode::Busy, translate("ServiceRequest", "the service is busy; try again later")};
    }
    if (name == QLatin1String(busyError)) {
        return {ExitCode::Busy, text};
    }
    const bool isOfWork = name == QLatin1String(failedError) || name == QLatin1String(rolledBackError)
        || name == QLatin1String(stacksEditedError);
    return {ExitCode::Failed,
            isOfWork ? text : translate("ServiceRequest", "the service refuses the request\n%1").arg(text)};
}

/// What an error of the bus, or of who else has the service's name, comes to.
Outcome outcomeOfSilence(const QDBusError &error)
{
    if (error.type() == QDBusError::Disconnected) {
        return {ExitCode::Failed, translate("ServiceRequest", "the system bus cannot be reached")};
    }
    return {ExitCode::Failed,
            translate("ServiceRequest", "the service does not answer\n%1").arg(error.message()),
            error.type() == QDBusError::NoReply};
}

ServiceReply replyOf(const QDBusPendingCall &call)
{
    ServiceReply reply;
    if (!call.isError()) {
        reply.values = call.reply().arguments();
        return reply;
    }
    const QDBusError error = call.error();
    const QString own = QLatin1String(serviceName) + QLatin1String(".Error.");
    if (error.name().startsWith(own)) {
        reply.error = error.name().mid(own.size());
        reply.outcome = outcomeOfError(reply.error, error.message());
    } else {
        reply.outcome = outcomeOfSilence(error);
        reply.absence = serviceAbsenceBy(error.type());
    }
    return reply;
}
}

ServiceRequest::ServiceRequest(const ServiceMethod &method, bool mayAsk, TerminalPrompt *prompt)
    : m_call(callOf(method)), m_mayAsk(mayAsk), m_prompt(prompt)
{
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, &ServiceRequest::receiveLimit);
    connect(m_prompt, &TerminalPrompt::answered, this, &ServiceRequest::goOnAfterPrompt);
    connect(m_prompt, &TerminalPrompt::cancelled, this, &ServiceRequest::cancel);
}

void ServiceRequest::start()
{
    m_limit.start(answerLimit);
    send(Phase::Asked);
}

void ServiceRequest::send(Phase phase)
{
    m_phase = phase;
    m_call.setInteractiveAuthorizationAllowed(phase == Phase::Prompting);
    const QDBusConnection bus = QDBusConnection::systemBus();
    // a call on none would never end
    const QDBusPendingCall sent = bus.isConnected()
        ? bus.asyncCall(m_call, callLimit)
        : QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, QString()));
    auto *watcher = new QDBusPendingCallWatcher(sent, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &ServiceRequest::receive);
}

void ServiceRequest::receive(QDBusPendingCallWatcher *sent)
{
    sent->deleteLater();
    if (m_phase == Phase::Over) {
        return;
    }
    // Ctrl-C ends the prompt, too, and polkit's answer to that may come first
    if (m_prompt->isCancelled()) {
        cancel();
    }
    const ServiceReply reply = replyOf(*sent);
    if (m_phase == Phase::Cancelled && reply.outcome.code == ExitCode::NotAuthorized) {
        finishWith(ExitCode::NotAuthorized, tr("cancelled"));
    } else if (reply.error == QLatin1String(interactionError) && m_mayAsk) {
        m_prompt->openAtOnce(); // where that won't ask, another agent of the session's may
        m_limit.start(promptLimit);
        send(Phase::Prompting);
    } else if (m_phase == Phase::Prompting && reply.error == QLatin1String(notAuthorizedError)
               && m_prompt->lacksTerminal()) {
        finishWith(ExitCode::NotAuthorized, TerminalPrompt::missingTerminalText());
    } else {
        finish(reply);
    }
}

void ServiceRequest::receiveLimit()
{
    if (m_phase == Phase::Cancelled) {
        finishWith(ExitCode::NotAuthorized, tr("cancelled; the service may still carry it out"), true);
    } else {
        finishWith(ExitCode::Busy, tr("the service has not answered in time; it may still carry it out"), true);
    }
}

void ServiceRequest::goOnAfterPrompt()
{
    if (m_phase == Phase::Prompting) {
        m_limit.start(answerLimit);
    }
}

/// Ends the prompt, upon which polkit and so the service answer. What was begun is carried out all the same.
void ServiceRequest::cancel()
{
    if (m_phase != Phase::Cancelled && m_phase != Phase::Over) {
        m_phase = Phase::Cancelled;
        m_prompt->close();
        m_limit.start(farewellLimit);
    }
}

void ServiceRequest::finishWith(ExitCode code, const QString &error, bool mayHappen)
{
    ServiceReply reply;
    reply.outcome = {code, error, mayHappen};
    finish(reply);
}

void ServiceRequest::finish(const ServiceReply &reply)
{
    m_phase = Phase::Over;
    m_limit.stop();
    Q_EMIT finished(reply);
}

ServiceReply askService(const ServiceMethod &method, bool mayAsk)
{
    TerminalPrompt prompt(mayAsk, translate("ServiceRequest", "waiting for the service…"));
    ServiceRequest request(method, mayAsk, &prompt);
    ServiceReply reply;
    QEventLoop loop;
    QObject::connect(&request, &ServiceRequest::finished, &loop, [&reply, &loop](const ServiceReply &came) {
        reply = came;
        loop.quit();
    });
    request.start();
    loop.exec();
    return reply;
}
