// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleFile.h"

#include <QMap>
#include <QRegularExpression>

#include <optional>

namespace
{
using SettingKind = ModuleSetting::Kind;

/// What a line, or an option, sets.
struct ModuleEntry {
    QString name;
    QString text;
};

/// The one that the module takes a name for; null for none.
const ModuleSetting *settingTaken(const ModulePolicy &policy, const QString &name)
{
    const Qt::CaseSensitivity sensitivity = policy.ignoresCase ? Qt::CaseInsensitive : Qt::CaseSensitive;
    for (const ModuleSetting &setting : policy.settings) {
        if (setting.name.compare(name, sensitivity) == 0) {
            return &setting;
        }
    }
    return nullptr;
}

/// A name ends at a blank, too.
ModuleEntry entryIn(const QByteArray &line)
{
    static const QRegularExpression form(QStringLiteral(R"(\A\s*([^\s=]+)\s*=?\s*(.*?)\s*\z)"));
    const QRegularExpressionMatch match = form.match(QString::fromLatin1(line.mid(0, line.indexOf('#'))));
    return {match.captured(1), match.captured(2)};
}

/// As scanf(3) does: what stands behind the digits doesn't count.
std::optional<qlonglong> leadingNumber(const QString &text)
{
    static const QRegularExpression form(QStringLiteral(R"(\A[+-]?[0-9]+)"));
    bool isNumber = false;
    const qlonglong number = form.match(text).captured().toLongLong(&isNumber);
    return isNumber ? std::make_optional(number) : std::nullopt;
}

QVariant numberIn(const ModuleSetting &setting, const QString &text)
{
    const std::optional<qlonglong> number = leadingNumber(text);
    if (!number) {
        return {};
    }
    return setting.isShort ? qlonglong(static_cast<quint16>(*number)) : *number;
}

QVariant secondsIn(const ModuleSetting &setting, const QString &text)
{
    if (setting.zeroIsNever && text == QLatin1String("never")) {
        return 0LL;
    }
    const std::optional<qlonglong> number = leadingNumber(text);
    return number && *number >= 0 && *number <= setting.maximum ? QVariant(*number) : QVariant();
}

/// Invalid for what the module doesn't take.
QVariant valueIn(const ModuleSetting &setting, const QString &text)
{
    const std::optional<qlonglong> number = leadingNumber(text);
    switch (setting.kind) {
    case SettingKind::Flag:
        return true;
    case SettingKind::Switch:
        return number ? QVariant(*number != 0) : QVariant();
    case SettingKind::Number:
        return numberIn(setting, text);
    case SettingKind::Seconds:
        return secondsIn(setting, text);
    case SettingKind::Text:
        return text.isEmpty() ? QVariant() : QVariant(text);
    case SettingKind::Path:
        return text.startsWith(QLatin1Char('/')) ? QVariant(text) : QVariant();
    }
    return {};
}

QString textOf(const ModuleSetting &setting, const QVariant &value)
{
    return setting.kind == SettingKind::Switch ? QString::number(int(value.toBool())) : value.toString();
}

/// What one entry after the other sets; the later ones win.
QVariantMap valuesIn(const ModulePolicy &policy, const QVector<ModuleEntry> &entries)
{
    QVariantMap values;
    for (const ModuleEntry &entry : entries) {
        const ModuleSetting *setting = settingTaken(policy, entry.name);
        const QVariant value = setting ? valueIn(*setting, entry.text) : QVariant();
        if (value.isValid()) {
            values.insert(setting->name, value);
        } else if (setting && setting->kind == SettingKind::Text) {
            values.remove(setting->name); // nothing is a text, too
        }
    }
    return values;
}

/// Without those of a setting that has one before; and who looks for the first one skips any signs before its text.
QVector<ModuleEntry> firstOfEach(const ModulePolicy &policy, const QVector<ModuleEntry> &entries)
{
    static const QRegularExpression signs(QStringLiteral(R"(\A[\s=]+)"));
    QVector<ModuleEntry> first;
    QVector<const ModuleSetting *> met;
    for (const ModuleEntry &entry : entries) {
        const ModuleSetting *setting = settingTaken(policy, entry.name);
        if (!met.contains(setting)) {
            met += setting;
            first += ModuleEntry{entry.name, QString(entry.text).remove(signs)};
        }
    }
    return first;
}

/// An option as its module takes it; without a name if it doesn't.
ModuleEntry optionEntry(const ModulePolicy &policy, const QString &option)
{
    const auto nameEnd = option.indexOf(QLatin1Char('='));
    ModuleEntry entry{option.mid(0, nameEnd), nameEnd == -1 ? QString() : option.mid(nameEnd + 1)};
    const ModuleSetting *setting = settingTaken(policy, entry.name);
    if (!setting || nameEnd == -1 || !policy.strictOptions) {
        return entry;
    }
    if (setting->kind == SettingKind::Flag) {
        return {};
    }
    return leadingNumber(entry.text) ? entry : ModuleEntry{entry.name, QStringLiteral("0")};
}

QByteArray settingLine(const ModuleSetting &setting, const QVariant &value)
{
    const QString text =
        setting.kind == SettingKind::Flag ? setting.name : setting.name + QLatin1String(" = ") + textOf(setting, value);
    return text.toLatin1();
}

/// The line with another setting, or without one; null if nothing of it is left.
QByteArray lineWith(const QByteArray &setting, const QByteArray &line)
{
    const QByteArray comment = line.contains('#') ? line.mid(line.indexOf('#')) : QByteArray();
    const QByteArray gap = setting.isEmpty() || comment.isEmpty() ? "" : "\t";
    return setting.isEmpty() && comment.isEmpty() ? QByteArray() : setting + gap + comment;
}
}

QVariantMap moduleFileValues(const ModulePolicy &policy, const QByteArray &content, QString *error)
{
    if (policy.readContent) {
        return policy.readContent(content, error);
    }
    QVector<ModuleEntry> entries;
    const auto lines = content.split('\n');
    for (const QByteArray &line : lines) {
        entries += entryIn(line);
    }
    return valuesIn(policy, policy.takesFirstLine ? firstOfEach(policy, entries) : entries);
}

QByteArray moduleFileWith(const ModulePolicy &policy,
                          const QByteArray &content,
                          const QVariantMap &values,
                          const QStringList &kept)
{
    QVariantMap left = setValues(policy, values);
    QByteArrayList lines = content.split('\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast(); // it ends with a line end, or is empty
    }
    QByteArrayList written;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        const ModuleEntry entry = entryIn(*line);
        const ModuleSetting *setting = settingTaken(policy, entry.name);
        const QVariant wanted = setting ? left.take(setting->name) : QVariant();
        const QVariant present = setting ? valueIn(*setting, entry.text) : QVariant();
        const bool isKept =
            setting && !present.isValid() && !values.contains(setting->name) && kept.contains(setting->name);
        const bool isAsWanted = !setting || isKept || (wanted.isValid() && present == wanted);
        const QByteArray text = wanted.isValid() ? settingLine(*setting, wanted) : QByteArray();
        const QByteArray rebuilt = isAsWanted ? *line : lineWith(text, *line);
        if (isAsWanted || !rebuilt.isNull()) {
            written.prepend(rebuilt);
        }
    }
    for (const ModuleSetting &setting : policy.settings) {
        if (left.contains(setting.name)) {
            written += settingLine(setting, left.value(setting.name));
        }
    }
    return written.isEmpty() ? QByteArray("") : written.join('\n') + '\n';
}

QVariantMap moduleOptionValues(const ModulePolicy &policy, const QStringList &options)
{
    QVector<ModuleEntry> entries;
    for (const QString &option : options) {
        entries += optionEntry(policy, option);
    }
    return valuesIn(policy, entries);
}

QStringList moduleOptionsWith(const ModulePolicy &policy, const QStringList &options, const QVariantMap &values)
{
    QStringList written;
    for (const QString &option : options) {
        if (!settingTaken(policy, option.section(QLatin1Char('='), 0, 0))) {
            written += option;
        }
    }
    const QVariantMap set = setValues(policy, values);
    for (const ModuleSetting &setting : policy.settings) {
        const QVariant value = set.value(setting.name);
        if (value.isValid()) {
            const QString text = QLatin1Char('=') + textOf(setting, value);
            written += setting.kind == SettingKind::Flag ? setting.name : setting.name + text;
        }
    }
    return written;
}

QVariantMap setValues(const ModulePolicy &policy, const QVariantMap &values)
{
    QVariantMap set = values;
    for (const ModuleSetting &setting : policy.settings) {
        if (setting.kind == SettingKind::Flag && !set.value(setting.name).toBool()) {
            set.remove(setting.name);
        }
    }
    return set;
}
