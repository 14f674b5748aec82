// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QDBusPendingCall>

class QDBusConnection;

/// A call of polkit's method, see org.freedesktop.PolicyKit1.Authority; to be sent on a bus.
QDBusMessage polkitCall(const QString &method);

/**
 * Asks polkit whether this process may do it, without anybody being asked for a password.
 *
 * @param limit how long to wait for the answer, in ms
 */
QDBusPendingCall askPolkit(const QDBusConnection &bus, const QString &action, int limit);

/// Whether polkit would ask for a password before this process may do it; false where it can't be asked.
bool needsPassword(const QString &action);
