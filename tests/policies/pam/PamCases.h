// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVector>

/// An argument of one type, as a caller may send it, and what it means.
struct ArgumentCase {
    const char *name;
    QVariant value;
    bool asBool;
    int asInt;
};

/// Arguments of every type that can come from the bus or from a caller in the same process.
QVector<ArgumentCase> argumentCases();

/// A way in which pam-auth-update fails, and the message that this gives.
struct ToolFault {
    const char *name;
    /// Makes the tool so; a PamSystem must be there.
    void (*prepare)();
    QString message;
};

QVector<ToolFault> toolFaults();
