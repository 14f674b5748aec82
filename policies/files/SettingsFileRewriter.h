// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QVariantMap>

struct ExpirationFile;
struct ExpirationSetting;

/**
 * Writes the settings of one file from the arguments: in place where the file has them, else at its end.
 *
 * A setting whose argument is absent loses its line, down to the line's comment: the arguments are the whole policy.
 */
class ExpirationRewriter : public RegExpHandler
{
public:
    /**
     * @param file      outlives the handler
     * @param arguments the policy's arguments; only read, not owned
     */
    ExpirationRewriter(const ExpirationFile &file, const QVariantMap *arguments);

    bool handleLine(QByteArray *line) override;
    bool appendLines(QByteArray *tail) override;

private:
    QByteArray settingText(const ExpirationSetting &setting) const;

    const ExpirationFile &m_file;
    const QVariantMap *m_arguments;
    /// One bit for each setting that the file has and that was written.
    quint64 m_seen = 0;
};
