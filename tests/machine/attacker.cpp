// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A caller without manners: sends one request to the helper as KAuth's library would, and prints what came of it, "answer"
// with KAuth's error code or the bus's error.
//
//   attacker ACTION          waits for the answer, 5 seconds at most
//   attacker ACTION leave    goes away without it
//   attacker ACTION pattern  has a regular expression among the arguments that takes all the memory there is
//   attacker ACTION message  has a text of its own for whom polkit asks for a password; waits for that longer

#include "client/bus/PerformAction.h"

#include <KAuth/ActionReply>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusReply>
#include <QDataStream>
#include <QTextStream>

namespace
{
constexpr int timeLimit = 5000; // ms
constexpr int promptLimit = 60000; // ms
constexpr quint8 syntaxOfRegExp = 0;
constexpr quint32 typeOfRegExp = 27; // in the streams of Qt 5; in those of Qt 6 nothing has this number

/// One QRegExp under the key "a", in 84 bytes: put together by hand, since whoever makes such an object runs out of memory.
QByteArray hostileArguments()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << quint32(1) << QStringLiteral("a") << typeOfRegExp << qint8(0)
           << QStringLiteral("(((a{1,99}){1,99}){1,99}){1,99}") << quint8(Qt::CaseSensitive) << syntaxOfRegExp
           << quint8(0);
    return bytes;
}

QString answerOf(const QDBusReply<QByteArray> &reply)
{
    return reply.isValid() ? QString::number(KAuth::ActionReply::deserialize(reply.value()).error())
                           : reply.error().name();
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QString action = QCoreApplication::arguments().value(1);
    const QString manner = QCoreApplication::arguments().value(2);
    const bool hasMessage = manner == QLatin1String("message");
    const QString helper = QLatin1String(helperId);
    QVariantMap details;
    if (hasMessage) {
        details.insert(QStringLiteral("polkit.message"), QStringLiteral("Your password is wanted for something else"));
    }
    QDBusConnection bus = QDBusConnection::systemBus();
    const QDBusMessage call =
        performAction(helper + QLatin1Char('.') + action,
                      bus.baseService(),
                      manner == QLatin1String("pattern") ? hostileArguments() : encodedArguments(QVariantMap()),
                      details);
    if (manner == QLatin1String("leave")) {
        return bus.send(call) ? 0 : 1;
    }
    const QDBusReply<QByteArray> reply = bus.call(call, QDBus::Block, hasMessage ? promptLimit : timeLimit);
    QTextStream(stdout) << "answer " << answerOf(reply) << '\n';
    return reply.isValid() ? 0 : 1;
}
