// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QVariantMap>

struct PamPolicy;

/**
 * Reads the options of a policy on the lines of its PAM modules into a values map.
 *
 * A flag's key is always there. A number's key is there only if an option names it, with 0 for a number that is
 * missing or doesn't fit an int. Later lines and tokens win; a flag once true stays true.
 */
class PamOptionReader : public RegExpHandler
{
public:
    /**
     * @param policy outlives the handler
     * @param values receives the options, and at once every flag as false; not owned
     */
    PamOptionReader(const PamPolicy &policy, QVariantMap *values);

    bool handleLine(QByteArray *line) override;

    /// Whether any line of the modules has been handled.
    bool found() const;

private:
    const PamPolicy &m_policy;
    const QRegExp m_option;
    QVariantMap *m_values;
    bool m_found = false;
};
