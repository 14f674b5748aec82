// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/settings/Setting.h"
#include "client/stores/StoreName.h"

#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QVector>

#include <optional>

class OwnFolder;

/// A change, and the settings as they were before it.
struct HistoryEntry {
    /// Where it is kept; set by whoever reads it.
    QString file;
    QDateTime time;
    /// None if the entry can't be understood.
    std::optional<StoreName> store;
    /// What was typed to change it.
    QString command;
    Settings before;
    /// What was asked for; none if it was saved by a version that didn't keep it.
    std::optional<Settings> wanted = {};
    /// What of others the change took out of files: a unified diff by the path of each.
    QMap<QString, QString> lost = {};
};

/// The entry as it is kept; its store is one that there is.
QJsonObject historyEntryToJson(const HistoryEntry &entry);

/**
 * The changes that this user has made, as JSON files in "accountpolicyctl" below $XDG_STATE_HOME (or ~/.local/state),
 * one for each change. The oldest go when there are more than a hundred. Without a folder there is no entry, and none
 * can be saved. The folder and its files must be the user's own.
 */
class History
{
public:
    History();

    /// Empty for an account that has no home.
    QString folder() const;

    /// Why nothing of the folder is read; empty if there is no reason.
    QString refusal() const;

    /**
     * Keeps one entry more, which is the newest from then on.
     *
     * @param entry of a store that there is
     * @param file  receives where it is kept
     */
    Outcome save(const HistoryEntry &entry, QString *file) const;

    /// The newest first; the values of one that can't be understood are missing, as is its store.
    QVector<HistoryEntry> entries() const;

    /// Keeps it no more.
    void remove(const QString &file) const;

private:
    HistoryEntry readEntry(const OwnFolder &kept, const QString &name) const;

    QString m_folder;
};
