// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/DocumentArgument.h"

#include "client/output/Terminal.h"
#include "client/settings/Document.h"

#include <QCoreApplication>

namespace
{
/// Translates this file's texts.
struct DocumentArgumentText {
    Q_DECLARE_TR_FUNCTIONS(DocumentArgument)
};
}

QList<Argument> documentArguments()
{
    return {{QStringLiteral("FILE"),
             DocumentArgumentText::tr("A document as printed by export; - for the standard input."),
             QStringLiteral("FILE")}};
}

ExitCode readDocumentArgument(const QCommandLineParser &line, QMap<QString, Wishes> *policies)
{
    const QStringList words = line.positionalArguments();
    if (words.isEmpty()) {
        return usageError(DocumentArgumentText::tr("which document? FILE, or - for the standard input"));
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
