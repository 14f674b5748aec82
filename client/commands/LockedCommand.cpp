// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/LockedCommand.h"

#include "client/Translation.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/stores/ModuleAccess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
constexpr int lockedVersion = 1;

QString localTime(const QDateTime &time)
{
    return time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString lockedText(const QVector<FailureRecord> &locked)
{
    if (locked.isEmpty()) {
        return translate("LockedCommand", "no account is locked after failed logins") + QLatin1Char('\n');
    }
    QVector<QStringList> rows{{translate("LockedCommand", "account"),
                               translate("LockedCommand", "failures"),
                               translate("LockedCommand", "first"),
                               translate("LockedCommand", "last"),
                               translate("LockedCommand", "until"),
                               translate("LockedCommand", "from")}};
    for (const FailureRecord &record : locked) {
        rows += {record.account,
                 QString::number(record.failures),
                 localTime(record.first),
                 localTime(record.last),
                 record.until ? localTime(*record.until) : translate("LockedCommand", "unlocked"),
                 record.source};
    }
    return table(rows, 0);
}

QString lockedJson(const QVector<FailureRecord> &locked)
{
    QJsonArray accounts;
    for (const FailureRecord &record : locked) {
        accounts += QJsonObject{
            {QStringLiteral("account"), record.account},
            {QStringLiteral("failures"), record.failures},
            {QStringLiteral("first"), record.first.toString(Qt::ISODate)},
            {QStringLiteral("last"), record.last.toString(Qt::ISODate)},
            {QStringLiteral("until"), record.until ? QJsonValue(record.until->toString(Qt::ISODate)) : QJsonValue()},
            {QStringLiteral("source"), record.source}};
    }
    const QJsonObject document{{QStringLiteral("version"), lockedVersion}, {QStringLiteral("locked"), accounts}};
    return QString::fromUtf8(QJsonDocument(document).toJson());
}
}

QString LockedCommand::name() const
{
    return QStringLiteral("locked");
}

QString LockedCommand::summary() const
{
    return translate("LockedCommand", "List the accounts that are locked after failed logins.");
}

QList<QCommandLineOption> LockedCommand::options() const
{
    return QList<QCommandLineOption>{jsonOption()} + accessOptions();
}

ExitCode LockedCommand::run(const QCommandLineParser &line) const
{
    if (!line.positionalArguments().isEmpty()) {
        return tooManyArguments(line.positionalArguments().constFirst());
    }
    PolicyAccess access = accessOf(line);
    QVector<FailureRecord> locked;
    const Outcome read = ModuleAccess(&access).readLocked(&locked);
    // one record that can't be read hides no other
    if (read.succeeded() || !locked.isEmpty()) {
        out().write(line.isSet(QStringLiteral("json")) ? lockedJson(locked) : printable(lockedText(locked)));
    }
    if (!read.succeeded()) {
        printError(read.error);
    }
    return read.code;
}
