// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Warnings.h"

#include "client/Translation.h"
#include "client/settings/SettingText.h"

namespace
{
QString maxKey()
{
    return QStringLiteral("maxInterval");
}

QString minKey()
{
    return QStringLiteral("minInterval");
}

QString dateKey()
{
    return QStringLiteral("expireDate");
}

/// Of a policy that has no such setting, too: none is what "never" means.
qlonglong daysIn(const Settings &settings, const QString &key)
{
    return settings.value(key, -1LL).toLongLong();
}
}

QStringList warningTexts(const SettingSchema &schema, const Settings &before, const Settings &wanted, qlonglong today)
{
    const QStringList changed = differingKeys(schema, before, wanted);
    const qlonglong mostDays = daysIn(wanted, maxKey());
    const qlonglong leastDays = daysIn(wanted, minKey());
    QStringList texts;
    if ((changed.contains(maxKey()) || changed.contains(minKey())) && mostDays >= 0 && leastDays > mostDays) {
        texts +=
            translate("Warnings", "minInterval (%1) is above maxInterval (%2): users cannot change their passwords")
                .arg(QString::number(leastDays), QString::number(mostDays));
    }
    if (changed.contains(maxKey()) && mostDays == 0) {
        texts += translate("Warnings", "maxInterval is 0: a password expires on the day on which it is set");
    }
    if (changed.contains(dateKey()) && wanted.contains(dateKey()) && daysIn(wanted, dateKey()) <= today) {
        texts += translate("Warnings", "expireDate %1 is not in the future: an account with it has expired")
                     .arg(dateText(daysIn(wanted, dateKey())));
    }
    return texts;
}
