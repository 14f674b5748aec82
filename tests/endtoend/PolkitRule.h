// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>

/// A rule of an administrator's, which polkit follows as long as this object lives.
class PolkitRule
{
public:
    /**
     * @param actions a part of the names of the actions that the rule is about
     * @param account who wants them
     * @param result  what polkit is to answer, as in polkit(8): "YES", "NO", "AUTH_ADMIN"
     * @param seconds how long it thinks about that
     */
    PolkitRule(const QByteArray &actions, const QByteArray &account, const QByteArray &result, int seconds = 0);
    /// @param content the file of rules
    explicit PolkitRule(const QByteArray &content);
    ~PolkitRule();

private:
    Q_DISABLE_COPY_MOVE(PolkitRule)
};
