// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperRequest.h"

#include "HelperId.h"
#include "client/bus/InterruptWatch.h"
#include "client/bus/TextAgent.h"
#include "client/output/Terminal.h"
#include "client/output/WaitingLine.h"

#include <KAuth/Action>
#include <KAuth/ActionReply>

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDataStream>
#include <QRandomGenerator>
#include <QUuid>

#include <utility>

namespace
{
// past the others, so that the bus never gives up first
constexpr int busLimit = 400000; // ms
// for the answer to a request that was cancelled, or that came too late
constexpr int farewell = 2000; // ms
// until a busy helper is asked again
constexpr int pause = 20; // ms

QString keyName()
{
    return QStringLiteral("request");
}

/// Up to twice the pause, so that callers who were turned away together don't come back together.
int jitteredPause()
{
    return pause + QRandomGenerator::global()->bounded(pause);
}

/// The call that KAuth's helper side takes: action, caller, details for polkit's prompt, arguments as a data stream.
QDBusMessage performAction(const QString &action, const QVariantMap &arguments)
{
    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    stream << arguments;
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(helperId),
                                                       QStringLiteral("/"),
                                                       QStringLiteral("org.kde.kf5auth"),
                                                       QStringLiteral("performAction"));
    call << action << QDBusConnection::systemBus().baseService().toUtf8() << QVariantMap() << encoded;
    return call;
}
}

HelperRequest::HelperRequest(Kind kind, const QString &action, QVariantMap arguments, bool mayAsk, HelperLimits limits)
    : m_kind(kind)
    , m_name(QLatin1String(helperId) + QLatin1Char('.') + action)
    , m_arguments(std::move(arguments))
    , m_key(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_mayAsk(mayAsk && TextAgent::canAsk())
    , m_limits(limits)
{
    if (kind == Kind::Write) {
        m_arguments.insert(keyName(), m_key);
    }
    m_again.setSingleShot(true);
    m_limit.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &HelperRequest::send);
    connect(&m_limit, &QTimer::timeout, this, &HelperRequest::giveUp);
}

HelperRequest::~HelperRequest() = default;

HelperReply HelperRequest::execute()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        return {{ExitCode::Failed, tr("the system bus cannot be reached")}, {}};
    }
    m_interrupts = std::make_unique<InterruptWatch>([this] {
        cancel();
    });
    m_limit.start(m_limits.answer);
    m_waitingLine = std::make_unique<WaitingLine>(tr("waiting for the helper…"));
    // reading is free as shipped: asking polkit first would only cost time
    if (m_kind == Kind::Write && needsPassword()) {
        openAgent();
    }
    send();
    m_loop.exec();
    m_waitingLine.reset();
    return m_reply;
}

void HelperRequest::send()
{
    const QDBusPendingCall call = QDBusConnection::systemBus().asyncCall(performAction(m_name, m_arguments), busLimit);
    auto *answer = new QDBusPendingCallWatcher(call, this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &HelperRequest::receive);
}

void HelperRequest::receive(QDBusPendingCallWatcher *answer)
{
    answer->deleteLater();
    const QDBusPendingReply<QByteArray> reply = *answer;
    if (reply.isError()) {
        finish(ExitCode::Failed, tr("the helper does not answer\n%1").arg(reply.error().message()));
        return;
    }
    receiveReply(KAuth::ActionReply::deserialize(reply.value()));
}

void HelperRequest::receiveReply(const KAuth::ActionReply &reply)
{
    switch (reply.errorCode()) {
    case KAuth::ActionReply::NoError:
        receiveData(reply.data());
        break;
    case KAuth::ActionReply::HelperBusyError:
        m_interrupts->isInterrupted() ? finish(ExitCode::NotAuthorized, tr("cancelled")) : tryAgain();
        break;
    case KAuth::ActionReply::AuthorizationDeniedError:
    case KAuth::ActionReply::UserCancelledError:
        receiveDenial();
        break;
    default:
        finish(ExitCode::Failed,
               tr("the helper refuses the request (error %1)\n%2")
                   .arg(QString::number(reply.error()), reply.errorDescription()));
    }
}

void HelperRequest::receiveData(const QVariantMap &data)
{
    if (m_kind == Kind::Write && data.value(keyName()) != m_key) {
        tryAgain(); // not the answer to this
        return;
    }
    QVariantMap values = data;
    values.remove(keyName());
    if (!data.value(QStringLiteral("error")).toBool()) {
        finish(ExitCode::Done, QString(), values);
        return;
    }
    const QString message = data.value(QStringLiteral("message")).toString();
    // of debconf, for a pam-auth-update that runs beside apt
    const bool busy = message.contains(QLatin1String("is locked by another process"));
    finish(busy ? ExitCode::Busy : ExitCode::Failed,
           data.value(QStringLiteral("description")).toString() + QLatin1Char('\n') + message,
           values);
    m_reply.taskFailed = true;
}

void HelperRequest::receiveDenial()
{
    // Ctrl-C ends the agent, too, and polkit's answer to that may come first
    if (m_interrupts->isInterrupted()) {
        closeAgent(); // as cancel() would
        finish(ExitCode::NotAuthorized, tr("cancelled"));
        return;
    }
    if (m_promptEnded) {
        finish(ExitCode::NotAuthorized, tr("not authorized: nobody has answered the question for a password in time"));
        return;
    }
    // an administrator has restricted reading
    if (m_kind == Kind::Read && m_mayAsk && !m_agent && needsPassword()) {
        openAgent();
        send();
        return;
    }
    finish(ExitCode::NotAuthorized, tr("not authorized"));
}

/// Ends the prompt, upon which polkit and so the helper answer. What was carried out already is not cancelled any more.
void HelperRequest::cancel()
{
    closeAgent();
    if (m_again.isActive()) {
        finish(ExitCode::NotAuthorized, tr("cancelled")); // nothing is under way
        return;
    }
    m_limit.start(farewell);
}

void HelperRequest::tryAgain()
{
    m_late ? finishBusy() : m_again.start(jitteredPause());
}

void HelperRequest::giveUp()
{
    if (m_interrupts->isInterrupted()) {
        finish(ExitCode::NotAuthorized, tr("cancelled; the helper may still carry it out"));
        m_reply.outcome.mayHappen = true;
        return;
    }
    if (!m_late && !m_again.isActive()) {
        // one more moment for the answer to the last call: a caller that leaves before it can bring the helper to a halt
        m_late = true;
        // without its agent polkit refuses, and the answer tells whether the question was open still
        m_promptEnded = m_agent && !m_agent->isAnswered();
        closeAgent();
        m_limit.start(farewell);
        return;
    }
    m_kind == Kind::Write && !m_again.isActive() ? finishUnanswered() : finishBusy();
}

void HelperRequest::finishBusy()
{
    finish(ExitCode::Busy, tr("the helper is busy; try again later"));
}

void HelperRequest::finishUnanswered()
{
    finish(ExitCode::Busy, tr("the helper has not answered in time; it may still carry the change out"));
    m_reply.outcome.mayHappen = true;
}

bool HelperRequest::needsPassword() const
{
    return m_mayAsk && KAuth::Action(m_name).status() == KAuth::Action::AuthRequiredStatus;
}

void HelperRequest::openAgent()
{
    m_polkit = std::make_unique<QDBusServiceWatcher>(QStringLiteral("org.freedesktop.PolicyKit1"),
                                                     QDBusConnection::systemBus(),
                                                     QDBusServiceWatcher::WatchForUnregistration);
    connect(m_polkit.get(), &QDBusServiceWatcher::serviceUnregistered, this, &HelperRequest::losePolkit);
    m_agent = std::make_unique<TextAgent>([this] {
        goOnAfterPrompt();
    });
    m_limit.start(m_limits.prompt);
    // the prompt has the terminal from now on
    m_waitingLine->giveWay();
}

void HelperRequest::closeAgent()
{
    if (!m_agent) {
        return;
    }
    if (!m_agent->isAnswered()) {
        err().write(QStringLiteral("\n")); // the prompt stands on the line
    }
    m_agent.reset();
}

/// Whatever the answer was, the helper is at work now, on the change or on its refusal.
void HelperRequest::goOnAfterPrompt()
{
    m_limit.start(m_limits.answer);
    m_waitingLine->comeBack();
}

/// The helper waits for polkit's answer for good then, and its own would never come.
void HelperRequest::losePolkit()
{
    if (!m_agent || m_agent->isAnswered()) {
        return;
    }
    // otherwise the session's own agent may have had the answer already
    const bool open = m_agent->isAsking();
    closeAgent();
    finish(ExitCode::NotAuthorized,
           open ? tr("not authorized: polkit has ended before it could decide")
                : tr("polkit has ended; the helper may still carry it out"));
    m_reply.outcome.mayHappen = !open;
}

void HelperRequest::finish(ExitCode code, const QString &error, const QVariantMap &values)
{
    m_again.stop();
    m_limit.stop();
    m_reply = {{code, error}, values};
    m_loop.quit();
}
