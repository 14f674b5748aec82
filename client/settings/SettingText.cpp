// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/SettingText.h"

#include "client/Translation.h"
#include "client/settings/TimeText.h"
#include "policies/expiration/DayCount.h"

#include <QRegularExpression>
#include <QSet>

namespace
{

QString neverWord()
{
    return QStringLiteral("never");
}

QString withUnit(Unit unit, qlonglong number)
{
    const int plural = static_cast<int>(qBound(0LL, qAbs(number), 1000000LL));
    QString text = QString::number(number);
    switch (unit) {
    case Unit::None:
        break;
    case Unit::FailedLogins:
        return (plural == 1 ? translate("SettingText", "%1 failed login")
                            : translate("SettingText", "%1 failed logins"))
            .arg(text);
    case Unit::Seconds:
        return number < 60 ? translate("SettingText", "%1 s").arg(text)
                           : translate("SettingText", "%1 s (%2)").arg(text, timeText(number));
    case Unit::Characters:
        return (plural == 1 ? translate("SettingText", "%1 character") : translate("SettingText", "%1 characters"))
            .arg(text);
    case Unit::Credits:
        if (number < 0) {
            return (plural == 1 ? translate("SettingText", "%1 (at least %2 character)")
                                : translate("SettingText", "%1 (at least %2 characters)"))
                .arg(text, QString::number(-number));
        }
        return (plural == 1 ? translate("SettingText", "%1 (a credit of at most %1 character)")
                            : translate("SettingText", "%1 (a credit of at most %1 characters)"))
            .arg(text);
    case Unit::Days:
        return (plural == 1 ? translate("SettingText", "%1 day") : translate("SettingText", "%1 days")).arg(text);
    }
    return text;
}

bool isYesOrNo(const Setting &setting)
{
    return setting.kind == SettingKind::Flag || setting.kind == SettingKind::Switch;
}

/// What the word stands for; an invalid variant where that is a setting that isn't set.
QVariant valueOfNever(Never never)
{
    switch (never) {
    case Never::MinusOne:
        return -1LL;
    case Never::Zero:
        return 0LL;
    case Never::NoWord:
    case Never::NotSet:
        break;
    }
    return {};
}

bool isNever(const Setting &setting, qlonglong number)
{
    return valueOfNever(setting.never) == QVariant(number);
}

/// How many seconds one of the unit has; 0 for what is no time.
qlonglong secondsIn(Unit unit)
{
    switch (unit) {
    case Unit::Days:
        return 86400;
    case Unit::Seconds:
        return 1;
    case Unit::None:
    case Unit::FailedLogins:
    case Unit::Characters:
    case Unit::Credits:
        break;
    }
    return 0;
}

/// A time that is a whole number of the setting's unit.
bool parseTimeIn(Unit unit, const QString &text, qlonglong *number)
{
    const qlonglong length = secondsIn(unit);
    const std::optional<qlonglong> seconds = parseTime(text);
    if (length == 0 || !seconds || *seconds % length != 0) {
        return false;
    }
    *number = *seconds / length;
    return true;
}

bool parseFlag(const QString &text, QVariant *value)
{
    static const QSet<QString> yes{QStringLiteral("yes"), QStringLiteral("true"), QStringLiteral("on")};
    static const QSet<QString> no{QStringLiteral("no"), QStringLiteral("false"), QStringLiteral("off")};
    if (!yes.contains(text) && !no.contains(text)) {
        return false;
    }
    *value = yes.contains(text);
    return true;
}

/// Decimal digits, with a minus before them or nothing: QString alone takes a plus and blanks too.
bool parseNumber(const QString &text, qlonglong *number)
{
    static const QRegularExpression form(QStringLiteral("\\A-?[0-9]+\\z"));
    bool fits = {};
    *number = text.toLongLong(&fits);
    return fits && form.match(text).hasMatch();
}

QString rangeText(const Setting &setting)
{
    switch (setting.kind) {
    case SettingKind::Flag:
    case SettingKind::Switch:
        break;
    case SettingKind::Text:
        return setting.form == TextForm::Path ? translate("SettingText", "a path that begins with / and has no blanks")
                                              : translate("SettingText", "a name without blanks");
    case SettingKind::Number:
        return translate("SettingText", "a whole number from %1 to %2")
            .arg(QString::number(setting.minimum), QString::number(setting.maximum));
    case SettingKind::Date:
        return translate("SettingText", "a date from %1 to %2, as YYYY-MM-DD or in days since 1970-01-01")
            .arg(dateText(setting.minimum), dateText(setting.maximum));
    }
    return translate("SettingText", "yes or no");
}
}

bool hasDate(qlonglong days)
{
    return !dayZero().addDays(days).toString(Qt::ISODate).isEmpty();
}

QString dateText(qlonglong days)
{
    return hasDate(days) ? dayZero().addDays(days).toString(Qt::ISODate) : QString::number(days);
}

bool parseDate(const QString &text, qlonglong *days)
{
    const QDate date = dateOf(text);
    *days = dayZero().daysTo(date);
    return date.isValid();
}

QString settingText(const Setting &setting, const QVariant &value)
{
    if (!value.isValid()) {
        return setting.never == Never::NotSet ? neverWord() : translate("SettingText", "not set");
    }
    if (isYesOrNo(setting)) {
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    }
    if (setting.kind == SettingKind::Text) {
        return value.toString();
    }
    const qlonglong number = value.toLongLong();
    if (isNever(setting, number)) {
        return neverWord();
    }
    return setting.kind == SettingKind::Date ? dateText(number) : QString::number(number);
}

QString settingWords(const Setting &setting, const QVariant &value)
{
    const bool plain = !value.isValid() || setting.kind != SettingKind::Number || isNever(setting, value.toLongLong());
    if (plain) {
        return settingText(setting, value);
    }
    const qlonglong number = value.toLongLong();
    const QString text = withUnit(setting.unit, number);
    return number >= setting.neverFrom ? translate("SettingText", "%1 (never)").arg(text) : text;
}

QString allowedText(const Setting &setting)
{
    QString allowed = rangeText(setting);
    if (setting.unit == Unit::Seconds) {
        allowed = translate("SettingText", "%1, or a time such as 1h30min").arg(allowed);
    } else if (setting.unit == Unit::Days) {
        allowed = translate("SettingText", "%1, or a time of whole days such as 2w").arg(allowed);
    }
    return setting.never == Never::NoWord ? allowed : translate("SettingText", "%1, or \"never\"").arg(allowed);
}

QString allowedInDocumentText(const Setting &setting)
{
    if (!isYesOrNo(setting)) {
        return translate("SettingText", "%1, or null").arg(rangeText(setting));
    }
    const QString either = translate("SettingText", "true or false");
    return setting.kind == SettingKind::Flag ? either : translate("SettingText", "%1, or null").arg(either);
}

QString descriptionText(const Setting &setting)
{
    return translate("Policies", setting.description);
}

QString explanationText(const Setting &setting)
{
    return translate("SettingText", "%1: %2").arg(descriptionText(setting), allowedText(setting));
}

bool parseSettingText(const Setting &setting, const QString &text, QVariant *value)
{
    if (isYesOrNo(setting)) {
        return parseFlag(text, value);
    }
    if (setting.kind == SettingKind::Text) {
        *value = text;
        return true;
    }
    if (setting.never != Never::NoWord && text == neverWord()) {
        *value = valueOfNever(setting.never);
        return true;
    }
    qlonglong number = {};
    const bool understood = parseNumber(text, &number) || parseTimeIn(setting.unit, text, &number)
        || (setting.kind == SettingKind::Date && parseDate(text, &number));
    if (!understood) {
        return false;
    }
    *value = number;
    return true;
}
