// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVector>

class QDBusArgument;

/// a{ss} on the bus.
using TextMap = QMap<QString, QString>;

/// (sayay) on the bus: what a write would make of a file.
struct ChangedFile {
    QString path;
    QByteArray before;
    QByteArray after;
};
using ChangedFiles = QVector<ChangedFile>;

/// (sxxxsx) on the bus; times are seconds since 1970, UTC.
struct LockedAccount {
    QString name;
    qlonglong failures = 0;
    qlonglong first = 0;
    qlonglong last = 0;
    QString source;
    /// 0 if it doesn't open by itself.
    qlonglong until = 0;
};
using LockedAccounts = QVector<LockedAccount>;

Q_DECLARE_METATYPE(ChangedFile)
Q_DECLARE_METATYPE(ChangedFiles)
Q_DECLARE_METATYPE(LockedAccount)
Q_DECLARE_METATYPE(LockedAccounts)

QDBusArgument &operator<<(QDBusArgument &argument, const ChangedFile &file);
const QDBusArgument &operator>>(const QDBusArgument &argument, ChangedFile &file);
QDBusArgument &operator<<(QDBusArgument &argument, const LockedAccount &account);
const QDBusArgument &operator>>(const QDBusArgument &argument, LockedAccount &account);

/// Has QtDBus know these types; before anything else of it is used.
void registerBusTypes();
