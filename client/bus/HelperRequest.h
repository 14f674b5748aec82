// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"

#include <KAuth/Action>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <QVariantMap>

#include <memory>

namespace KAuth
{
class ExecuteJob;
}
class TextAgent;
class WaitingLine;

/// What came of a request.
struct HelperReply {
    Outcome outcome;
    /// The values read, or the arguments of a write.
    QVariantMap values;
};

/**
 * One action of the helper, carried out once.
 *
 * KAuth broadcasts replies and hands a caller the first one for its action, even another caller's; and while the helper
 * is at work for one caller it turns the others away without their hearing of it. So a write carries a key of its own,
 * which the helper sends back, and a request is sent again until its own reply is there. Sending again is harmless: the
 * helper turns a request away while it works on the same caller's earlier one, and writing a policy twice is writing it
 * once.
 */
class HelperRequest : public QObject
{
    Q_OBJECT

public:
    enum class Kind {
        /// Any caller's reply will do: it was read after this request was made, or nothing was written in between.
        Read,
        Write,
    };

    /**
     * @param kind      whether the action reads or writes
     * @param action    without the helper's name, such as "readaccountslockoutpolicy"
     * @param arguments the arguments of the action
     * @param mayAsk    whether a password may be asked for on the terminal
     */
    HelperRequest(Kind kind, const QString &action, const QVariantMap &arguments, bool mayAsk);
    ~HelperRequest() override;

    /// Sends it and waits for the reply.
    HelperReply execute();

private:
    void send();
    void sendSoon();
    void receive(KAuth::ExecuteJob *job);
    void receiveData(const QVariantMap &data);
    void receiveDenial();
    bool openAgent();
    void finish(ExitCode code, const QString &error, const QVariantMap &values = QVariantMap());

    Kind m_kind;
    QString m_name;
    QVariantMap m_arguments;
    /// Complete only from execute() on.
    KAuth::Action m_action;
    QString m_key;
    bool m_mayAsk;
    QEventLoop m_loop;
    /// Since it was first sent.
    QElapsedTimer m_age;
    QTimer m_again;
    QTimer m_limit;
    std::unique_ptr<TextAgent> m_agent;
    std::unique_ptr<WaitingLine> m_waitingLine;
    HelperReply m_reply;
};
