// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PamStack.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace
{
struct PamWord {
    QString text;
    bool isBracketed;
    /// As it stands, with its brackets.
    QString written;
};

/// Cut at blanks; what stands in brackets is one word, without them.
QVector<PamWord> wordsIn(const QString &line)
{
    static const QRegularExpression word(QStringLiteral(R"(\[((?:[^\]\\]|\\.)*)\]|(\S+))"));
    QVector<PamWord> words;
    for (auto matches = word.globalMatch(line); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const bool isBracketed = match.lastCapturedIndex() == 1;
        words += {match.captured(match.lastCapturedIndex()).replace(QLatin1String("\\]"), QLatin1String("]")),
                  isBracketed,
                  match.captured()};
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
    const auto optionWords = words.mid(3);
    for (const PamWord &word : optionWords) {
        options += word.text;
    }
    const PamWord control = words.value(1);
    return {number,
            first.mid(mayBeMissing ? 1 : 0),
            mayBeMissing,
            control.text,
            control.isBracketed,
            words.value(2).text,
            options};
}

/// One that ends amid: some releases of libpam read on behind it, others do not, and none lets anybody in by it.
PamStackLine brokenLine(int number, const QVector<PamWord> &words)
{
    PamStackLine line = stackLine(number, words);
    line.control = QStringLiteral("\\");
    line.isBracketed = false;
    return line;
}

/// The options, each as it stands among the words where it is one of them.
QStringList asWritten(const QStringList &options, QVector<PamWord> words)
{
    QStringList written;
    for (const QString &option : options) {
        const QVector<PamWord>::iterator place =
            std::find_if(words.begin(), words.end(), [&option](const PamWord &candidate) {
                return candidate.text == option;
            });
        const PamWord word = place == words.end() ? PamWord{option, false, option} : *place;
        written += word.written;
        if (place != words.end()) {
            words.erase(place);
        }
    }
    return written;
}
}

bool PamStackLine::calls(const QString &name) const
{
    const QString file = name + QLatin1String(".so");
    return module == file || module.endsWith(QLatin1Char('/') + file);
}

QVector<PamStackLine> pamStackLines(const QByteArray &content)
{
    QVector<PamStackLine> found;
    const auto lines = QString::fromUtf8(content).split(QLatin1Char('\n')) + QStringList{QString()};
    QString joined;
    int begin = 0; // of the joined lines
    for (int number = 0; number < lines.size(); ++number) {
        QString text = lines.at(number).left(lines.at(number).indexOf(QLatin1Char('#'))).trimmed();
        const bool goesOn = text.endsWith(QLatin1Char('\\'));
        text.chop(goesOn ? 1 : 0);
        if (text.isEmpty() && !joined.isEmpty()) {
            found += brokenLine(begin + 1, wordsIn(joined)); // where it was to go on there is nothing
            joined.clear();
        }
        begin = joined.isEmpty() ? number : begin;
        joined += text.isEmpty() ? QString() : text + QLatin1Char(' ');
        if (!goesOn && !joined.isEmpty()) {
            found += stackLine(begin + 1, wordsIn(joined));
            joined.clear();
        }
    }
    return found;
}

QByteArray pamStackWithOptions(const QByteArray &content, int number, const QString &module, const QStringList &options)
{
    QByteArrayList lines = content.split('\n');
    QByteArray &line = lines[number - 1];
    const QByteArray text = line.mid(0, line.indexOf('#'));
    if (text.trimmed().endsWith('\\')) {
        return {};
    }
    const QByteArray fileName = module.toLatin1() + ".so";
    const QByteArray head = text.left(text.indexOf(fileName) + fileName.size());
    const QByteArray comment = line.mid(text.size());
    const QVector<PamWord> words = wordsIn(QString::fromUtf8(text.mid(head.size())));
    line = (QStringList{QString::fromUtf8(head)} + asWritten(options, words)).join(QLatin1Char(' ')).toUtf8()
        + (comment.isEmpty() ? "" : "\t") + comment;
    return lines.join('\n');
}

QStringList pamFolders()
{
    return {QStringLiteral("/etc/pam.d"), QStringLiteral("/usr/lib/pam.d")};
}

QString pamServicePath(const QString &root, const QString &service)
{
    const QString path = pamFolders().constFirst() + QLatin1Char('/') + service;
    const QString packaged = pamFolders().constLast() + QLatin1Char('/') + service;
    return !QFile::exists(root + path) && QFile::exists(root + packaged) ? packaged : path;
}

QStringList pamServices(const QString &root)
{
    static const QRegularExpression kept(
        QStringLiteral(R"((~|\.(pam-(old|new)|dpkg-[a-z]+|new|old|orig|bak|save))\z)"));
    QStringList names;
    const auto folders = pamFolders();
    for (const QString &folder : folders) {
        const auto files = QDir(root + folder).entryList(QDir::Files, QDir::Name);
        std::copy_if(files.begin(), files.end(), std::back_inserter(names), [](const QString &name) {
            return !name.contains(kept);
        });
    }
    names.removeDuplicates();
    std::sort(names.begin(), names.end());
    std::stable_partition(names.begin(), names.end(), [](const QString &name) {
        return name.startsWith(QLatin1String("common-"));
    });
    return names;
}
