// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What calls of the bus service cost, beside an empty service of the same interface and the bare tools.

#include "bench/Measuring.h"
#include "policies/modules/ModuleWriting.h"
#include "service/ServiceNames.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

namespace
{
constexpr int timeLimit = 120000; // ms

constexpr double readLimit = 1.05;
constexpr double writeLimit = 1.05;

void call(const char *service, const char *method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QLatin1String(service), QLatin1String(servicePath), QLatin1String(serviceName), QLatin1String(method));
    message.setArguments(arguments);
    const QDBusMessage answer = QDBusConnection::systemBus().call(message, QDBus::Block, timeLimit);
    if (answer.type() != QDBusMessage::ReplyMessage) {
        qFatal("%s of %s failed: %s", method, service, qPrintable(answer.errorMessage()));
    }
}

Work read(const char *service, const char *policy)
{
    return [service, policy] {
        call(service, "ReadPolicy", {QLatin1String(policy)});
    };
}

void callNothing()
{
    call(EMPTY_SERVICE_NAME, "Unlock", {QStringLiteral("nobody")});
}

void measureReads(int rounds)
{
    const QVector<const char *> policies{"faillock", "pwquality", "pwhistory"};
    printHeading(QStringLiteral("A read on a running service (other: an empty one that answers the same)"));
    for (const char *policy : policies) {
        printRow(QLatin1String(policy),
                 measure(rounds, read(serviceName, policy), read(EMPTY_SERVICE_NAME, policy)),
                 readLimit);
    }
    printHeading(QStringLiteral("The same (other: a method of an empty service that answers nothing)"));
    for (const char *policy : policies) {
        printRow(QLatin1String(policy), measure(rounds, read(serviceName, policy), callNothing));
    }
}

/// Values and, if that is wanted, our profiles.
void write(qlonglong deny, const QVariantMap &options)
{
    call(
        serviceName, "WritePolicy", {QStringLiteral("faillock"), QVariantMap{{QStringLiteral("deny"), deny}}, options});
}

void putInForceAndOut()
{
    write(5, {{QStringLiteral("on"), true}});
    write(6, {{QStringLiteral("on"), false}});
}

void runTool(const QString &option)
{
    Command tool = ModulePlace::pamAuthUpdateAlone();
    tool.arguments = QStringList{QStringLiteral("--package"), option} + faillockPolicy().profiles;
    if (!runCommand(tool).succeeded()) {
        qFatal("pam-auth-update failed");
    }
}

void runToolTwice()
{
    runTool(QStringLiteral("--enable"));
    runTool(QStringLiteral("--disable"));
}

void writeValues()
{
    static qlonglong deny = 0;
    write(++deny, {});
}

void measureWrites(int rounds)
{
    putInForceAndOut();
    printHeading(QStringLiteral("Two writes (other: pam-auth-update twice, as each write runs it)"));
    printRow(QStringLiteral("faillock in force, and out"), measure(rounds, putInForceAndOut, runToolTwice), writeLimit);
    printHeading(
        QStringLiteral("A write that needs no tool (other: a method of an empty service that answers nothing)"));
    printRow(QStringLiteral("values of faillock"), measure(rounds * 10, writeValues, callNothing));
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    // both have been started, and the service has had the time to read each policy more than once
    for (int i = 0; i < 3; ++i) {
        for (const char *policy : {"faillock", "pwquality", "pwhistory"}) {
            read(serviceName, policy)();
            read(EMPTY_SERVICE_NAME, policy)();
        }
    }
    measureReads(20000);
    measureWrites(40);
    return rowsAboveLimit() == 0 ? 0 : 1;
}
