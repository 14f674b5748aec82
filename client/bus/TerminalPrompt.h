// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/InterruptWatch.h"
#include "client/bus/PasswordPrompt.h"
#include "client/output/WaitingLine.h"

#include <memory>

class TextAgent;

/**
 * The person at the terminal: answers polkit's own agent there, and cancels by Ctrl-C.
 *
 * A line tells what is being waited for, but not while the agent has the terminal. When this ends the cursor
 * is at the begin of a line, and nobody else writes any more.
 */
class TerminalPrompt : public PasswordPrompt
{
    Q_OBJECT

public:
    /**
     * @param mayAsk  whether a password may be asked for
     * @param waiting the line that tells what is being waited for
     */
    TerminalPrompt(bool mayAsk, const QString &waiting);
    ~TerminalPrompt() override;

    bool open(const QString &action) override;
    void close() override;
    bool isOpen() const override;
    bool isAsking() const override;
    bool lacksTerminal(const QString &action) const override;
    bool isCancelled() const override;

    /// As open(), for an action about which polkit is known to ask.
    bool openAtOnce();
    /// As above, for such an action.
    bool lacksTerminal() const;
    /// What there is to say and to do about that.
    static QString missingTerminalText();

private:
    bool canOpen() const;
    void goOnAfterPrompt();

    bool m_mayAsk;
    bool m_canAsk;
    InterruptWatch m_interrupts;
    WaitingLine m_waitingLine;
    std::unique_ptr<TextAgent> m_agent;
};
