// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/StandInForPolkit.h"

#include "service/BusTypes.h"
#include "tests/support/Files.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QTest>

#include <csignal>

void reloadBusConfiguration()
{
    QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                                     QStringLiteral("/org/freedesktop/DBus"),
                                                                     QStringLiteral("org.freedesktop.DBus"),
                                                                     QStringLiteral("ReloadConfig")));
}

namespace
{
const QString polkit = QStringLiteral("org.freedesktop.PolicyKit1");
const QString authority = QStringLiteral("/org/freedesktop/PolicyKit1/Authority");

/// Root may be polkit, whose own account alone may be it otherwise.
void letRootHaveTheName()
{
    writeContent("/etc/dbus-1/system.d/test.conf",
                 "<busconfig><policy user=\"root\"><allow own=\"org.freedesktop.PolicyKit1\"/></policy></busconfig>\n");
    reloadBusConfiguration();
}

/// The one that the bus has started for an earlier test.
void endRealOne()
{
    QDBusConnectionInterface *bus = QDBusConnection::systemBus().interface();
    const QDBusReply<uint> process = bus->servicePid(polkit);
    if (process.isValid()) {
        kill(static_cast<pid_t>(process.value()), SIGTERM);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!bus->isServiceRegistered(polkit).value(), 10000);
}

QString callerIn(const QVariant &subject)
{
    const auto argument = subject.value<QDBusArgument>();
    QString kind;
    QVariantMap details;
    argument.beginStructure();
    argument >> kind >> details;
    argument.endStructure();
    return kind == QLatin1String("system-bus-name") ? details.value(QStringLiteral("name")).toString() : kind;
}
}

StandInForPolkit::StandInForPolkit()
{
    letRootHaveTheName();
    endRealOne();
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.registerVirtualObject(authority, this) || !bus.registerService(polkit)) {
        qFatal("polkit's name cannot be had");
    }
}

StandInForPolkit::~StandInForPolkit()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.unregisterService(polkit);
    bus.unregisterObject(authority);
}

void StandInForPolkit::answer(const Question &question, bool isAuthorized, bool needsPassword)
{
    QDBusArgument result;
    result.beginStructure();
    result << isAuthorized << needsPassword << TextMap();
    result.endStructure();
    QDBusConnection::systemBus().send(question.message.createReply(QVariant::fromValue(result)));
}

void StandInForPolkit::fail(const Question &question)
{
    QDBusConnection::systemBus().send(question.message.createErrorReply(
        QStringLiteral("org.freedesktop.PolicyKit1.Error.Failed"), QStringLiteral("no such action")));
}

void StandInForPolkit::admitAll()
{
    for (const Question &question : std::exchange(questions, {})) {
        answer(question, true);
    }
}

QString StandInForPolkit::introspect(const QString &path) const
{
    Q_UNUSED(path)
    return {};
}

bool StandInForPolkit::handleMessage(const QDBusMessage &message, const QDBusConnection &bus)
{
    const QVariantList arguments = message.arguments();
    if (message.member() == QLatin1String("CancelCheckAuthorization")) {
        cancelled += arguments.at(0).toString();
        bus.send(message.createReply());
        return true;
    }
    const auto details = qdbus_cast<TextMap>(arguments.at(2));
    questions += Question{message,
                          callerIn(arguments.at(0)),
                          arguments.at(1).toString(),
                          details.value(QStringLiteral("account")),
                          arguments.at(3).toUInt(),
                          arguments.at(4).toString()};
    return true;
}
