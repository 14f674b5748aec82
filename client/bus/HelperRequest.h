// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/bus/HelperCall.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <memory>

class PasswordPrompt;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

/// How long a request waits for its answer.
struct HelperLimits {
    /// The helper waits for a tool for two limits of 30 s.
    int answer = 70000; // ms
    /// A person types a password.
    int prompt = 300000; // ms
    /// The helper is at work for others: past this it is not called again. As long as there is time if negative.
    int turn = -1; // ms
};

/**
 * One action of the helper, carried out once: the call is repeated until the helper takes it.
 *
 * Do not end it before finished(): if polkit is being asked about a caller that goes away, the helper waits for good.
 */
class HelperRequest : public QObject
{
    Q_OBJECT

public:
    /**
     * @param prompt the person behind it, who outlives the request
     * @param limits how long to wait
     */
    HelperRequest(HelperCall call, PasswordPrompt *prompt, HelperLimits limits = {});
    ~HelperRequest() override;

    /// The answer, or whatever else there is to tell, comes by the event loop.
    void start();

    /// Tries to keep it from being carried out; finished() tells whether that was in time.
    void cancel();

Q_SIGNALS:
    /// Comes once.
    void finished(const HelperReply &reply);

private:
    enum class Phase {
        Waiting, ///< for its turn: nothing is under way
        Asked, ///< the helper has it
        Prompting, ///< the helper has it, and polkit's question for a password may be open
        Late, ///< the limit is over, and the answer has one more moment
        Unanswered, ///< the same, but the question for a password was open
        Cancelled, ///< by the person, and the answer has a moment to tell whether in time
        Over,
    };

    void send();
    void receive(QDBusPendingCallWatcher *sent);
    void receiveBusy();
    void receiveDenial();
    void receiveLimit();
    void goOnAfterPrompt();
    void losePolkit();
    bool openPrompt();
    void awaitLastAnswer(Phase phase);
    void finishBusy();
    void finishWith(ExitCode code, const QString &error, bool mayHappen = false);
    void finish(const HelperReply &reply);

    HelperCall m_call;
    PasswordPrompt *m_prompt;
    HelperLimits m_limits;
    Phase m_phase = Phase::Waiting;
    QTimer m_again;
    QTimer m_limit;
    QDeadlineTimer m_turn;
    std::unique_ptr<QDBusServiceWatcher> m_polkit;
};
