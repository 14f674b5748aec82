// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperCall.h"

#include "HelperId.h"
#include "client/bus/ActionAnswer.h"
#include "client/bus/PerformAction.h"

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QUuid>

#include <utility>

namespace
{
// past the limits of requests, so that the bus never gives up first
constexpr int busLimit = 400000; // ms

QString keyName()
{
    return QStringLiteral("request");
}

/**
 * Whether a tool was refused debconf's database, which apt has.
 *
 * By debconf's words, which it doesn't translate: its exit status is the same for all its errors, and its lock would tell
 * of now, not of then.
 */
bool tellsOfLock(const QString &message)
{
    return message.contains(QLatin1String("is locked by another process"));
}

HelperAnswer failure(const QString &error, const QString &unavailable = QString())
{
    HelperReply reply;
    reply.outcome = {ExitCode::Failed, error};
    reply.unavailable = unavailable;
    return {HelperAnswer::Kind::Final, reply};
}
}

Outcome failedTask(const QString &title, const QString &message)
{
    return {tellsOfLock(message) ? ExitCode::Busy : ExitCode::Failed, title + QLatin1Char('\n') + message};
}

HelperCall::HelperCall(Kind kind, const QString &action, QVariantMap arguments)
    : m_kind(kind)
    , m_name(QLatin1String(helperId) + QLatin1Char('.') + action)
    , m_arguments(std::move(arguments))
    , m_key(QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    if (kind == Kind::Write) {
        m_arguments.insert(keyName(), m_key);
    }
}

HelperCall::Kind HelperCall::kind() const
{
    return m_kind;
}

QString HelperCall::name() const
{
    return m_name;
}

QDBusPendingCall HelperCall::send() const
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        // a call on it would never end
        return QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, QString()));
    }
    return bus.asyncCall(performAction(m_name, bus.baseService(), encodedArguments(m_arguments)), busLimit);
}

HelperAnswer HelperCall::answerOf(const QDBusPendingCall &call) const
{
    const QDBusPendingReply<QByteArray> reply = call;
    if (reply.isError()) {
        return answerOf(reply.error());
    }
    const std::optional<ActionAnswer> answer = ActionAnswer::fromBytes(reply.value());
    return answer ? answerOf(*answer) : failure(tr("the helper's answer cannot be understood"));
}

HelperAnswer HelperCall::answerOf(const QDBusError &error) const
{
    HelperAnswer answer = failureBy(error);
    answer.reply.absence = absenceBy(error);
    return answer;
}

HelperAnswer HelperCall::failureBy(const QDBusError &error)
{
    if (error.type() == QDBusError::Disconnected) {
        const QString noBus = tr("the system bus cannot be reached");
        return failure(noBus, noBus);
    }
    const QString told = tr("the helper does not answer\n%1").arg(error.message());
    switch (error.type()) {
    case QDBusError::AccessDenied: // the bus has been told so
    case QDBusError::UnknownMethod: // somebody else has the helper's name
    case QDBusError::UnknownObject:
    case QDBusError::UnknownInterface:
        return failure(told);
    case QDBusError::NoReply: {
        HelperAnswer answer = failure(told, tr("the helper ends before it answers"));
        answer.reply.helperEnded = true;
        return answer;
    }
    default:
        return failure(told, tr("the helper cannot be started"));
    }
}

HelperAnswer HelperCall::answerOf(const ActionAnswer &answer) const
{
    switch (answer.error) {
    case ActionAnswer::NoError:
        return answerOf(answer.data);
    case ActionAnswer::HelperBusy:
        return {HelperAnswer::Kind::Busy, {}};
    case ActionAnswer::AuthorizationDenied:
    case ActionAnswer::UserCancelled:
        return {HelperAnswer::Kind::Denied, {}};
    default:
        return failure(
            tr("the helper refuses the request (error %1)\n%2").arg(QString::number(answer.error), answer.description));
    }
}

HelperAnswer HelperCall::answerOf(const QVariantMap &data) const
{
    if (m_kind == Kind::Write && data.value(keyName()) != m_key) {
        return {HelperAnswer::Kind::Busy, {}}; // not the answer to this
    }
    HelperReply reply;
    reply.values = data;
    reply.values.remove(keyName());
    reply.taskFailed = data.value(QStringLiteral("error")).toBool();
    if (reply.taskFailed) {
        reply.outcome = failedTask(data.value(QStringLiteral("description")).toString(),
                                   data.value(QStringLiteral("message")).toString());
    }
    return {HelperAnswer::Kind::Final, reply};
}
