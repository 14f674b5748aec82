// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/TimeText.h"

#include "client/Translation.h"

#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include <limits>

namespace
{
/// The most days that a setting can have.
constexpr qlonglong longest = std::numeric_limits<int>::max() * 86400LL;

/// How many seconds a unit has, as it is typed; 0 if there is no such unit. Months and years are none: they have no
/// certain number of days.
qlonglong secondsOf(const QString &unit)
{
    static const QMap<qlonglong, QString> units{{1, QStringLiteral("s sec second seconds")},
                                                {60, QStringLiteral("m min minute minutes")},
                                                {3600, QStringLiteral("h hr hour hours")},
                                                {86400, QStringLiteral("d day days")},
                                                {604800, QStringLiteral("w week weeks")}};
    for (auto names = units.cbegin(); names != units.cend(); ++names) {
        if (names.value().split(QLatin1Char(' ')).contains(unit)) {
            return names.key();
        }
    }
    return 0;
}
}

QString timeText(qlonglong seconds)
{
    const struct {
        qlonglong length;
        QString text;
    } parts[] = {{86400, translate("TimeText", "%1 d")},
                 {3600, translate("TimeText", "%1 h")},
                 {60, translate("TimeText", "%1 min")},
                 {1, translate("TimeText", "%1 s")}};
    QStringList words;
    for (const auto &part : parts) {
        if (seconds >= part.length) {
            words += part.text.arg(seconds / part.length);
            seconds %= part.length;
        }
    }
    return words.mid(0, 2).join(QLatin1Char(' '));
}

std::optional<qlonglong> parseTime(const QString &text)
{
    static const QString part = QStringLiteral("([0-9]{1,10}) ?([a-z]+)");
    static const QRegularExpression form(QStringLiteral("\\A%1(?: ?%1)*\\z").arg(part));
    static const QRegularExpression next(part);
    if (!form.match(text).hasMatch()) {
        return std::nullopt;
    }
    qlonglong seconds = 0;
    QRegularExpressionMatchIterator parts = next.globalMatch(text);
    while (parts.hasNext()) {
        const QRegularExpressionMatch match = parts.next();
        const qlonglong unit = secondsOf(match.captured(2));
        seconds += match.captured(1).toLongLong() * unit;
        // the sum of any more parts is too much too
        if (unit == 0 || seconds > longest) {
            return std::nullopt;
        }
    }
    return seconds;
}
