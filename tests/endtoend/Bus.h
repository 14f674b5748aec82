// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/support/Program.h"

#include <QVariantMap>

/// What a caller gets from KAuth.
struct BusReply {
    /// A KAuth::ActionReply::Error; 0 is success, -1 stands for a caller that gave no answer.
    int error = -1;
    QString errorText;
    QVariantMap data;
};

/// Calls an action as the account of number @p user, in a process of its own.
BusReply callAs(int user, const QString &action, const QVariantMap &arguments = QVariantMap());

/// The process that owns the helper's name on the bus; 0 if there is none.
qint64 helperProcess();

/// Has the helper wait for good, by an action that polkit doesn't know.
void holdHelper();

/// Ends the helper, so that the next call starts another.
void endHelper();
