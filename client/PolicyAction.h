// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>
#include <QVariantMap>

/// What came back from an action.
struct PolicyReply {
    /// The values read, or the arguments of a write; whatever there is.
    QVariantMap values;
    /// Empty on success. One line first, details of the helper's below it.
    QString error;

    bool succeeded() const;
};

/**
 * Has the helper carry out one action and waits for the reply.
 *
 * @param name      the action without the helper's name, such as "readaccountslockoutpolicy"
 * @param arguments its arguments
 */
PolicyReply executePolicyAction(const QString &name, const QVariantMap &arguments);
