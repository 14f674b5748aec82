// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"

#include <QProcess>
#include <QVariantList>

#include <memory>

/// A call of a method of the service, by a process of its own.
struct ServiceCall {
    QString method;
    QVariantList arguments = {};
    /// Whether somebody may be asked for a password.
    bool mayAsk = true;
    /// How many of the same are sent at once.
    int count = 1;
};

/// What the account of number @p user is answered: one line a call, in the order in which the answers came.
QByteArrayList answersOf(int user, const ServiceCall &call);
/// The one answer.
QByteArray answerOf(int user, const ServiceCall &call);

/// Sends a call and doesn't wait for the answer; ending the process closes its connection.
std::unique_ptr<QProcess> startCall(int user, const ServiceCall &call);
/// Waits for the answers to it.
QByteArrayList answersTo(QProcess *caller);

/// The name of an error of the service's, by its last part.
QByteArray serviceError(const char *name, const char *text);

/// The process that has the service's name on the bus; 0 if there is none.
qint64 serviceProcess();
/// Ends the service, so that the next call starts another.
void endService();
