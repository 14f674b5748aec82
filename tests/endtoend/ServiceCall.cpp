// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/ServiceCall.h"

#include "service/ServiceNames.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDataStream>
#include <QTest>

#include <csignal>

namespace
{
constexpr int answerLimit = 120000; // ms

QByteArray requestFor(const ServiceCall &call)
{
    QByteArray request;
    QDataStream stream(&request, QIODevice::WriteOnly);
    stream << call.method << call.arguments << call.mayAsk << call.count;
    return request;
}
}

QByteArrayList answersOf(int user, const ServiceCall &call)
{
    return answersTo(startCall(user, call).get());
}

QByteArray answerOf(int user, const ServiceCall &call)
{
    return answersOf(user, call).join('\n');
}

std::unique_ptr<QProcess> startCall(int user, const ServiceCall &call)
{
    const QString id = QString::number(user);
    auto caller = std::make_unique<QProcess>();
    caller->start(QStringLiteral("setpriv"),
                  {QStringLiteral("--reuid"),
                   id,
                   QStringLiteral("--regid"),
                   id,
                   QStringLiteral("--clear-groups"),
                   copyForEverybody(QStringLiteral(SERVICECALLER))});
    caller->write(requestFor(call));
    caller->closeWriteChannel();
    caller->waitForBytesWritten();
    return caller;
}

QByteArrayList answersTo(QProcess *caller)
{
    // the wait fails for one that has finished already
    const bool isOver = caller->state() == QProcess::NotRunning || caller->waitForFinished(answerLimit);
    if (!isOver || caller->exitCode() != 0) {
        return {"the caller failed: " + caller->readAllStandardError()};
    }
    QByteArray answers = caller->readAllStandardOutput();
    answers.chop(1); // the last line's end
    return answers.split('\n');
}

QByteArray serviceError(const char *name, const char *text)
{
    return QByteArray(serviceName) + ".Error." + name + ": " + text;
}

qint64 serviceProcess()
{
    const QDBusReply<uint> process = QDBusConnection::systemBus().interface()->servicePid(QLatin1String(serviceName));
    return process.isValid() ? process.value() : 0;
}

void endService()
{
    const qint64 process = serviceProcess();
    if (process != 0) {
        kill(static_cast<pid_t>(process), SIGTERM);
    }
    QTRY_COMPARE_WITH_TIMEOUT(serviceProcess(), 0, 30000);
}
