// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/PamLine.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace
{
/// Cut at blanks; what stands in brackets is one word, without them.
QStringList pamWords(const QString &line)
{
    static const QRegularExpression word(QStringLiteral(R"(\[((?:[^\]\\]|\\.)*)\]|(\S+))"));
    QStringList words;
    for (auto matches = word.globalMatch(line); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        words += match.captured(match.lastCapturedIndex()).replace(QLatin1String("\\]"), QLatin1String("]"));
    }
    return words;
}
}

QVector<PamLine> pamLines(const QByteArray &stack, const QString &type, const QString &module)
{
    // a line goes on behind a backslash at its end
    const QString text = QString::fromUtf8(stack).replace(QLatin1String("\\\n"), QLatin1String(" "));
    QVector<PamLine> found;
    const auto lines = text.split(QLatin1Char('\n'));
    for (int number = 0; number < lines.size(); ++number) {
        const QStringList words = pamWords(lines.at(number).section(QLatin1Char('#'), 0, 0));
        // a dash before the type: nothing is logged if the module isn't there
        const QString lineType = words.value(0).mid(words.value(0).startsWith(QLatin1Char('-')) ? 1 : 0);
        if (lineType.compare(type, Qt::CaseInsensitive) == 0
            && QFileInfo(words.value(2)).fileName() == module + QLatin1String(".so")) {
            found += {number, words.at(1), words.mid(3)};
        }
    }
    return found;
}
