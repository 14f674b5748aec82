// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Change.h"

#include "client/Translation.h"
#include "client/changes/ChangeShowing.h"
#include "client/changes/Consent.h"
#include "client/changes/History.h"
#include "client/output/Terminal.h"
#include "client/preview/PreviewReport.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"
#include "client/settings/Warnings.h"
#include "client/system/PamFiles.h"
#include "policies/expiration/DayCount.h"
#include "policies/modules/ModulePolicy.h"

namespace
{
Outcome saveBefore(const Change &change, const QMap<QString, QString> &lost, QString *file)
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
                             change.wanted,
                             lost};
    return History().save(entry, file);
}

QString mismatchText(const SettingSchema &schema, const Settings &wanted, const Settings &found)
{
    QStringList lines;
    const auto keys = differingKeys(schema, wanted, found);
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        lines += translate("Change", "%1: asked for %2, found %3")
                     .arg(key, settingWords(setting, wanted.value(key)), settingWords(setting, found.value(key)));
    }
    return lines.join(QLatin1Char('\n'));
}

Comparison comparisonWith(const Settings &read, const Change &change)
{
    return compare(change.store->schema(), change.store->inForce(read), read, change.wanted, change.named);
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

/// What is to be there after the change, where this is there: others may have changed what it doesn't.
Settings wantedWith(const Settings &read, const Change &change)
{
    if (!change.store->keepsOthersChanges() || !change.before.outcome.succeeded()) {
        return change.wanted;
    }
    Wishes wishes;
    const auto keys = differingKeys(change.store->schema(), change.before.settings, change.wanted);
    for (const QString &key : keys) {
        wishes.insert(key, change.wanted.value(key));
    }
    return fulfilled(change.store->schema(), read, wishes);
}

Outcome verify(const Change &begun)
{
    Change change = begun;
    const QString written = translate("Change", "%1 was written, but is not in force").arg(change.store->phrase());
    const Reading after = change.store->read();
    if (!after.outcome.succeeded()) {
        const QStringList lines{written, after.outcome.error, change.store->reasonNotInForce()};
        return {ExitCode::NotInForce, lines.join(QLatin1Char('\n')).trimmed()};
    }
    change.wanted = wantedWith(after.settings, change);
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
Outcome carryOut(const Change &change, const Preview &preview)
{
    QString saved;
    Outcome kept = saveBefore(change, lostTexts(preview), &saved);
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

/// Whether more than the store's own settings is at stake: pam-auth-update(8) makes the stacks anew.
bool isOfPam(const Change &change)
{
    const StoreName name = change.store->name();
    return name.kind == StoreName::Kind::Policy && (pamFilesOf(name.name) || modulePolicy(name.name));
}

QString lossText(const Change &change, const Preview &preview)
{
    return translate("Change",
                     "%1 is left as it is: what an administrator has put there would be lost; --force goes on")
               .arg(change.store->phrase())
        + QLatin1Char('\n') + lostLinesText(preview);
}

QString dangerOf(const Change &change)
{
    return change.store->danger(change.before.settings, change.wanted);
}

/// Why the change is not to be begun; a success if nothing is to be said against it.
Outcome objection(const Change &change, const QString &obstacle, const Preview &preview)
{
    if (!obstacle.isEmpty()) {
        return {ExitCode::NotInForce,
                translate("Change", "%1 cannot come into force on this system").arg(change.store->phrase())
                    + QLatin1Char('\n') + obstacle};
    }
    if (preview.outcome.code == ExitCode::Loss) {
        // who agrees to the loss by --force agrees to that, too
        const QStringList lines{preview.outcome.error, dangerOf(change)};
        return {ExitCode::Loss, lines.join(QLatin1Char('\n')).trimmed()};
    }
    if (!preview.outcome.succeeded()) {
        const QString advice = preview.isFinal
            ? translate("Change", "this is what a preview came to; nothing was changed")
            : translate("Change", "this is what a preview came to; nothing was changed, and --force goes on");
        return {preview.outcome.code, preview.outcome.error + QLatin1Char('\n') + advice};
    }
    return preview.losesLines() ? Outcome{ExitCode::Loss, lossText(change, preview)} : Outcome();
}

/// Where nobody is asked.
Outcome warned(const QString &danger)
{
    if (!danger.isEmpty()) {
        printWarning(danger);
    }
    return {};
}

QString successText(const Change &change)
{
    const bool goesOff = isOff(change.store->schema(), change.wanted);
    return (goesOff ? translate("Change", "%1: switched off") : translate("Change", "%1: in force"))
        .arg(change.store->name().text());
}

ExitCode refuse(const Outcome &outcome)
{
    printError(outcome.error);
    return outcome.code;
}

ExitCode performDryRun(const Change &change, const ChangeMode &mode)
{
    const Preview preview = change.store->preview(change.wanted);
    showChange(change, preview, mode.report);
    const Outcome objected =
        isOfPam(change) && !mode.force ? objection(change, change.store->obstacle(), preview) : preview.outcome;
    if (!objected.succeeded()) {
        return refuse(objected);
    }
    // where nothing would change, what is there may still not be in force
    const Outcome present = changeTable(change).isEmpty() ? presentOutcome(change) : Outcome();
    return present.succeeded() ? ExitCode::Done : refuse(present);
}

/// Looks at what a change of PAM's files would do, before anything is sent.
Outcome lookAhead(const Change &change, const ChangeMode &mode, Preview *preview)
{
    if (!isOfPam(change)) {
        return {};
    }
    const QString obstacle = mode.force ? QString() : change.store->obstacle();
    if (obstacle.isEmpty()) {
        *preview = change.store->preview(change.wanted);
    }
    if (mode.force) {
        return {};
    }
    Outcome objected = objection(change, obstacle, *preview);
    if (preview->outcome.code == ExitCode::Loss) {
        objected.error += QLatin1Char('\n') + diffsText(*preview).trimmed();
    }
    return objected;
}
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

ExitCode performChange(const Change &change, const ChangeMode &mode)
{
    if (!change.store->exists()) {
        printError(translate("Change", "%1 does not exist").arg(change.store->phrase()));
        return ExitCode::Failed;
    }
    printWarnings(change);
    if (mode.dryRun) {
        return performDryRun(change, mode);
    }
    Preview preview;
    Outcome objected = lookAhead(change, mode, &preview);
    if (objected.succeeded()) {
        objected = mode.force ? warned(dangerOf(change)) : askConsent(dangerOf(change));
    }
    if (!objected.succeeded()) {
        return refuse(objected);
    }
    if (change.isUndo && change.before.outcome.succeeded()) {
        out().writeUnlessQuiet(printable(changeTable(change)));
    }
    const Outcome outcome = carryOut(change, preview);
    if (!outcome.succeeded()) {
        return refuse(outcome);
    }
    out().writeUnlessQuiet(printable(successText(change)) + QLatin1Char('\n'));
    return ExitCode::Done;
}
