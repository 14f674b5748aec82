// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QProcess>
#include <QTimer>

#include <functional>
#include <sys/types.h>
#include <vector>

/**
 * A polkit agent that asks for passwords on the terminal: pkttyagent(1), started for this process.
 *
 * It ends with this object, and what it has started ends too: nobody writes to the terminal afterwards. Where the
 * session has an agent of its own, that one is asked, not this.
 */
class TextAgent
{
public:
    /**
     * Starts it and waits until polkit knows it. Where it can't be started, polkit goes without.
     *
     * @param answered called from the event loop once its question has been asked and is over
     */
    explicit TextAgent(std::function<void()> answered);
    ~TextAgent();

    /// Whether it waits for a password here; not while it waits for the choice between several administrators.
    bool isAsking() const;
    /// Whether a question was asked here and is over, whatever the answer.
    bool isAnswered() const;
    /// Whether a question was left open: polkit doesn't wait for the answer any more, or the agent was ended.
    bool isCutShort();

    /// Where its program is installed.
    static QString path();

    /**
     * Whether there is somebody to ask: the user is not root, whom polkit doesn't ask, and sits at the terminal of this
     * process. The agent opens the terminal itself, so the standard input may be something else.
     */
    static bool canAsk();

    /// Whether the session is that of a desktop, which brings an agent of its own.
    static bool isOnDesktop();

private:
    Q_DISABLE_COPY(TextAgent)

    void look();
    std::vector<pid_t> questions() const;
    void endAgent();
    void endQuestion();

    QProcess m_agent;
    QTimer m_look;
    std::function<void()> m_callback;
    bool m_asks = false;
    bool m_answered = false;
};
