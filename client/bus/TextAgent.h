// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>

/**
 * A polkit agent that asks for passwords on the terminal: pkttyagent(1), started for this process.
 * Ends with this object. Where the session has an agent of its own, that one is asked, not this.
 */
class TextAgent
{
public:
    /// Starts it and waits until polkit knows it. Where it can't be started, polkit goes without.
    TextAgent();
    ~TextAgent();

    /// Whether it makes sense: the user is not root, whom polkit doesn't ask, and sits at a terminal.
    static bool canAsk();

private:
    Q_DISABLE_COPY(TextAgent)

    QProcess m_agent;
};
