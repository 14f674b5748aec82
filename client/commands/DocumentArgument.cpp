// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/DocumentArgument.h"

#include "client/Translation.h"
#include "client/output/Terminal.h"
#include "client/settings/Document.h"

QList<Argument> documentArguments()
{
    return {{QStringLiteral("FILE"),
             translate("DocumentArgument", "A document as printed by export; - for the standard input."),
             QStringLiteral("FILE")}};
}

ExitCode readDocumentArgument(const QCommandLineParser &line, QMap<QString, Wishes> *policies)
{
    const QStringList words = line.positionalArguments();
    if (words.isEmpty()) {
        return usageError(translate("DocumentArgument", "which document? FILE, or - for the standard input"));
    }
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    QByteArray content;
    const Outcome read = readInput(words.first(), &content);
    if (!read.succeeded()) {
        printError(read.error);
        return read.code;
    }
    const QString wrong = readDocument(content, policies);
    return wrong.isEmpty() ? ExitCode::Done : documentError(line, wrong);
}

ExitCode documentError(const QCommandLineParser &line, const QString &wrong)
{
    printError(line.positionalArguments().constFirst() + QStringLiteral(": ") + wrong);
    return ExitCode::Usage;
}
