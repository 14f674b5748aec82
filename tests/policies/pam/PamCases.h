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

/// A way in which pam-auth-update fails, and what the message says behind its name and arguments.
struct ToolFault {
    const char *name;
    /// Makes the tool something else: a command of sh(1). Null where it runs.
    const char *command;
    /// What it does then: lines of sh(1).
    const char *script;
    const char *message;

    /// Makes the tool so; a PamSystem must be there.
    void prepare() const;
};

QVector<ToolFault> toolFaults();
