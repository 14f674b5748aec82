// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperRequest.h"

#include "HelperId.h"
#include "client/bus/InterruptWatch.h"
#include "client/bus/TextAgent.h"
#include "client/output/Terminal.h"
#include "client/output/WaitingLine.h"

#include <KAuth/ActionReply>
#include <KAuth/ExecuteJob>

#include <QDBusConnection>
#include <QRandomGenerator>
#include <QUuid>

namespace
{
// the helper waits for a tool for two limits of 30 s
constexpr int limit = 70000; // ms
// a person types a password
constexpr int limitWithPrompt = 300000; // ms
// past the others, so that KAuth never gives up first
constexpr int kauthLimit = 400000; // ms

// no person is asked for a password and denied within this time
constexpr int quickestPerson = 1000; // ms

// after another caller's reply: the helper is free again, or will be in a moment
constexpr int shortPause = 5; // ms
// the earlier request was probably turned away
constexpr int longPause = 400; // ms

QString keyName()
{
    return QStringLiteral("request");
}

/// Up to twice the pause, so that callers who were turned away together don't come back together.
int jittered(int pause)
{
    return pause + QRandomGenerator::global()->bounded(pause);
}
}

HelperRequest::HelperRequest(Kind kind, const QString &action, const QVariantMap &arguments, bool mayAsk)
    : m_kind(kind)
    , m_name(QLatin1String(helperId) + QLatin1Char('.') + action)
    , m_arguments(arguments)
    , m_key(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_mayAsk(mayAsk && TextAgent::canAsk())
{
    if (kind == Kind::Write) {
        m_arguments.insert(keyName(), m_key);
    }
    m_again.setSingleShot(true);
    m_limit.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &HelperRequest::send);
    connect(&m_limit, &QTimer::timeout, this, [this] {
        finish(ExitCode::Busy, tr("the helper is busy; try again later"));
    });
}

HelperRequest::~HelperRequest() = default;

HelperReply HelperRequest::execute()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        // KAuth doesn't survive this
        return {{ExitCode::Failed, tr("the system bus cannot be reached")}, {}};
    }
    m_action.setName(m_name);
    m_action.setHelperId(QLatin1String(helperId));
    m_action.setArguments(m_arguments);
    m_action.setTimeout(kauthLimit);
    const InterruptWatch watch([this] {
        if (m_agent) {
            err().write(QStringLiteral("\n")); // the prompt stands on the line
        }
        finish(ExitCode::NotAuthorized, tr("cancelled"));
    });
    m_limit.start(limit);
    m_waitingLine = std::make_unique<WaitingLine>(tr("waiting for the helper…"));
    if (m_kind == Kind::Write && m_action.status() == KAuth::Action::AuthRequiredStatus) {
        openAgent();
    }
    m_age.start();
    send();
    m_loop.exec();
    m_waitingLine.reset();
    m_agent.reset();
    return m_reply;
}

void HelperRequest::send()
{
    KAuth::ExecuteJob *job = m_action.execute();
    job->setParent(this);
    connect(job, &KJob::result, this, [this, job] {
        receive(job);
    });
    m_again.start(jittered(longPause));
    job->start();
}

void HelperRequest::sendSoon()
{
    m_again.start(jittered(shortPause));
}

void HelperRequest::receive(KAuth::ExecuteJob *job)
{
    if (!m_limit.isActive()) {
        return; // answered already: this is what became of the same request, sent earlier or later
    }
    switch (job->error()) {
    case KJob::NoError:
        receiveData(job->data());
        break;
    case KAuth::ActionReply::HelperBusyError:
        break; // the timer sends again
    case KAuth::ActionReply::AuthorizationDeniedError:
    case KAuth::ActionReply::UserCancelledError:
        receiveDenial();
        break;
    case KAuth::ActionReply::DBusError:
        finish(ExitCode::Failed, tr("the helper does not answer\n%1").arg(job->errorText()));
        break;
    default:
        finish(ExitCode::Failed,
               tr("KAuth refuses the request (error %1)\n%2").arg(job->error()).arg(job->errorText()));
    }
}

void HelperRequest::receiveData(const QVariantMap &data)
{
    if (m_kind == Kind::Write && data.value(keyName()) != m_key) {
        sendSoon();
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
}

void HelperRequest::receiveDenial()
{
    switch (m_action.status()) {
    case KAuth::Action::AuthorizedStatus:
        sendSoon(); // another caller was denied
        return;
    case KAuth::Action::AuthRequiredStatus:
        if (m_agent && m_age.elapsed() < quickestPerson) {
            sendSoon(); // as above: nobody has typed a password yet
            return;
        }
        if (!m_agent && m_kind == Kind::Read && openAgent()) {
            sendSoon(); // an administrator restricted reading, which is free as shipped
            return;
        }
        break;
    default:
        break;
    }
    finish(ExitCode::NotAuthorized, tr("not authorized"));
}

bool HelperRequest::openAgent()
{
    if (!m_mayAsk) {
        return false;
    }
    m_agent = std::make_unique<TextAgent>();
    m_limit.start(limitWithPrompt);
    // the prompt has the terminal from now on
    m_waitingLine->giveWay();
    return true;
}

void HelperRequest::finish(ExitCode code, const QString &error, const QVariantMap &values)
{
    m_again.stop();
    m_limit.stop();
    m_reply = {{code, error}, values};
    m_loop.quit();
}
