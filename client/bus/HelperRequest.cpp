// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperRequest.h"

#include "client/bus/TerminalPrompt.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QRandomGenerator>

#include <utility>

namespace
{
constexpr int farewell = 2000; // ms, for the answer to a request that was cancelled, or that came too late
constexpr int pause = 20; // ms, until a busy helper is asked again

/// Up to twice the pause, so that callers who were turned away together don't come back together.
int jitteredPause()
{
    return pause + QRandomGenerator::global()->bounded(pause);
}
}

HelperRequest::HelperRequest(HelperCall call, PasswordPrompt *prompt, HelperLimits limits)
    : m_call(std::move(call)), m_prompt(prompt), m_limits(limits)
{
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &HelperRequest::send);
    connect(&m_limit, &QTimer::timeout, this, &HelperRequest::receiveLimit);
    connect(m_prompt, &PasswordPrompt::answered, this, &HelperRequest::goOnAfterPrompt);
    connect(m_prompt, &PasswordPrompt::cancelled, this, &HelperRequest::cancel);
}

HelperRequest::~HelperRequest() = default;

void HelperRequest::start()
{
    m_limit.start(m_limits.answer);
    m_turn.setRemainingTime(m_limits.turn);
    // reading is free as shipped: asking polkit first would only cost time
    if (m_call.kind() == HelperCall::Kind::Write) {
        openPrompt();
    }
    send();
}

void HelperRequest::send()
{
    m_phase = m_prompt->isOpen() ? Phase::Prompting : Phase::Asked;
    auto *sent = new QDBusPendingCallWatcher(m_call.send(), this);
    connect(sent, &QDBusPendingCallWatcher::finished, this, &HelperRequest::receive);
}

void HelperRequest::receive(QDBusPendingCallWatcher *sent)
{
    sent->deleteLater();
    if (m_phase == Phase::Over) {
        return;
    }
    // Ctrl-C ends the prompt, too, and polkit's answer to that may come first
    if (m_prompt->isCancelled()) {
        cancel();
    }
    const HelperAnswer answer = m_call.answerOf(*sent);
    if (answer.kind == HelperAnswer::Kind::Final) {
        finish(answer.reply);
    } else if (m_phase == Phase::Cancelled) {
        finishWith(ExitCode::NotAuthorized, tr("cancelled"));
    } else if (answer.kind == HelperAnswer::Kind::Busy) {
        receiveBusy();
    } else {
        receiveDenial();
    }
}

void HelperRequest::receiveBusy()
{
    if (m_phase == Phase::Late || m_phase == Phase::Unanswered || m_turn.hasExpired()) {
        finishBusy();
        return;
    }
    m_phase = Phase::Waiting;
    m_again.start(jitteredPause());
}

void HelperRequest::receiveDenial()
{
    if (m_phase == Phase::Unanswered) {
        finishWith(ExitCode::NotAuthorized,
                   tr("not authorized: nobody has answered the question for a password in time"));
    } else if (m_phase == Phase::Asked && m_call.kind() == HelperCall::Kind::Read && !m_polkit && openPrompt()) {
        send(); // an administrator has restricted reading
    } else if (!m_polkit && m_prompt->lacksTerminal(m_call.name())) {
        finishWith(ExitCode::NotAuthorized, TerminalPrompt::missingTerminalText());
    } else {
        finishWith(ExitCode::NotAuthorized, tr("not authorized"));
    }
}

void HelperRequest::receiveLimit()
{
    switch (m_phase) {
    case Phase::Waiting:
        finishBusy();
        break;
    case Phase::Asked:
        awaitLastAnswer(Phase::Late);
        break;
    case Phase::Prompting:
        awaitLastAnswer(m_prompt->isOpen() ? Phase::Unanswered : Phase::Late);
        break;
    case Phase::Late:
    case Phase::Unanswered:
        if (m_call.kind() == HelperCall::Kind::Read) {
            finishBusy();
        } else {
            finishWith(
                ExitCode::Busy, tr("the helper has not answered in time; it may still carry the change out"), true);
        }
        break;
    case Phase::Cancelled:
        finishWith(ExitCode::NotAuthorized, tr("cancelled; the helper may still carry it out"), true);
        break;
    case Phase::Over:
        break;
    }
}

void HelperRequest::cancel()
{
    if (m_phase == Phase::Waiting) {
        m_prompt->close();
        finishWith(ExitCode::NotAuthorized, tr("cancelled"));
    } else if (m_phase != Phase::Cancelled && m_phase != Phase::Over) {
        awaitLastAnswer(Phase::Cancelled);
    }
}

/// Ends the prompt, upon which polkit and so the helper answer. A change that was begun is carried out all the same.
void HelperRequest::awaitLastAnswer(Phase phase)
{
    m_phase = phase;
    m_prompt->close();
    m_limit.start(farewell);
}

bool HelperRequest::openPrompt()
{
    if (!m_prompt->open(m_call.name())) {
        return false;
    }
    m_polkit = std::make_unique<QDBusServiceWatcher>(QStringLiteral("org.freedesktop.PolicyKit1"),
                                                     QDBusConnection::systemBus(),
                                                     QDBusServiceWatcher::WatchForUnregistration);
    connect(m_polkit.get(), &QDBusServiceWatcher::serviceUnregistered, this, &HelperRequest::losePolkit);
    m_limit.start(m_limits.prompt);
    return true;
}

void HelperRequest::goOnAfterPrompt()
{
    if (m_phase == Phase::Prompting) {
        m_phase = Phase::Asked;
        m_limit.start(m_limits.answer);
    }
}

/// The helper waits for polkit's answer for good then, and its own would never come.
void HelperRequest::losePolkit()
{
    if (m_phase != Phase::Prompting || !m_prompt->isOpen()) {
        return;
    }
    // otherwise the session's own agent may have had the answer already
    const bool asking = m_prompt->isAsking();
    m_prompt->close();
    finishWith(ExitCode::NotAuthorized,
               asking ? tr("not authorized: polkit has ended before it could decide")
                      : tr("polkit has ended; the helper may still carry it out"),
               !asking);
}

void HelperRequest::finish(const HelperReply &reply)
{
    m_phase = Phase::Over;
    m_again.stop();
    m_limit.stop();
    Q_EMIT finished(reply);
}

void HelperRequest::finishBusy()
{
    HelperReply reply;
    reply.outcome = {ExitCode::Busy, tr("the helper is busy; try again later")};
    reply.unavailable = tr("the helper is busy");
    finish(reply);
}

void HelperRequest::finishWith(ExitCode code, const QString &error, bool mayHappen)
{
    HelperReply reply;
    reply.outcome = {code, error, mayHappen};
    finish(reply);
}
