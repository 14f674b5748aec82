// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamStackCorrection.h"

#include "policies/pam/PamPolicy.h"

#include <QFile>

namespace
{
/// Reads all lines by the file's full length, NUL bytes included; none if it can't be opened.
QStringList readLines(QFile *file)
{
    if (!file->open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray content = file->readAll();
    file->close();
    return QString::fromUtf8(content.constData(), content.size()).split(QLatin1Char('\n'));
}

void writeLines(QFile *file, const QStringList &lines)
{
    if (file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file->write(lines.join(QLatin1Char('\n')).toUtf8());
    }
}

bool needsCorrection(const QString &line, const QRegularExpression &optionPattern, int wanted)
{
    QRegularExpressionMatchIterator matches = optionPattern.globalMatch(line);
    if (!matches.hasNext()) {
        return false;
    }
    const int current = matches.next().captured(1).toInt();
    return matches.hasNext() || current != wanted;
}
}

bool correctPamLines(const PamPolicy &policy, int wanted, QStringList *lines)
{
    const QString name = policy.correctedOption;
    const QRegularExpression optionPattern(QStringLiteral("\\b%1=(?<%1>\\d+)\\b").arg(name));
    bool changed = false;
    for (QString &line : *lines) {
        if (!line.contains(policy.moduleExpression) || !needsCorrection(line, optionPattern, wanted)) {
            continue;
        }
        // the blanks on both sides of a removed option stay
        QStringList pieces = line.split(optionPattern, Qt::SkipEmptyParts);
        pieces += QStringLiteral(" %1=%2").arg(name, QString::number(wanted));
        line = pieces.join(QString());
        changed = true;
    }
    return changed;
}

void correctPamStack(const PamPolicy &policy, int wanted)
{
    QFile file(policy.stack);
    QStringList lines = readLines(&file);
    if (correctPamLines(policy, wanted, &lines)) {
        writeLines(&file, lines);
    }
}
