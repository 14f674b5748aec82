// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QVariantMap>

struct SettingsFile;
struct FileSetting;

/**
 * Writes the settings of one file from the arguments: in place where the file has them, else at its end.
 *
 * A setting whose argument is absent, or false for a flag, is taken away. Of its line the comment stays.
 */
class SettingsFileRewriter : public RegExpHandler
{
public:
    /**
     * @param file      outlives the handler
     * @param arguments by the settings' keys; only read, not owned
     */
    SettingsFileRewriter(const SettingsFile &file, const QVariantMap *arguments);

    bool handleLine(QByteArray *line) override;
    bool appendLines(QByteArray *tail) override;

private:
    bool isAskedFor(const FileSetting &setting) const;
    QByteArray settingText(const FileSetting &setting) const;

    const SettingsFile &m_file;
    const QVariantMap *m_arguments;
    /// One bit for each setting that the file has and that was written.
    quint64 m_seen = 0;
};
