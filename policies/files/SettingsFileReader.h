// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QVariantMap>

struct SettingsFile;

/// Reads the settings of one file into a values map; what isn't found gets no value, and later lines win.
class SettingsFileReader : public RegExpHandler
{
public:
    /**
     * @param file   outlives the handler
     * @param values receives the settings; not owned
     */
    SettingsFileReader(const SettingsFile &file, QVariantMap *values);

    bool handleLine(QByteArray *line) override;

private:
    const SettingsFile &m_file;
    QVariantMap *m_values;
};
