// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/HistoryCommand.h"

#include "client/Translation.h"
#include "client/changes/History.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"

namespace
{
/// What comes from a file is one cell of the table, whatever it contains.
QString cell(const QString &text)
{
    return printable(text.simplified());
}
}

QString HistoryCommand::name() const
{
    return QStringLiteral("history");
}

QString HistoryCommand::summary() const
{
    return translate("HistoryCommand", "List the changes that can be undone.");
}

ExitCode HistoryCommand::run(const QCommandLineParser &line) const
{
    if (!line.positionalArguments().isEmpty()) {
        return tooManyArguments(line.positionalArguments().constFirst());
    }
    QVector<QStringList> rows;
    const auto entries = History().entries();
    for (const HistoryEntry &entry : entries) {
        const QString number = QString::number(rows.size() + 1);
        const QString time = entry.time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        rows += entry.store
            ? QStringList{number, time, cell(entry.command)}
            : QStringList{number, translate("HistoryCommand", "cannot be read: %1").arg(cell(entry.file))};
    }
    out().write(table(rows, 0));
    return ExitCode::Done;
}
