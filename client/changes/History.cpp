// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/History.h"

#include "client/Translation.h"
#include "client/settings/Document.h"
#include "client/stores/Stores.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

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

QByteArray textOf(const HistoryEntry &entry)
{
    const QJsonObject object{{timeKey(), entry.time.toString(Qt::ISODateWithMs)},
                             {storeKey(), entry.store->text()},
                             {commandKey(), entry.command},
                             {beforeKey(), settingsToJson(*schemaOf(*entry.store), entry.before)}};
    return QJsonDocument(object).toJson();
}

HistoryEntry readEntry(const QString &path)
{
    QFile file(path);
    HistoryEntry entry;
    entry.file = path;
    const QJsonObject object =
        file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
    entry.time = QDateTime::fromString(object.value(timeKey()).toString(), Qt::ISODateWithMs);
    entry.command = object.value(commandKey()).toString();
    const StoreName name = StoreName::fromText(object.value(storeKey()).toString());
    const SettingSchema *schema = schemaOf(name);
    Wishes values;
    if (schema && entry.time.isValid() && object.value(beforeKey()).isObject()
        && settingsFromJson(*schema, name.text(), object.value(beforeKey()).toObject(), &values).isEmpty()) {
        entry.store = name;
        entry.before = fulfilled(*schema, {}, values);
    }
    return entry;
}
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

Outcome History::save(const HistoryEntry &entry, QString *file) const
{
    if (m_folder.isEmpty()) {
        return noWayBack(translate("History", "this account has no home folder"));
    }
    QDir().mkpath(m_folder);
    // names sort by time; the process tells apart what happens at the same one
    *file = m_folder + entry.time.toString(QStringLiteral("/yyyyMMdd'T'HHmmsszzz-"))
        + QString::number(QCoreApplication::applicationPid()) + QLatin1String(".json");
    QSaveFile target(*file);
    const QByteArray text = textOf(entry);
    if (!target.open(QIODevice::WriteOnly) || target.write(text) != text.size() || !target.commit()) {
        return noWayBack(*file + QLatin1String(": ") + target.errorString());
    }
    removeOldest();
    return {};
}

QVector<HistoryEntry> History::entries() const
{
    QVector<HistoryEntry> entries;
    const auto kept = files();
    for (const QString &file : kept) {
        entries += readEntry(file);
    }
    return entries;
}

QStringList History::files() const
{
    if (m_folder.isEmpty()) {
        return {}; // for QDir that is the current folder
    }
    const QDir changes(m_folder);
    QStringList paths;
    const auto names = changes.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name | QDir::Reversed);
    for (const QString &name : names) {
        paths += changes.filePath(name);
    }
    return paths;
}

void History::removeOldest() const
{
    const auto surplus = files().mid(mostEntries);
    for (const QString &path : surplus) {
        QFile::remove(path);
    }
}
