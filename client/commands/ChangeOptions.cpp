// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ChangeOptions.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace
{
constexpr int reportVersion = 1;

QString forceName()
{
    return QStringLiteral("force");
}

void printReport(const QJsonArray &changes)
{
    const QJsonObject report{{QStringLiteral("version"), reportVersion}, {QStringLiteral("changes"), changes}};
    out().write(QString::fromUtf8(QJsonDocument(report).toJson()));
}
}

QList<QCommandLineOption> changeOptions()
{
    return QList<QCommandLineOption>{
               dryRunOption(),
               jsonOption(),
               {forceName(),
                translate("ChangeOptions", "Go on where something would be lost, or cannot come into force.")},
               quietOption()}
    + accessOptions();
}

QString typedChangeOptions(const QCommandLineParser &line)
{
    return line.isSet(forceName()) ? QStringLiteral(" --force") : QString();
}

ExitCode runChanges(const QCommandLineParser &line, const std::function<ExitCode(const ChangeMode &)> &perform)
{
    const bool asJson = line.isSet(QStringLiteral("json"));
    if (asJson && !isDryRun(line)) {
        return usageError(translate("ChangeOptions", "--json is for --dry-run"));
    }
    QJsonArray changes;
    const ExitCode code = perform({isDryRun(line), line.isSet(forceName()), asJson ? &changes : nullptr});
    if (asJson) {
        printReport(changes);
    }
    return code;
}
