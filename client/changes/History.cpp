// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/History.h"

#include "client/Translation.h"
#include "client/changes/OwnFolder.h"
#include "client/settings/Document.h"
#include "client/stores/Stores.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTimeZone>

#include <algorithm>
#include <pwd.h>
#include <unistd.h>

namespace
{
constexpr int mostEntries = 100;

QString timeKey()
{
    return QStringLiteral("time");
}
QString storeKey()
{
    return QStringLiteral("of");
}
QString commandKey()
{
    return QStringLiteral("command");
}
QString beforeKey()
{
    return QStringLiteral("before");
}
QString wantedKey()
{
    return QStringLiteral("wanted");
}
QString lostKey()
{
    return QStringLiteral("lost");
}

/// Empty for a relative path, which doesn't count.
QString absoluteFolder(const char *path)
{
    const QString folder = QFile::decodeName(path);
    return QDir::isAbsolutePath(folder) ? folder : QString();
}

/// $HOME or, as for a unit of the system, what the account database says: QDir would take the root folder then.
QString home()
{
    const QString set = absoluteFolder(qgetenv("HOME").constData());
    const passwd *account = set.isEmpty() ? getpwuid(geteuid()) : nullptr;
    return account ? absoluteFolder(account->pw_dir) : set;
}

/// Empty where there is none.
QString stateHome()
{
    const QString set = absoluteFolder(qgetenv("XDG_STATE_HOME").constData());
    const QString fallback = set.isEmpty() ? home() : QString();
    return fallback.isEmpty() ? set : fallback + QLatin1String("/.local/state");
}

Outcome noWayBack(const QString &reason)
{
    return {
        ExitCode::Failed,
        translate("History",
                  "nothing was changed, since the way back cannot be saved; set XDG_STATE_HOME to a folder of yours")
            + QLatin1Char('\n') + reason};
}

/// The time in the name of an entry's file, by which entries are in order; invalid for any other file.
QDateTime placeOf(const QString &name)
{
    static const QRegularExpression form(QStringLiteral("\\A([0-9]{8})T([0-9]{9})-[0-9]+\\.json\\z"));
    const QRegularExpressionMatch match = form.match(name);
    const QDate date = QDate::fromString(match.captured(1), QStringLiteral("yyyyMMdd"));
    const QTime time = QTime::fromString(match.captured(2), QStringLiteral("HHmmsszzz"));
    return date.isValid() && time.isValid() ? QDateTime(date, time, QTimeZone::utc()).toUTC() : QDateTime();
}

/// The names of the entries, the newest first.
QStringList entryNames(const OwnFolder &folder)
{
    QStringList names;
    const auto all = folder.names();
    for (const QString &name : all) {
        if (placeOf(name).isValid()) {
            names += name;
        }
    }
    std::sort(names.rbegin(), names.rend());
    return names;
}

/// A name behind all others, whatever the clock says; the process tells apart what happens at the same time.
QString nextName(const QStringList &names, const QDateTime &time)
{
    const QDateTime place = names.isEmpty() ? time : qMax(time, placeOf(names.first()).addMSecs(1));
    return place.toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz-")) + QString::number(QCoreApplication::applicationPid())
        + QLatin1String(".json");
}

/// @return whether they are the settings of such a store
bool readSettings(const StoreName &store, const QJsonValue &value, Settings *settings)
{
    const SettingSchema &schema = *schemaOf(store);
    Wishes values;
    if (!value.isObject() || !settingsFromJson(schema, store.text(), value.toObject(), &values).isEmpty()) {
        return false;
    }
    *settings = fulfilled(schema, {}, values);
    return true;
}

/// @return whether it is understood; there may be no such object
bool readWanted(const StoreName &store, const QJsonValue &value, std::optional<Settings> *wanted)
{
    if (value.isUndefined()) {
        return true;
    }
    wanted->emplace();
    return readSettings(store, value, &**wanted);
}

QMap<QString, QString> textsIn(const QJsonObject &object)
{
    QMap<QString, QString> texts;
    for (auto member = object.begin(); member != object.end(); ++member) {
        texts.insert(member.key(), member.value().toString());
    }
    return texts;
}

QJsonObject textsToJson(const QMap<QString, QString> &texts)
{
    QJsonObject object;
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        object.insert(text.key(), text.value());
    }
    return object;
}
}

QJsonObject historyEntryToJson(const HistoryEntry &entry)
{
    const SettingSchema &schema = *schemaOf(*entry.store);
    QJsonObject object{{timeKey(), entry.time.toString(Qt::ISODateWithMs)},
                       {storeKey(), entry.store->text()},
                       {commandKey(), entry.command},
                       {beforeKey(), settingsToJson(schema, entry.before)}};
    if (entry.wanted) {
        object.insert(wantedKey(), settingsToJson(schema, *entry.wanted));
    }
    if (!entry.lost.isEmpty()) {
        object.insert(lostKey(), textsToJson(entry.lost));
    }
    return object;
}

History::History()
{
    const QString parent = stateHome();
    if (!parent.isEmpty()) {
        m_folder = QDir::cleanPath(parent + QLatin1String("/accountpolicyctl"));
    }
}

QString History::folder() const
{
    return m_folder;
}

QString History::refusal() const
{
    return m_folder.isEmpty() ? QString() : OwnFolder().open(m_folder);
}

Outcome History::save(const HistoryEntry &entry, QString *file) const
{
    if (m_folder.isEmpty()) {
        return noWayBack(translate("History", "this account has no home folder"));
    }
    OwnFolder kept;
    const QString reason = kept.make(m_folder);
    if (!reason.isEmpty()) {
        return noWayBack(reason);
    }
    const QStringList names = entryNames(kept);
    const QString name = nextName(names, entry.time);
    *file = m_folder + QLatin1Char('/') + name;
    const QString error = kept.write(name, QJsonDocument(historyEntryToJson(entry)).toJson());
    if (!error.isEmpty()) {
        return noWayBack(*file + QLatin1String(": ") + error);
    }
    const auto surplus = names.mid(mostEntries - 1);
    for (const QString &old : surplus) {
        kept.remove(old);
    }
    return {};
}

QVector<HistoryEntry> History::entries() const
{
    OwnFolder kept;
    if (m_folder.isEmpty() || !kept.open(m_folder).isEmpty()) {
        return {};
    }
    QVector<HistoryEntry> entries;
    const auto names = entryNames(kept);
    for (const QString &name : names) {
        entries += readEntry(kept, name);
    }
    return entries;
}

void History::remove(const QString &file) const
{
    OwnFolder kept;
    if (kept.open(m_folder).isEmpty()) {
        kept.remove(QFileInfo(file).fileName());
    }
}

HistoryEntry History::readEntry(const OwnFolder &kept, const QString &name) const
{
    const QJsonObject object = QJsonDocument::fromJson(kept.content(name)).object();
    HistoryEntry entry;
    entry.file = m_folder + QLatin1Char('/') + name;
    entry.time = QDateTime::fromString(object.value(timeKey()).toString(), Qt::ISODateWithMs);
    entry.command = object.value(commandKey()).toString();
    entry.lost = textsIn(object.value(lostKey()).toObject());
    const StoreName store = StoreName::fromText(object.value(storeKey()).toString());
    Settings before;
    std::optional<Settings> wanted;
    if (schemaOf(store) && entry.time.isValid() && readSettings(store, object.value(beforeKey()), &before)
        && readWanted(store, object.value(wantedKey()), &wanted)) {
        entry.store = store;
        entry.before = before;
        entry.wanted = wanted;
    }
    return entry;
}
