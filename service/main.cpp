// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/machine/HelperSurroundings.h"
#include "service/BusTypes.h"
#include "service/Serving.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    // the unit's, where the bus starts it without systemd
    const HelperSurroundings surroundings;
    const QCoreApplication application(argc, argv);
    registerBusTypes();
    Serving serving(QDBusConnection::systemBus());
    return serving.begin() ? QCoreApplication::exec() : 1;
}
