// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/ExpirationFiles.h"

#include "policies/expiration/DayCount.h"

namespace
{
QVariant readInt(const QString &text)
{
    return text.toInt();
}

QString writeInt(const QVariant &argument)
{
    return QString::number(argument.toInt());
}

QString writeLongLong(const QVariant &argument)
{
    return QString::number(argument.toLongLong());
}

QVariant readDate(const QString &text)
{
    const QDate date = dateOf(text);
    return date.isValid() ? QVariant(dayZero().daysTo(date)) : QVariant();
}

/// No value is special: -1 is a day before day 0, and days outside the calendar have no text.
QString writeDate(const QVariant &argument)
{
    return dayZero().addDays(argument.toLongLong()).toString(dateFormat());
}

FileSetting ageingSetting(const QString &name, const QString &key)
{
    return {name, key, readInt, writeInt, "\n"};
}
}

const SettingsFile &loginDefs()
{
    static const SettingsFile file{
        QStringLiteral("/etc/login.defs"),
        QStringLiteral(R"(\s*)"),
        QStringLiteral(R"(-?\d+)"),
        QStringLiteral(" "),
        {
            ageingSetting(QStringLiteral("PASS_MAX_DAYS"), QStringLiteral("maxInterval")),
            ageingSetting(QStringLiteral("PASS_MIN_DAYS"), QStringLiteral("minInterval")),
            ageingSetting(QStringLiteral("PASS_WARN_AGE"), QStringLiteral("warningInterval")),
        },
    };
    return file;
}

const SettingsFile &useraddDefaults()
{
    static const SettingsFile file{
        QStringLiteral("/etc/default/useradd"),
        QStringLiteral(R"(\s*=\s*)"),
        QStringLiteral(R"(\S*)"),
        QStringLiteral("="),
        {
            {QStringLiteral("INACTIVE"), QStringLiteral("inactiveInterval"), readInt, writeLongLong, "\n"},
            // added last, without a line end: the file then ends with the date
            {QStringLiteral("EXPIRE"), QStringLiteral("expireDate"), readDate, writeDate, ""},
        },
    };
    return file;
}
