// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/**
 * The PAM stacks, the profiles, and what pam-auth-update(8) remembers of its last run.
 *
 * The three belong together: a stack without the memory of the run that made it looks edited by hand, and the tool
 * keeps such edits.
 */
class PamState
{
public:
    /// Takes down the state as it is.
    PamState();

    /// Brings it back: contents, and no file more.
    void restore() const;

private:
    QMap<QString, QByteArray> m_contents;
};
