// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A caller of the service, a process of its own as callers are. Standard input has, by QDataStream, a method's name, its
// arguments, whether somebody may be asked for a password, and how many such calls to send at once. Each answer comes on
// standard output, one a line: the values with their types, or the error's name and text.

#include "service/ServiceNames.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDataStream>
#include <QFile>

#include <cstdlib>

namespace
{
constexpr int limit = 120000; // ms

QString textOf(const QDBusArgument &argument);

QString textOf(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return textOf(value.value<QDBusArgument>());
    }
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return textOf(value.value<QDBusVariant>().variant());
    }
    if (value.userType() == QMetaType::QStringList) {
        return QLatin1String("QStringList ") + value.toStringList().join(QLatin1String(", "));
    }
    return QString::fromLatin1(value.typeName()) + QLatin1Char(' ') + value.toString();
}

QString textOfEntry(const QDBusArgument &argument)
{
    argument.beginMapEntry();
    const QString key = argument.asVariant().toString();
    const QString value = textOf(argument.asVariant());
    argument.endMapEntry();
    return key + QLatin1String(": ") + value;
}

QString textOf(const QDBusArgument &argument)
{
    QStringList parts;
    switch (argument.currentType()) {
    case QDBusArgument::MapType:
        argument.beginMap();
        while (!argument.atEnd()) {
            parts += textOfEntry(argument);
        }
        argument.endMap();
        return QLatin1Char('{') + parts.join(QLatin1String(", ")) + QLatin1Char('}');
    case QDBusArgument::ArrayType:
        argument.beginArray();
        while (!argument.atEnd()) {
            parts += textOf(argument.asVariant());
        }
        argument.endArray();
        return QLatin1Char('[') + parts.join(QLatin1String(", ")) + QLatin1Char(']');
    case QDBusArgument::StructureType:
        argument.beginStructure();
        while (!argument.atEnd()) {
            parts += textOf(argument.asVariant());
        }
        argument.endStructure();
        return QLatin1Char('(') + parts.join(QLatin1String(", ")) + QLatin1Char(')');
    default:
        return textOf(argument.asVariant());
    }
}

QString textOf(const QDBusMessage &answer)
{
    if (answer.type() == QDBusMessage::ErrorMessage) {
        return answer.errorName() + QLatin1String(": ") + answer.errorMessage();
    }
    QStringList values;
    for (const QVariant &value : answer.arguments()) {
        values += textOf(value);
    }
    return values.join(QLatin1String("; "));
}
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QFile input;
    QFile output;
    if (!input.open(stdin, QIODevice::ReadOnly) || !output.open(stdout, QIODevice::WriteOnly)) {
        return 1;
    }
    QString method;
    QVariantList arguments;
    bool mayAsk = false;
    int count = 0;
    QDataStream request(input.readAll());
    request >> method >> arguments >> mayAsk >> count;

    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(serviceName), QLatin1String(servicePath), QLatin1String(serviceName), method);
    call.setArguments(arguments);
    call.setInteractiveAuthorizationAllowed(mayAsk);
    int left = count;
    for (int i = 0; i < count; ++i) {
        auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(call, limit));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [&, watcher] {
            output.write(textOf(watcher->reply()).toUtf8() + '\n');
            output.flush();
            if (--left == 0) {
                // without tearing anything down: the answers are complete
                std::_Exit(0);
            }
        });
    }
    return QCoreApplication::exec();
}
