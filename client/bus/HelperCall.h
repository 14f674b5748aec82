// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/bus/HelperAbsence.h"

#include <QCoreApplication>
#include <QDBusPendingCall>
#include <QVariantMap>

class QDBusError;
struct ActionAnswer;

/// What came of a request.
struct HelperReply {
    Outcome outcome;
    /// The values read, or the arguments of a write.
    QVariantMap values;
    /// Whether the error is that of the helper's task, which tells what was tried and why not.
    bool taskFailed = false;
    /// Whether the helper has ended under the call.
    bool helperEnded = false;
    /// Why the helper could not be asked, as part of a sentence; empty where it, or polkit, has answered.
    QString unavailable;
    /// Whether that is since there is none.
    HelperAbsence absence = HelperAbsence::None;
};

/// How a task's failure is told, by its title and its message.
Outcome failedTask(const QString &title, const QString &message);

/// What the helper says to a call.
struct HelperAnswer {
    enum class Kind {
        Final, ///< the reply tells what came of it, also that nothing did
        Busy, ///< it is at work for somebody else; nothing came of the call
        Denied, ///< polkit refuses
    };
    Kind kind = Kind::Final;
    /// Of a final answer.
    HelperReply reply;
};

/**
 * The call of an action of the helper, which can be repeated.
 *
 * It calls the method performAction, as KAuth's own client library does, but takes the method's answer. The library
 * waits for a broadcast: it takes the first reply for its action, even another caller's, and never hears that the
 * helper is at work for somebody else. A write also carries a key of its own, which the helper must send back.
 */
class HelperCall
{
    Q_DECLARE_TR_FUNCTIONS(HelperCall)

public:
    enum class Kind { Read, Write };

    HelperCall(Kind kind, const QString &action, QVariantMap arguments);

    Kind kind() const;
    /// The action's whole name.
    QString name() const;

    QDBusPendingCall send() const;

    /// Understands what has come of send().
    HelperAnswer answerOf(const QDBusPendingCall &call) const;

    /// Understands that there was no answer.
    HelperAnswer answerOf(const QDBusError &error) const;

private:
    static HelperAnswer failureBy(const QDBusError &error);
    HelperAnswer answerOf(const ActionAnswer &answer) const;
    HelperAnswer answerOf(const QVariantMap &data) const;

    Kind m_kind;
    QString m_name;
    QVariantMap m_arguments;
    QString m_key;
};
