// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QVariantMap>

struct PamPolicy;

/**
 * Rebuilds the lines of a policy's PAM modules in a profile of pam-auth-update(8): keeps the options that the policy
 * doesn't manage, in their order, and writes the managed ones anew behind them: a flag where its argument is true, a
 * number where its argument is there.
 */
class PamOptionRewriter : public RegExpHandler
{
public:
    /**
     * @param policy    outlives the handler
     * @param arguments the policy's arguments; only read, not owned
     */
    PamOptionRewriter(const PamPolicy &policy, const QVariantMap *arguments);

    bool handleLine(QByteArray *line) override;

    /// Whether any line of the modules has been rebuilt.
    bool found() const;

private:
    QString unmanagedOptions() const;
    QString managedOptions() const;

    const PamPolicy &m_policy;
    const QVariantMap *m_arguments;
    bool m_found = false;
};
