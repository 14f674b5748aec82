// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/Bus.h"

#include "HelperId.h"
#include "client/bus/PerformAction.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDataStream>
#include <QTest>

#include <csignal>

BusReply callAs(int user, const QString &action, const QVariantMap &arguments)
{
    QByteArray request;
    QDataStream requestStream(&request, QIODevice::WriteOnly);
    requestStream << action << arguments;
    const ProgramResult caller = runAs(user, copyForEverybody(QStringLiteral(BUSCALLER)), {}, request);
    BusReply reply;
    reply.errorText = QStringLiteral("the caller ended with %1: %2")
                          .arg(caller.exitCode)
                          .arg(QString::fromLocal8Bit(caller.standardError));
    if (caller.exitCode == 0) {
        QDataStream answer(caller.standardOutput);
        answer >> reply.error >> reply.errorText >> reply.data;
    }
    return reply;
}

qint64 helperProcess()
{
    const QDBusReply<uint> process = QDBusConnection::systemBus().interface()->servicePid(QLatin1String(helperId));
    return process.isValid() ? process.value() : 0;
}

void holdHelper()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.send(performAction(
            QLatin1String(helperId) + QStringLiteral(".nosuch"), bus.baseService(), encodedArguments(QVariantMap())))) {
        qFatal("nothing can be sent");
    }
}

void endHelper()
{
    const qint64 process = helperProcess();
    if (process != 0) {
        kill(static_cast<pid_t>(process), SIGTERM);
    }
    QTRY_COMPARE_WITH_TIMEOUT(helperProcess(), 0, 30000);
}
