// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/bus/HelperAbsence.h"

#include <QDBusMessage>
#include <QObject>
#include <QTimer>
#include <QVariantList>

class QDBusPendingCallWatcher;
class TerminalPrompt;

/// A method of the service, and what is sent with it.
struct ServiceMethod {
    QString name;
    QVariantList arguments = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

/// What came of a call of the service.
struct ServiceReply {
    Outcome outcome;
    /// What the method returns.
    QVariantList values;
    /// The last part of the name of the service's own error; empty if there is none, or it is another's.
    QString error;
    /// Whether there is no service at all.
    HelperAbsence absence = HelperAbsence::None;
};

/**
 * One call of the service for the policies of PAM's modules.
 *
 * It is sent so that nobody may be asked for a password. Where the service says that one is needed, the terminal gets ready
 * for the question and the call is sent once more. The service drops what it has not begun when its caller goes away, so
 * this may end at any time.
 */
class ServiceRequest : public QObject
{
    Q_OBJECT

public:
    /**
     * @param mayAsk whether a password may be asked for
     * @param prompt the person behind it, who outlives the request
     */
    ServiceRequest(const ServiceMethod &method, bool mayAsk, TerminalPrompt *prompt);

    /// The answer, or whatever else there is to tell, comes by the event loop.
    void start();

Q_SIGNALS:
    /// Comes once.
    void finished(const ServiceReply &reply);

private:
    enum class Phase {
        Asked, ///< the service has it
        Prompting, ///< the service has it, and polkit may ask for a password
        Cancelled, ///< by the person, and the answer has a moment to tell whether in time
        Over,
    };

    void send(Phase phase);
    void receive(QDBusPendingCallWatcher *sent);
    void receiveLimit();
    void goOnAfterPrompt();
    void cancel();
    void finishWith(ExitCode code, const QString &error, bool mayHappen = false);
    void finish(const ServiceReply &reply);

    QDBusMessage m_call;
    bool m_mayAsk;
    TerminalPrompt *m_prompt;
    Phase m_phase = Phase::Asked;
    QTimer m_limit;
};

/// Calls the service and waits for the answer, for the person at the terminal.
/// @param mayAsk whether a password may be asked for
ServiceReply askService(const ServiceMethod &method, bool mayAsk);
