// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QObject>

/**
 * The person behind a request, who answers polkit's question for a password and may cancel the request.
 */
class PasswordPrompt : public QObject
{
    Q_OBJECT

public:
    /// Gets ready for polkit's question about an action; false if it won't ask here.
    virtual bool open(const QString &action) = 0;
    /// Takes the question away: polkit refuses then.
    virtual void close() = 0;
    /// Whether it was opened, and the question is neither answered nor taken away.
    virtual bool isOpen() const = 0;
    /// Whether the question stands before the person.
    virtual bool isAsking() const = 0;
    /// Whether polkit would ask about the action, but there is no terminal to answer on.
    virtual bool lacksTerminal(const QString &action) const = 0;
    /// Whether the person has cancelled, even if cancelled() is still to come.
    virtual bool isCancelled() const = 0;

Q_SIGNALS:
    void answered();
    void cancelled();
};
