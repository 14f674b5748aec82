// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QStringList>
#include <QVariantMap>

/// What a policy reads from the lines of its PAM module, in the format of pam.d(5).
struct PamReadTable {
    QString linePattern;
    /// The capture of linePattern that holds the options behind the module's name.
    int optionsCapture;
    /// ASCII texts of which every matching line contains one.
    QList<QByteArray> moduleNames;
    /// Capture 1 is the name of an option, capture 2 its number.
    QString optionPattern;
    /// The options that are read as bool: true if they are there. All others are read as int.
    QStringList flags;
};

/**
 * Reads the options on the lines of a PAM module into a values map.
 *
 * A flag's key is always there. A number's key is there only if an option names it, with 0 for a number that is
 * missing or doesn't fit an int. Later lines and tokens win; a flag once true stays true.
 */
class PamOptionReader : public RegExpHandler
{
public:
    /**
     * @param table  outlives the handler
     * @param values receives the options, and at once every flag as false; not owned
     */
    PamOptionReader(const PamReadTable &table, QVariantMap *values);

    bool handleLine(QByteArray *line) override;

    /// Whether any line of the module has been handled.
    bool found() const;

private:
    const PamReadTable &m_table;
    QVariantMap *m_values;
    bool m_found = false;
};
