// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/TimeText.h"

#include "client/Translation.h"

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
    static constexpr struct {
        qlonglong length;
        const char *names;
    } units[] = {{1, "s sec second seconds"},
                 {60, "m min minute minutes"},
                 {3600, "h hr hour hours"},
                 {86400, "d day days"},
                 {604800, "w week weeks"}};
    for (const auto &row : units) {
        if (QString::fromLatin1(row.names).split(QLatin1Char(' ')).contains(unit)) {
            return row.length;
        }
    }
    return 0;
}
}

QString timeText(qlonglong seconds)
{
    struct Part {
        qlonglong length;
        const char *text;
    };
    static constexpr Part parts[] = {{86400, QT_TRANSLATE_NOOP("TimeText", "%1 d")},
                                     {3600, QT_TRANSLATE_NOOP("TimeText", "%1 h")},
                                     {60, QT_TRANSLATE_NOOP("TimeText", "%1 min")},
                                     {1, QT_TRANSLATE_NOOP("TimeText", "%1 s")}};
    QStringList words;
    for (const Part &part : parts) {
        if (seconds >= part.length) {
            words += translate("TimeText", part.text).arg(seconds / part.length);
            seconds %= part.length;
        }
    }
    return words.mid(0, 2).join(QLatin1Char(' '));
}

bool parseTime(const QString &text, qlonglong *seconds)
{
    static const QString part = QStringLiteral("([0-9]{1,10}) ?([a-z]+)");
    static const QRegularExpression form(QStringLiteral("\\A%1(?: ?%1)*\\z").arg(part));
    static const QRegularExpression next(part);
    if (!form.match(text).hasMatch()) {
        return false;
    }
    *seconds = 0;
    QRegularExpressionMatchIterator parts = next.globalMatch(text);
    while (parts.hasNext()) {
        const QRegularExpressionMatch match = parts.next();
        const qlonglong unit = secondsOf(match.captured(2));
        *seconds += match.captured(1).toLongLong() * unit;
        // the sum of any more parts is too much too
        if (unit == 0 || *seconds > longest) {
            return false;
        }
    }
    return true;
}
