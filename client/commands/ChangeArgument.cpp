// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/ChangeArgument.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"

namespace
{
ExitCode fail(const QString &text)
{
    printError(text);
    return ExitCode::Failed;
}
}

QList<Argument> changeArguments(const QString &description)
{
    return {{QStringLiteral("NUMBER"), description, QStringLiteral("[NUMBER]")}};
}

ExitCode readChanges(QVector<HistoryEntry> *entries)
{
    const History history;
    const QString refusal = history.refusal();
    if (!refusal.isEmpty()) {
        return fail(translate("ChangeArgument", "the history is not read") + QLatin1Char('\n') + refusal);
    }
    *entries = history.entries();
    return ExitCode::Done;
}

ExitCode findChange(const QVector<HistoryEntry> &entries, const QString &word, int *number)
{
    *number = word.toInt();
    if (*number < 1) {
        return usageError(
            translate("ChangeArgument", "\"%1\" is not the number of a change; see accountpolicyctl history")
                .arg(word));
    }
    if (entries.isEmpty()) {
        return fail(translate("ChangeArgument", "no change is recorded"));
    }
    if (*number > entries.size()) {
        return fail(
            translate("ChangeArgument", "there is no change %1; the oldest is %2").arg(*number).arg(entries.size()));
    }
    const HistoryEntry &entry = entries.at(*number - 1);
    return entry.store ? ExitCode::Done : fail(translate("ChangeArgument", "%1 cannot be understood").arg(entry.file));
}

QVector<Candidate> changeCandidates(const QStringList &before)
{
    QVector<Candidate> candidates;
    const auto entries = before.isEmpty() ? History().entries() : QVector<HistoryEntry>();
    for (int i = 0; i < entries.size(); ++i) {
        if (entries.at(i).store) {
            candidates += {QString::number(i + 1), changeCell(entries.at(i).command)};
        }
    }
    return candidates;
}

QString changeCell(const QString &text)
{
    return printable(text.simplified());
}
