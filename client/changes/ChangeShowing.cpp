// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/ChangeShowing.h"

#include "client/Translation.h"
#include "client/changes/Change.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/preview/PreviewReport.h"
#include "client/settings/Document.h"
#include "client/settings/SettingText.h"

#include <QJsonArray>
#include <QJsonObject>

namespace
{
QString previewText(const Change &change)
{
    QString changes = changeTable(change);
    if (!changes.isEmpty()) {
        return changes;
    }
    return presentOutcome(change).succeeded()
        ? translate("ChangeShowing", "%1: already in force").arg(change.store->name().text()) + QLatin1Char('\n')
        : QString();
}

QString textForPeople(const Change &change, const Preview &preview)
{
    const QString text = previewText(change);
    const QString diffs = diffsText(preview);
    return diffs.isEmpty() || text.isEmpty() ? text + diffs : text + QLatin1Char('\n') + diffs;
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
}

QString changeTable(const Change &change)
{
    const SettingSchema &schema = change.store->schema();
    const QStringList keys = differingKeys(schema, change.before.settings, change.wanted);
    if (keys.isEmpty()) {
        return {};
    }
    QVector<QStringList> rows{
        {change.store->name().text(), translate("ChangeShowing", "now"), translate("ChangeShowing", "then")}};
    for (const QString &key : keys) {
        const Setting &setting = *schema.find(key);
        rows += {key,
                 settingWords(setting, change.before.settings.value(key)),
                 settingWords(setting, change.wanted.value(key))};
    }
    return table(rows, 0);
}

void showChange(const Change &change, const Preview &preview, QJsonArray *report)
{
    if (report) {
        report->append(jsonOf(change, preview));
    } else {
        out().write(printable(textForPeople(change, preview)));
    }
}
