// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/BusTypes.h"

#include <QDBusArgument>
#include <QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const ChangedFile &file)
{
    argument.beginStructure();
    argument << file.path << file.before << file.after;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ChangedFile &file)
{
    argument.beginStructure();
    argument >> file.path >> file.before >> file.after;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const LockedAccount &account)
{
    argument.beginStructure();
    argument << account.name << account.failures << account.first << account.last << account.source << account.until;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, LockedAccount &account)
{
    argument.beginStructure();
    argument >> account.name >> account.failures >> account.first >> account.last >> account.source >> account.until;
    argument.endStructure();
    return argument;
}

void registerBusTypes()
{
    // by the name that methods call it
    qRegisterMetaType<TextMap>("TextMap");
    qDBusRegisterMetaType<TextMap>();
    qDBusRegisterMetaType<ChangedFile>();
    qDBusRegisterMetaType<ChangedFiles>();
    qDBusRegisterMetaType<LockedAccount>();
    qDBusRegisterMetaType<LockedAccounts>();
}
