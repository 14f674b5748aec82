// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QObject>

/**
 * The person behind a request, who answers polkit's question for a password and may cancel the request.
 *
 * This one is nobody: it opens no place for questions, and polkit asks the session's own agent, if there is one.
 */
class PasswordPrompt : public QObject
{
    Q_OBJECT

public:
    /// Gets ready for polkit's question about an action; false if it won't ask here. Once for each request.
    virtual bool open(const QString &action);
    /// Takes the question away: polkit refuses then.
    virtual void close();
    /// Whether it was opened, and the question is neither answered nor taken away.
    virtual bool isOpen() const;
    /// Whether the question stands before the person.
    virtual bool isAsking() const;
    /// Whether the person has cancelled, even if cancelled() is still to come.
    virtual bool isCancelled() const;

Q_SIGNALS:
    void answered();
    void cancelled();
};
