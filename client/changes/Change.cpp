// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Change.h"

#include "client/Translation.h"
#include "client/changes/History.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/SettingText.h"
#include "client/settings/Warnings.h"
#include "policies/expiration/DayCount.h"

namespace
{
Outcome saveBefore(const Change &change, QString *file)
{
    if (!change.before.outcome.succeeded()) {
        printError(translate("Change", "%1 could not be read, so that there is no way back from this change")
                       .arg(change.store->phrase()));
        return {};
    }
    const HistoryEntry entry{{},
                             QDateTime::currentDateTimeUtc(),
                             change.store->name(),
                             change.command,
                             change.before.settings,
                             change.wanted};
    return History().save(entry, file);
}

QString mismatchText(const SettingSchema &schema, const Settings &wanted, const Settings &found)
{
    QStringList lines;
    const auto keys = differingKeys(schema, wanted, found);
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        lines += translate("Change", "%1: asked for %2, found %3")
                     .arg(key, settingText(setting, wanted.value(key)), settingText(setting, found.value(key)));
    }
    return lines.join(QLatin1Char('\n'));
}

Comparison comparisonWith(const Settings &read, const Change &change)
{
    return compare(change.store->schema(), change.store->inForce(read), read, change.wanted);
}

/// What there is instead, and why, on a line each.
QString differenceText(const Change &change, const Settings &read, const Comparison &comparison)
{
    QStringList lines{mismatchText(change.store->schema(), change.wanted, comparison.found)};
    lines += comparison.obstacles;
    if (read != change.wanted) {
        lines += change.store->reasonNotInForce();
    }
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

Outcome verify(const Change &change)
{
    const QString written = translate("Change", "%1 was written, but is not in force").arg(change.store->phrase());
    const Reading after = change.store->read();
    if (!after.outcome.succeeded()) {
        const QStringList lines{written, after.outcome.error, change.store->reasonNotInForce()};
        return {ExitCode::NotInForce, lines.join(QLatin1Char('\n')).trimmed()};
    }
    const Comparison comparison = comparisonWith(after.settings, change);
    if (comparison.isInForce(change.wanted)) {
        return {};
    }
    return {ExitCode::NotInForce, written + QLatin1Char('\n') + differenceText(change, after.settings, comparison)};
}

/// Whether a write that failed has left everything as it was; false where that cannot be known.
bool hasChangedNothing(const Change &change, const Outcome &written)
{
    if (written.mayHappen || (written.filesChanged && !change.isUndo)) {
        return false;
    }
    if (written.code == ExitCode::NotAuthorized || written.code == ExitCode::Busy) {
        return true; // the helper, or the tool that puts its files in force, has not begun
    }
    const Reading after = change.store->read();
    return after.outcome.succeeded() && after.settings == change.before.settings;
}

/// A success only if everything that was asked for is in force.
Outcome carryOut(const Change &change)
{
    QString saved;
    Outcome kept = saveBefore(change, &saved);
    if (!kept.succeeded()) {
        return kept;
    }
    Outcome written = change.store->write(change.wanted);
    if (written.succeeded()) {
        return verify(change);
    }
    if (!saved.isEmpty() && hasChangedNothing(change, written)) {
        History().remove(saved); // undo is to reach the last change that was one
    }
    return written;
}

void printWarnings(const Change &change)
{
    const qlonglong today = dayZero().daysTo(QDateTime::currentDateTimeUtc().date());
    const auto texts = warningTexts(change.store->schema(), change.before.settings, change.wanted, today);
    for (const QString &text : texts) {
        printWarning(text);
    }
}

QString previewText(const Change &change)
{
    const QString changes = changeTable(change);
    if (!changes.isEmpty()) {
        return changes;
    }
    const Outcome present = presentOutcome(change);
    return (present.succeeded() ? translate("Change", "%1: already in force").arg(change.store->name().text())
                                : present.error)
        + QLatin1Char('\n');
}
}

QString changeTable(const Change &change)
{
    const SettingSchema &schema = change.store->schema();
    const QStringList keys = differingKeys(schema, change.before.settings, change.wanted);
    if (keys.isEmpty()) {
        return {};
    }
    QVector<QStringList> rows{{change.store->name().text(), translate("Change", "now"), translate("Change", "then")}};
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        rows += {key,
                 settingWords(setting, change.before.settings.value(key)),
                 settingWords(setting, change.wanted.value(key))};
    }
    return table(rows, 0);
}

Outcome presentOutcome(const Change &change)
{
    const Settings &read = change.before.settings;
    const Comparison comparison = comparisonWith(read, change);
    if (comparison.isInForce(change.wanted)) {
        return {};
    }
    const QString text = translate("Change", "%1 has these settings, but is not in force").arg(change.store->phrase());
    return {ExitCode::NotInForce, text + QLatin1Char('\n') + differenceText(change, read, comparison)};
}

ExitCode performChange(const Change &change, bool dryRun)
{
    if (!change.store->exists()) {
        printError(translate("Change", "%1 does not exist").arg(change.store->phrase()));
        return ExitCode::Failed;
    }
    printWarnings(change);
    if (dryRun) {
        out().write(printable(previewText(change)));
        return ExitCode::Done;
    }
    const Outcome outcome = carryOut(change);
    if (!outcome.succeeded()) {
        printError(outcome.error);
        return outcome.code;
    }
    out().writeUnlessQuiet(printable(translate("Change", "%1: in force").arg(change.store->name().text()))
                           + QLatin1Char('\n'));
    return ExitCode::Done;
}
