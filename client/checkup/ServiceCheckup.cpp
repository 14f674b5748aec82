// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/checkup/ServiceCheckup.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "service/ServiceNames.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>

#include <algorithm>

namespace
{
constexpr int answerLimit = 30000; // ms, with its start

struct ServiceFile {
    QString what;
    QString path;
};

QVector<ServiceFile> serviceFiles()
{
    const QString name = QLatin1String(serviceName);
    const QString actions = QLatin1String(serviceActions);
    return {{translate("ServiceCheckup", "bus service"),
             QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(name)},
            {translate("ServiceCheckup", "bus policy"), QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(name)},
            {translate("ServiceCheckup", "polkit actions"),
             QStringLiteral("/usr/share/polkit-1/actions/%1policy").arg(actions)}};
}

Finding checkServiceAnswer()
{
    const WaitingLine line(translate("ServiceCheckup", "waiting for the service…"));
    const QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(serviceName),
                                                             QLatin1String(servicePath),
                                                             QLatin1String(serviceName),
                                                             QStringLiteral("ListPolicies"));
    const QDBusMessage reply = QDBusConnection::systemBus().call(call, QDBus::Block, answerLimit);
    return reply.type() == QDBusMessage::ReplyMessage
        ? Finding::good(translate("ServiceCheckup", "the service takes requests"))
        : Finding::wrong(translate("ServiceCheckup", "the service takes no request: %1").arg(reply.errorMessage()),
                         translate("ServiceCheckup", "look into the system's journal, then install the service again"));
}
}

QVector<Finding> checkService()
{
    const QVector<ServiceFile> files = serviceFiles();
    const bool isLeftOut = std::none_of(files.cbegin(), files.cend(), [](const ServiceFile &file) {
        return QFile::exists(file.path);
    });
    if (isLeftOut) {
        return {Finding::note(
            translate("ServiceCheckup",
                      "the service is not installed: root changes the policies of modules without it, and others only "
                      "read"),
            translate("ServiceCheckup", "apt install accountpolicies-service, where others are to change them"))};
    }
    QVector<Finding> findings;
    for (const ServiceFile &file : files) {
        findings += Finding::ofFile(
            file.path, file.what, translate("ServiceCheckup", "apt install --reinstall accountpolicies-service"));
    }
    if (QDBusConnection::systemBus().isConnected()) {
        findings += checkServiceAnswer();
    }
    return findings;
}
