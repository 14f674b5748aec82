// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

#include <optional>

/// Names what has settings: a policy of the machine, or an account.
struct StoreName {
    enum class Kind { Policy, Account };

    Kind kind;
    /// Of the policy or account itself.
    QString name;

    /// As it is typed, and as the history has it: "lockout", "user alice".
    QString text() const;

    /// Understands such a text, whether or not there is what it names.
    static StoreName fromText(const QString &text);

    /**
     * Takes the words of a name, which may be one in quotes, from the begin of what was typed.
     *
     * @return none if they don't make a name yet: there is no word, or "user" alone
     */
    static std::optional<StoreName> takeFrom(QStringList *words);
};

/// The word before an account's name.
QString accountWord();
