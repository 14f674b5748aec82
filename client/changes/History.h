// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/settings/Setting.h"
#include "client/stores/StoreName.h"

#include <QDateTime>
#include <QMap>
#include <QVector>

/// The settings as they were before a change.
struct HistoryEntry {
    /// Where it is kept; set by whoever reads it.
    QString file;
    QDateTime time;
    /// None if the entry can't be understood.
    std::optional<StoreName> store;
    /// What was typed to change it.
    QString command;
    Settings before;
    /// What the change took away that an administrator had put there: by the path of a file, its unified diff.
    QMap<QString, QString> lost = {};
};

/**
 * The changes that this user has made, as JSON files in "accountpolicyctl" below $XDG_STATE_HOME (or ~/.local/state),
 * one for each change. The oldest go when there are more than a hundred. Without a folder there is no entry, and none
 * can be saved.
 */
class History
{
public:
    History();

    /// Empty for an account that has no home.
    QString folder() const;

    /**
     * Keeps one entry more.
     *
     * @param entry of a store that there is
     * @param file  receives where it is kept
     */
    Outcome save(const HistoryEntry &entry, QString *file) const;

    /// The newest first; the values of one that can't be understood are missing, as is its store.
    QVector<HistoryEntry> entries() const;

private:
    QStringList files() const;
    void removeOldest() const;

    QString m_folder;
};
