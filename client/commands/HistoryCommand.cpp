// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/HistoryCommand.h"

#include "client/Translation.h"
#include "client/commands/ChangeArgument.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/SettingText.h"
#include "client/stores/Stores.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace
{
constexpr int formatVersion = 1;

QString timeText(const HistoryEntry &entry)
{
    return entry.time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString listText(const QVector<HistoryEntry> &entries)
{
    QVector<QStringList> rows;
    for (const HistoryEntry &entry : entries) {
        const QString number = QString::number(rows.size() + 1);
        rows += entry.store
            ? QStringList{number, timeText(entry), changeCell(entry.command)}
            : QStringList{number, translate("HistoryCommand", "cannot be read: %1").arg(changeCell(entry.file))};
    }
    return table(rows, 0);
}

/// What was asked for beside what was before; all that was before, where nobody knows what was asked for.
QString settingsText(const HistoryEntry &entry)
{
    const SettingSchema &schema = *schemaOf(*entry.store);
    QVector<QStringList> rows{{entry.store->text(), translate("HistoryCommand", "before")}};
    if (entry.wanted) {
        rows.first() += translate("HistoryCommand", "wanted");
    }
    const auto keys = entry.wanted ? differingKeys(schema, entry.before, *entry.wanted) : schema.keys();
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        rows += {key, settingWords(setting, entry.before.value(key))};
        if (entry.wanted) {
            rows.last() += settingWords(setting, entry.wanted->value(key));
        }
    }
    return rows.size() == 1 ? QString() : QLatin1Char('\n') + table(rows, 0);
}

QString lostText(const HistoryEntry &entry)
{
    QString text;
    for (auto file = entry.lost.cbegin(); file != entry.lost.cend(); ++file) {
        text += QLatin1Char('\n') + translate("HistoryCommand", "What went from %1:").arg(file.key())
            + QLatin1Char('\n') + file.value();
    }
    return text;
}

QString changeText(const HistoryEntry &entry)
{
    const QVector<QStringList> rows{
        {translate("HistoryCommand", "time"), timeText(entry)},
        {translate("HistoryCommand", "settings of"), changeCell(entry.store->text())},
        {translate("HistoryCommand", "command"), changeCell(entry.command)},
    };
    return table(rows, 0) + settingsText(entry) + lostText(entry);
}

QJsonObject changeToJson(int number, const HistoryEntry &entry)
{
    QJsonObject object = entry.store ? historyEntryToJson(entry) : QJsonObject();
    object.insert(QStringLiteral("number"), number);
    object.insert(QStringLiteral("file"), entry.file);
    return object;
}

/// In ASCII alone, so that it is the same in each encoding, and a terminal obeys nothing of it.
QString asciiText(const QJsonObject &object)
{
    QString ascii;
    const QString text = QString::fromUtf8(QJsonDocument(object).toJson());
    for (const QChar character : text) {
        const ushort code = character.unicode();
        ascii += code < 0x7f ? QString(character) : QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
    }
    return ascii;
}

/// The changes from one number to another.
void printChanges(const QVector<HistoryEntry> &entries, int first, qsizetype last)
{
    QJsonArray changes;
    for (int number = first; number <= last; ++number) {
        changes += changeToJson(number, entries.at(number - 1));
    }
    const QJsonObject document{{QStringLiteral("version"), formatVersion}, {QStringLiteral("changes"), changes}};
    out().write(asciiText(document));
}
}

QString HistoryCommand::name() const
{
    return QStringLiteral("history");
}

QString HistoryCommand::summary() const
{
    return translate("HistoryCommand", "List the changes that can be undone.");
}

QList<Argument> HistoryCommand::arguments() const
{
    return changeArguments(translate("HistoryCommand", "Show this change, with its settings; all if not given."));
}

QList<QCommandLineOption> HistoryCommand::options() const
{
    return {jsonOption()};
}

ExitCode HistoryCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    QVector<HistoryEntry> entries;
    int number = {};
    ExitCode result = readChanges(&entries);
    if (result == ExitCode::Done && !words.isEmpty()) {
        result = findChange(entries, words.first(), &number);
    }
    if (result != ExitCode::Done) {
        return result;
    }
    if (line.isSet(QStringLiteral("json"))) {
        printChanges(entries, words.isEmpty() ? 1 : number, words.isEmpty() ? entries.size() : number);
    } else {
        out().write(words.isEmpty() ? listText(entries) : printable(changeText(entries.at(number - 1))));
    }
    return ExitCode::Done;
}

QVector<Candidate> HistoryCommand::candidates(const QStringList &before) const
{
    return changeCandidates(before);
}
