// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A service with the interface of accountpoliciesd that does nothing: what any call costs before it does anything. What its
// methods answer is made when it starts: of a read what accountpoliciesd answers then, so that both send the same.

#include "bench/EmptyService.h"
#include "EmptyServiceAdaptor.h"
#include "Modules1Interface.h"
#include "service/ServiceNames.h"

#include <QCoreApplication>

EmptyService::EmptyService()
{
    OrgAccountpoliciesModules1Interface service(
        QLatin1String(serviceName), QLatin1String(servicePath), QDBusConnection::systemBus());
    for (const char *policy : {"faillock", "pwquality", "pwhistory"}) {
        QDBusPendingReply<QVariantMap, TextMap, QVariantMap> reading = service.ReadPolicy(QLatin1String(policy));
        reading.waitForFinished();
        m_readings.insert(QLatin1String(policy),
                          {reading.argumentAt<0>(), reading.argumentAt<1>(), reading.argumentAt<2>()});
    }
}

QVariantMap EmptyService::ReadPolicy(const QString &policy, TextMap &sources, QVariantMap &state)
{
    const Reading &reading = m_readings[policy];
    sources = reading.sources;
    state = reading.state;
    return reading.values;
}

QStringList EmptyService::ListPolicies()
{
    return {};
}

TextMap EmptyService::ListSettings(const QString &)
{
    return {};
}

bool EmptyService::WritePolicy(const QString &, const QVariantMap &, const QVariantMap &, QString &)
{
    return {};
}

ChangedFiles EmptyService::PreviewPolicy(const QString &, const QVariantMap &, const QVariantMap &)
{
    return {};
}

LockedAccounts EmptyService::ListLocked()
{
    return {};
}

void EmptyService::Unlock(const QString &)
{
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    registerBusTypes();
    EmptyService service;
    const EmptyServiceAdaptor adaptor(&service);
    QDBusConnection bus = QDBusConnection::systemBus();
    const bool isThere = bus.registerObject(QLatin1String(servicePath), &service)
        && bus.registerService(QStringLiteral(EMPTY_SERVICE_NAME));
    return isThere ? QCoreApplication::exec() : 1;
}
