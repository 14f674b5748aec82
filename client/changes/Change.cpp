// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Change.h"

#include "client/Translation.h"
#include "client/changes/History.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/preview/PreviewReport.h"
#include "client/settings/Document.h"
#include "client/settings/SettingText.h"
#include "client/system/PamFiles.h"

#include <QFile>
#include <QJsonObject>

namespace
{
Outcome saveBefore(const Change &change, const QMap<QString, QString> &lost, QString *file)
{
    if (!change.before.outcome.succeeded()) {
        printError(translate("Change", "%1 could not be read, so that there is no way back from this change")
                       .arg(change.store->phrase()));
        return {};
    }
    const HistoryEntry entry{
        {}, QDateTime::currentDateTimeUtc(), change.store->name(), change.command, change.before.settings, lost};
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

Outcome verify(const Change &change)
{
    const QString written = translate("Change", "%1 was written, but is not in force").arg(change.store->phrase());
    const Reading after = change.store->read();
    if (!after.outcome.succeeded()) {
        const QStringList lines{written, after.outcome.error, change.store->reasonNotInForce()};
        return {ExitCode::NotInForce, lines.join(QLatin1Char('\n')).trimmed()};
    }
    const QString mismatch = mismatchText(change.store->schema(), change.wanted, after.settings);
    if (mismatch.isEmpty()) {
        return {};
    }
    const QStringList lines{written, mismatch, change.store->reasonNotInForce()};
    return {ExitCode::NotInForce, lines.join(QLatin1Char('\n')).trimmed()};
}

/// Whether a write that failed has left everything as it was; false where that cannot be known.
bool hasChangedNothing(const Change &change, const Outcome &written)
{
    if (written.mayHappen) {
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
        QFile::remove(saved); // undo is to reach the last change that was one
    }
    return written;
}

/// A table of key, now and then: one row for each setting that the change would make another.
QString previewText(const Change &change)
{
    const SettingSchema &schema = change.store->schema();
    const QStringList keys = differingKeys(schema, change.before.settings, change.wanted);
    if (keys.isEmpty()) {
        return translate("Change", "%1: already in force").arg(change.store->name().text()) + QLatin1Char('\n');
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

void showForPeople(const Change &change, const Preview &preview)
{
    const QString diffs = diffsText(preview);
    out().write(printable(diffs.isEmpty() ? previewText(change) : previewText(change) + QLatin1Char('\n') + diffs));
}

QJsonObject jsonOf(const Change &change, const Preview &preview)
{
    const SettingSchema &schema = change.store->schema();
    const bool isKnown = change.before.outcome.succeeded();
    return {{QStringLiteral("of"), change.store->name().text()},
            {QStringLiteral("now"), isKnown ? settingsToJson(schema, change.before.settings) : QJsonValue()},
            {QStringLiteral("then"), settingsToJson(schema, change.wanted)},
            {QStringLiteral("files"), filesToJson(preview)}};
}

void show(const Change &change, const Preview &preview, const ChangeMode &mode)
{
    if (mode.report) {
        mode.report->append(jsonOf(change, preview));
    } else {
        showForPeople(change, preview);
    }
}

/// Whether more than the store's own settings is at stake: pam-auth-update(8) makes the stacks anew.
bool isOfPam(const Change &change)
{
    const StoreName name = change.store->name();
    return name.kind == StoreName::Kind::Policy && pamFilesOf(name.name);
}

QString lossText(const Change &change, const Preview &preview)
{
    return translate("Change",
                     "%1 is left as it is: what an administrator has put there would be lost; --force goes on")
               .arg(change.store->phrase())
        + QLatin1Char('\n') + lostLinesText(preview);
}

/// Why the change is not to be begun; a success if nothing is to be said against it.
Outcome objection(const Change &change, const QString &obstacle, const Preview &preview)
{
    if (!obstacle.isEmpty()) {
        return {ExitCode::NotInForce,
                translate("Change", "%1 cannot come into force on this system").arg(change.store->phrase())
                    + QLatin1Char('\n') + obstacle};
    }
    if (!preview.outcome.succeeded()) {
        return {preview.outcome.code,
                preview.outcome.error + QLatin1Char('\n')
                    + translate("Change", "this is what a preview came to; nothing was changed, and --force goes on")};
    }
    return preview.losesLines() ? Outcome{ExitCode::Loss, lossText(change, preview)} : Outcome();
}

ExitCode refuse(const Outcome &outcome)
{
    printError(outcome.error);
    return outcome.code;
}

ExitCode performDryRun(const Change &change, const ChangeMode &mode)
{
    const Preview preview = change.store->preview(change.wanted);
    show(change, preview, mode);
    const Outcome objected =
        isOfPam(change) && !mode.force ? objection(change, change.store->obstacle(), preview) : preview.outcome;
    return objected.succeeded() ? ExitCode::Done : refuse(objected);
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
    return mode.force ? Outcome() : objection(change, obstacle, *preview);
}
}

ExitCode performChange(const Change &change, const ChangeMode &mode)
{
    if (!change.store->exists()) {
        printError(translate("Change", "%1 does not exist").arg(change.store->phrase()));
        return ExitCode::Failed;
    }
    if (mode.dryRun) {
        return performDryRun(change, mode);
    }
    Preview preview;
    const Outcome objected = lookAhead(change, mode, &preview);
    const Outcome outcome = objected.succeeded() ? carryOut(change, preview) : objected;
    if (!outcome.succeeded()) {
        return refuse(outcome);
    }
    out().write(printable(translate("Change", "%1: in force").arg(change.store->name().text())) + QLatin1Char('\n'));
    return ExitCode::Done;
}
