// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PamStack.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>

namespace
{
struct PamWord {
    QString text;
    bool isBracketed;
};

/// Cut at blanks; what stands in brackets is one word, without them.
QVector<PamWord> wordsIn(const QString &line)
{
    static const QRegularExpression word(QStringLiteral(R"(\[((?:[^\]\\]|\\.)*)\]|(\S+))"));
    QVector<PamWord> words;
    for (auto matches = word.globalMatch(line); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const bool isBracketed = match.lastCapturedIndex() == 1;
        words +=
            {match.captured(match.lastCapturedIndex()).replace(QLatin1String("\\]"), QLatin1String("]")), isBracketed};
    }
    return words;
}

PamStackLine includingLine(int number, const QString &file)
{
    return {number, QStringLiteral("@include"), false, {}, false, file, {}};
}

PamStackLine stackLine(int number, const QVector<PamWord> &words)
{
    const QString first = words.constFirst().text.toLower();
    if (first == QLatin1String("@include")) {
        return includingLine(number, words.value(1).text);
    }
    const bool mayBeMissing = first.startsWith(QLatin1Char('-'));
    QStringList options;
    for (const PamWord &word : words.mid(3)) {
        options += word.text;
    }
    return {number,
            first.mid(mayBeMissing ? 1 : 0),
            mayBeMissing,
            words.value(1).text,
            words.value(1).isBracketed,
            words.value(2).text,
            options};
}
}

bool PamStackLine::calls(const QString &name) const
{
    return module.section(QLatin1Char('/'), -1) == name + QLatin1String(".so");
}

QVector<PamStackLine> pamStackLines(const QByteArray &content)
{
    QVector<PamStackLine> found;
    const auto lines = QString::fromUtf8(content).split(QLatin1Char('\n'));
    QString joined;
    int begin = 0;
    for (int number = 0; number < lines.size(); ++number) {
        begin = joined.isEmpty() ? number : begin;
        const QString text = lines.at(number).section(QLatin1Char('#'), 0, 0);
        joined += text;
        if (joined.endsWith(QLatin1Char('\\')) && number + 1 < lines.size()) {
            joined.chop(1);
            joined += QLatin1Char(' ');
            continue;
        }
        const QVector<PamWord> words = wordsIn(joined);
        if (!words.isEmpty()) {
            found += stackLine(begin + 1, words);
        }
        joined.clear();
    }
    return found;
}

QByteArray pamStackWithOptions(const QByteArray &content, int number, const QString &module, const QStringList &options)
{
    QByteArrayList lines = content.split('\n');
    QByteArray &line = lines[number - 1];
    const QByteArray text = line.mid(0, line.indexOf('#'));
    if (text.endsWith('\\')) {
        return {};
    }
    const QByteArray fileName = module.toLatin1() + ".so";
    const QByteArray head = text.left(text.indexOf(fileName) + fileName.size());
    const QByteArray comment = line.mid(text.size());
    line = (QStringList{QString::fromUtf8(head)} + options).join(QLatin1Char(' ')).toUtf8()
        + (comment.isEmpty() ? "" : "\t") + comment;
    return lines.join('\n');
}

QStringList pamServices(const QString &root)
{
    static const QRegularExpression kept(QStringLiteral(R"((~|\.pam-(old|new)|\.dpkg-[a-z]+|\.new)\z)"));
    QStringList names;
    const auto files = QDir(root + QLatin1String("/etc/pam.d")).entryList(QDir::Files, QDir::Name);
    std::copy_if(files.begin(), files.end(), std::back_inserter(names), [](const QString &name) {
        return !name.contains(kept);
    });
    std::stable_partition(names.begin(), names.end(), [](const QString &name) {
        return name.startsWith(QLatin1String("common-"));
    });
    return names;
}
