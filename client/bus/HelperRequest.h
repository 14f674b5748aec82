// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

#include <QEventLoop>
#include <QTimer>
#include <QVariantMap>

#include <memory>

namespace KAuth
{
class ActionReply;
}
class InterruptWatch;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;
class TextAgent;
class WaitingLine;

/// What came of a request.
struct HelperReply {
    Outcome outcome;
    /// The values read, or the arguments of a write.
    QVariantMap values;
    /// Whether the error is that of the helper's task, which tells what was tried and why not.
    bool taskFailed = false;
};

/// How long a request waits for its answer, in milliseconds.
struct HelperLimits {
    /// The helper waits for a tool for two limits of 30 s.
    int answer = 70000;
    /// A person types a password.
    int prompt = 300000;
};

/**
 * One action of the helper, carried out once.
 *
 * This speaks to the helper as KAuth's own client library does, by the method performAction, but waits for the method's
 * answer. The library waits for a broadcast instead: it hands a caller the first reply for its action, even another
 * caller's, and never hears that the helper is at work for somebody else. Besides, a write carries a key of its own,
 * which the helper must send back.
 *
 * A request that was sent is waited for until it is answered: the helper hangs for good if its caller is gone by the time
 * that it asks polkit about it.
 */
class HelperRequest : public QObject
{
    Q_OBJECT

public:
    enum class Kind { Read, Write };

    /**
     * @param kind      whether the action reads or writes
     * @param action    without the helper's name, such as "readaccountslockoutpolicy"
     * @param arguments the arguments of the action
     * @param mayAsk    whether a password may be asked for on the terminal
     * @param limits    how long to wait
     */
    HelperRequest(Kind kind, const QString &action, QVariantMap arguments, bool mayAsk, HelperLimits limits = {});
    ~HelperRequest() override;

    /// Sends it and waits for the reply.
    HelperReply execute();

private:
    void send();
    void receive(QDBusPendingCallWatcher *answer);
    void receiveReply(const KAuth::ActionReply &reply);
    void receiveData(const QVariantMap &data);
    void receiveDenial();
    void cancel();
    void tryAgain();
    void giveUp();
    void finishBusy();
    void finishUnanswered();
    bool needsPassword() const;
    void openAgent();
    void closeAgent();
    void goOnAfterPrompt();
    void losePolkit();
    void finish(ExitCode code, const QString &error, const QVariantMap &values = QVariantMap());

    Kind m_kind;
    QString m_name;
    QVariantMap m_arguments;
    QString m_key;
    bool m_mayAsk;
    HelperLimits m_limits;
    /// The limit is over; only the answer to the last call is waited for.
    bool m_late = false;
    /// The limit ended the question for the password.
    bool m_promptEnded = false;
    QEventLoop m_loop;
    QTimer m_again;
    QTimer m_limit;
    // before the agent, whose end it outlives: Ctrl-C meanwhile would leave the terminal as the agent had it
    std::unique_ptr<InterruptWatch> m_interrupts;
    std::unique_ptr<TextAgent> m_agent;
    std::unique_ptr<QDBusServiceWatcher> m_polkit;
    std::unique_ptr<WaitingLine> m_waitingLine;
    HelperReply m_reply;
};
