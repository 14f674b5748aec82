// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/PreviewReport.h"

#include "client/preview/UnifiedDiff.h"

#include <QJsonObject>
#include <QStringList>

namespace
{
// more than a stack has
constexpr int allLines = 1000000;

QString diffOf(const FilePreview &file)
{
    return QString::fromUtf8(unifiedDiff(file.path, file.before, file.after));
}

QStringList lostIn(const FilePreview &file)
{
    QStringList lines;
    for (const QByteArray &line : file.lost) {
        lines += QString::fromUtf8(line);
    }
    return lines;
}
}

QString diffsText(const Preview &preview)
{
    QString text;
    for (const FilePreview &file : preview.files) {
        text += diffOf(file);
    }
    return text;
}

QJsonArray filesToJson(const Preview &preview)
{
    QJsonArray files;
    for (const FilePreview &file : preview.files) {
        files += QJsonObject{{QStringLiteral("path"), file.path},
                             {QStringLiteral("diff"), diffOf(file)},
                             {QStringLiteral("lost"), QJsonArray::fromStringList(lostIn(file))}};
    }
    return files;
}

QString lostLinesText(const Preview &preview)
{
    QStringList lines;
    for (const FilePreview &file : preview.files) {
        const QStringList lost = lostIn(file);
        for (const QString &line : lost) {
            lines += file.path + QLatin1String(": ") + line;
        }
    }
    return lines.join(QLatin1Char('\n'));
}

QMap<QString, QString> lostTexts(const Preview &preview)
{
    QMap<QString, QString> texts;
    for (const FilePreview &file : preview.files) {
        if (!file.lost.isEmpty()) {
            texts.insert(file.path, QString::fromUtf8(unifiedDiff(file.path, file.before, file.after, allLines)));
        }
    }
    return texts;
}
