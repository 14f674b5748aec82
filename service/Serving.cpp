// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Serving.h"

#include "Modules1Adaptor.h"
#include "service/ServiceNames.h"

#include <QCoreApplication>

#include <memory>

namespace
{
constexpr int idleLimit = 30000; // ms
}

Serving::Serving(const QDBusConnection &bus)
    : m_bus(bus), m_requests(bus), m_object(&m_requests), m_termination([this] {
        end();
    })
{
    // belongs to the object
    std::make_unique<Modules1Adaptor>(&m_object).release();
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleLimit);
    connect(&m_idle, &QTimer::timeout, this, &Serving::endIdly);
    connect(&m_requests, &Requests::began, &m_idle, &QTimer::stop);
    connect(&m_requests, &Requests::emptied, &m_idle, qOverload<>(&QTimer::start));
    connect(&m_requests, &Requests::emptied, this, &Serving::quitIfDone);
}

bool Serving::begin()
{
    m_idle.start();
    // no bus, no service
    m_bus.connect({},
                  QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"),
                  QStringLiteral("Disconnected"),
                  QCoreApplication::instance(),
                  SLOT(quit()));
    return m_bus.registerObject(QLatin1String(servicePath), &m_object)
        && m_bus.registerService(QLatin1String(serviceName));
}

/// Whoever calls from now on has the bus start another; who has called before is answered.
void Serving::endIdly()
{
    m_bus.unregisterService(QLatin1String(serviceName));
    // the calls that came before the bus's answer are in the event loop by now, and begin before this
    m_isEnding = true;
    QMetaObject::invokeMethod(this, &Serving::quitIfDone, Qt::QueuedConnection);
}

void Serving::end()
{
    m_requests.stop();
    m_isEnding = true;
    quitIfDone();
}

void Serving::quitIfDone()
{
    if (m_isEnding && m_requests.isEmpty()) {
        QCoreApplication::quit();
    }
}
