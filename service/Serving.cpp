// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Serving.h"

#include "Modules1Adaptor.h"
#include "service/ServiceNames.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLibrary>

namespace
{
constexpr int idleLimit = 30000; // ms

// of the bus's RequestName
constexpr uint doNotQueue = 4;
constexpr uint isOwner = 1;

// more than the unit lets it have
constexpr long unreadBytes = 1024L * 1024 * 1024;

/**
 * Has libdbus never stop reading for what is still being looked at, as it would at 63 MB: once the main thread has freed that,
 * QtDBus would not go on. QtDBus doesn't have this function of it.
 */
void keepReading(const QDBusConnection &bus)
{
    const auto setLimit = reinterpret_cast<void (*)(void *, long)>(
        QLibrary::resolve(QStringLiteral("dbus-1"), 3, "dbus_connection_set_max_received_size"));
    if (setLimit) {
        setLimit(bus.internalPointer(), unreadBytes);
    }
}

/// Calls of the bus itself are not waited for: large messages may come before the answer.
QDBusPendingCall callBus(const QDBusConnection &bus, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                       QStringLiteral("/org/freedesktop/DBus"),
                                                       QStringLiteral("org.freedesktop.DBus"),
                                                       method);
    call.setArguments(arguments);
    return bus.asyncCall(call);
}
}

Serving::Serving(const QDBusConnection &bus)
    : m_bus(bus)
    , m_requests(bus)
    , m_object(&m_requests)
    , m_adaptor(std::make_unique<Modules1Adaptor>(&m_object))
    , m_termination([this] {
        end();
    })
{
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleLimit);
    connect(&m_idle, &QTimer::timeout, this, &Serving::endIdly);
    connect(&m_requests, &Requests::began, &m_idle, &QTimer::stop);
    connect(&m_requests, &Requests::emptied, &m_idle, qOverload<>(&QTimer::start));
    connect(&m_requests, &Requests::emptied, this, &Serving::quitIfDone);
}

Serving::~Serving() = default;

bool Serving::begin()
{
    if (!m_bus.isConnected() || !m_bus.registerObject(QLatin1String(servicePath), &m_object)) {
        return false;
    }
    keepReading(m_bus);
    // no bus, no service
    m_bus.connect({},
                  QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"),
                  QStringLiteral("Disconnected"),
                  QCoreApplication::instance(),
                  SLOT(quit()));
    const QDBusPendingCall request =
        callBus(m_bus, QStringLiteral("RequestName"), {QLatin1String(serviceName), doNotQueue});
    auto *watcher = new QDBusPendingCallWatcher(request, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &Serving::takeName);
    return true;
}

void Serving::takeName(QDBusPendingCallWatcher *request)
{
    const QDBusPendingReply<uint> reply = *request;
    if (reply.isError() || reply.value() != isOwner) {
        QCoreApplication::exit(1);
        return;
    }
    if (m_requests.isEmpty()) {
        m_idle.start();
    }
}

/// Whoever calls from now on has the bus start another; who has called before is answered.
void Serving::endIdly()
{
    const QDBusPendingCall release = callBus(m_bus, QStringLiteral("ReleaseName"), {QLatin1String(serviceName)});
    auto *watcher = new QDBusPendingCallWatcher(release, this);
    // the calls that came before the bus's answer have begun by then
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this] {
        m_isEnding = true;
        quitIfDone();
    });
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
