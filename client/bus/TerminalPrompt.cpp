// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/TerminalPrompt.h"

#include "client/bus/Polkit.h"
#include "client/bus/TextAgent.h"
#include "client/output/Terminal.h"

namespace
{
void leaveLine()
{
    err().write(QStringLiteral("\n"));
}
}

TerminalPrompt::TerminalPrompt(bool mayAsk, const QString &waiting)
    : m_mayAsk(mayAsk)
    , m_canAsk(TextAgent::canAsk())
    , m_interrupts([this] {
        Q_EMIT cancelled();
    })
    , m_waitingLine(waiting)
{
}

TerminalPrompt::~TerminalPrompt()
{
    m_waitingLine.giveWay();
    if (m_agent && m_agent->isCutShort()) {
        leaveLine();
    }
    // Ctrl-C is still watched for: now it would leave the terminal as the agent had it
    m_agent.reset();
}

bool TerminalPrompt::open(const QString &action)
{
    return canOpen() && needsPassword(action) && openAtOnce();
}

bool TerminalPrompt::openAtOnce()
{
    if (!canOpen()) {
        return false;
    }
    m_agent = std::make_unique<TextAgent>([this] {
        goOnAfterPrompt();
    });
    // the agent has the terminal from now on
    m_waitingLine.giveWay();
    return true;
}

void TerminalPrompt::close()
{
    if (isOpen()) {
        leaveLine();
    }
    m_agent.reset();
}

bool TerminalPrompt::isOpen() const
{
    return m_agent && !m_agent->isAnswered();
}

bool TerminalPrompt::isAsking() const
{
    return m_agent && m_agent->isAsking();
}

bool TerminalPrompt::lacksTerminal(const QString &action) const
{
    return lacksTerminal() && needsPassword(action);
}

bool TerminalPrompt::lacksTerminal() const
{
    return m_mayAsk && !m_canAsk && !TextAgent::isOnDesktop();
}

QString TerminalPrompt::missingTerminalText()
{
    return tr("not authorized\nthere is no terminal to ask for a password on; use \"ssh -t\" or sudo, or have a "
              "rule of polkit allow it");
}

bool TerminalPrompt::isCancelled() const
{
    return m_interrupts.isInterrupted();
}

bool TerminalPrompt::canOpen() const
{
    return m_mayAsk && m_canAsk && !m_agent;
}

/// Whatever the answer was, the helper or service is at work now, on the change or on its refusal.
void TerminalPrompt::goOnAfterPrompt()
{
    m_waitingLine.comeBack();
    Q_EMIT answered();
}
