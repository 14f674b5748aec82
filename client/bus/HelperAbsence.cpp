// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/HelperAbsence.h"

#include "HelperId.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QFile>

namespace
{
HelperAbsence absenceWithoutBus()
{
    if (!isBusMissing()) {
        return HelperAbsence::None;
    }
    return isHelperInstalled() ? HelperAbsence::NoBus : HelperAbsence::NotInstalled;
}
}

HelperAbsence absenceBy(const QDBusError &error)
{
    switch (error.type()) {
    case QDBusError::Disconnected:
        return absenceWithoutBus();
    case QDBusError::ServiceUnknown: // nobody has told the bus how to start it
        return HelperAbsence::NotInstalled;
    case QDBusError::Other: // of those that start programs: the bus, systemd
    case QDBusError::Failed:
        return isHelperInstalled() ? HelperAbsence::None : HelperAbsence::NotInstalled;
    default:
        return HelperAbsence::None;
    }
}

bool isBusMissing()
{
    const QDBusError error = QDBusConnection::systemBus().lastError();
    return error.type() == QDBusError::NoServer
        || error.name() == QLatin1String("org.freedesktop.DBus.Error.FileNotFound"); // Qt has no type for it
}

bool isHelperInstalled()
{
    return QFile::exists(QLatin1String(helperPath));
}
