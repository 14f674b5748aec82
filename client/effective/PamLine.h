// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVector>

/// A line of a PAM stack that calls a module (pam.conf(5)).
struct PamLine {
    /// Which of all the lines it is.
    int number;
    QString control;
    QStringList options;
};

/**
 * The lines of a stack that call a module, in their order.
 *
 * @param stack  the text of the file
 * @param type   "auth", "password" and so on; other lines don't count
 * @param module its name, without ".so"
 */
QVector<PamLine> pamLines(const QByteArray &stack, const QString &type, const QString &module);
