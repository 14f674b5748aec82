// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "HelperId.h"

#include <QDBusMessage>
#include <QDataStream>
#include <QIODevice>
#include <QVariantMap>

#if QT_VERSION_MAJOR >= 6
#    include <QDBusMetaType>
#    include <QDBusUnixFileDescriptor>
#endif

/// A call of a method of the helper's, as KAuth has given it one.
inline QDBusMessage helperMethod(const QString &method)
{
    return QDBusMessage::createMethodCall(
        QLatin1String(helperId), QStringLiteral("/"), QLatin1String(kauthInterface), method);
}

/**
 * Arguments of an action as they go over the bus: a data stream of the version that is Qt's own.
 *
 * The last comes first, as Qt 5 writes a map; Qt 6 would begin with the first.
 */
inline QByteArray encodedArguments(const QVariantMap &arguments)
{
    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    stream << static_cast<quint32>(arguments.size());
    for (auto it = arguments.end(); it != arguments.begin();) {
        --it;
        stream << it.key() << it.value();
    }
    return encoded;
}

/**
 * The call that KAuth's helper side takes.
 *
 * @param caller  the name on the bus of the process that polkit is asked about: the sender's own
 * @param details for polkit's prompt
 */
inline QDBusMessage performAction(const QString &action,
                                  const QString &caller,
                                  const QByteArray &arguments,
                                  const QVariantMap &details = QVariantMap())
{
    QDBusMessage call = helperMethod(QStringLiteral("performAction"));
    call << action << caller.toUtf8() << details << arguments;
#if QT_VERSION_MAJOR >= 6
    // from Frameworks 6 on: arguments that are open files, of which no action here takes any
    using FileArguments = QMap<QString, QDBusUnixFileDescriptor>;
    qDBusRegisterMetaType<FileArguments>();
    call << QVariant::fromValue(FileArguments());
#endif
    return call;
}
