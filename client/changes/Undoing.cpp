// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Undoing.h"

#include "client/Translation.h"
#include "client/changes/Change.h"
#include "client/changes/History.h"
#include "client/output/Terminal.h"
#include "client/settings/SettingText.h"

namespace
{
/// What is to be in force then.
Settings settingsBack(const SettingSchema &schema, const HistoryEntry &entry, const Reading &now)
{
    if (!entry.wanted || !now.outcome.succeeded()) {
        return entry.before;
    }
    Wishes wishes;
    const auto keys = differingKeys(schema, entry.before, *entry.wanted);
    for (const QString &key : keys) {
        wishes.insert(key, entry.before.value(key));
    }
    return fulfilled(schema, now.settings, wishes);
}

/// A line for each setting that goes back, though it is no longer what the change had made it.
QStringList changedSince(const SettingSchema &schema, const HistoryEntry &entry, const Settings &now)
{
    QStringList lines;
    const auto keys = entry.wanted ? differingKeys(schema, entry.before, *entry.wanted) : QStringList();
    for (const QString &key : keys) {
        const QVariant found = now.value(key);
        if (found != entry.wanted->value(key) && found != entry.before.value(key)) {
            const Setting &setting = *schema.find(key);
            lines += translate("Undoing", "%1: set to %2, found %3")
                         .arg(key, settingWords(setting, entry.wanted->value(key)), settingWords(setting, found));
        }
    }
    return lines;
}

void warn(const SettingSchema &schema, const HistoryEntry &entry, const Settings &now)
{
    const QStringList changed = changedSince(schema, entry, now);
    if (!changed.isEmpty()) {
        printError(translate("Undoing", "changed since, and taken back all the same") + QLatin1Char('\n')
                   + changed.join(QLatin1Char('\n')));
    }
    if (!entry.lost.isEmpty()) {
        const QStringList files = entry.lost.keys();
        printError(translate("Undoing", "what else went with that change is not brought back; history shows it")
                   + QLatin1Char('\n') + files.join(QLatin1Char('\n')));
    }
}
}

ExitCode undoChange(const HistoryEntry &entry, SettingsStore *store, const ChangeMode &mode)
{
    const Reading now = store->read();
    if (!now.outcome.succeeded() && (now.outcome.code != ExitCode::Failed || !store->mayBeWritable())) {
        printError(now.outcome.error);
        return now.outcome.code;
    }
    const SettingSchema &schema = store->schema();
    Change change{store, now, settingsBack(schema, entry, now), translate("Undoing", "undo of: %1").arg(entry.command)};
    change.named = entry.wanted ? differingKeys(schema, entry.before, *entry.wanted) : schema.keys();
    change.isUndo = true;
    if (mode.force) {
        change.command += QLatin1String(" --force");
    }
    if (now.outcome.succeeded()) {
        warn(schema, entry, now.settings);
    }
    return performChange(change, mode);
}
