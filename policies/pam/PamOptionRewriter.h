// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "engine/RegExpHandler.h"

#include <QStringList>
#include <QVariantMap>

/// What a policy writes on the lines of its PAM module.
struct PamWriteTable {
    /// Capture 1 is everything up to the end of the module's file name.
    QString linePattern;
    /// The capture of linePattern that holds the options behind it.
    int optionsCapture;
    /// ASCII texts of which every matching line contains one.
    QList<QByteArray> moduleNames;
    /// Options that are written without a value, in this order, where their argument is true.
    QStringList flags;
    /// Options that are written with a number, in this order behind the flags, where their argument is there.
    QStringList numbers;
};

/**
 * Rebuilds the lines of a PAM module in a profile of pam-auth-update(8): keeps the options that the policy doesn't
 * manage, in their order, and writes the managed ones anew behind them.
 */
class PamOptionRewriter : public RegExpHandler
{
public:
    /**
     * @param table     outlives the handler
     * @param arguments the policy's arguments; only read, not owned
     */
    PamOptionRewriter(const PamWriteTable &table, const QVariantMap *arguments);

    bool handleLine(QByteArray *line) override;

    /// Whether any line of the module has been rebuilt.
    bool found() const;

private:
    QString unmanagedOptions() const;
    QString managedOptions() const;

    const PamWriteTable &m_table;
    const QVariantMap *m_arguments;
    bool m_found = false;
};
