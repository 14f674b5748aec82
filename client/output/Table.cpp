// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Table.h"

#include <QVector>

namespace
{
int widthOf(const QString &text)
{
    return static_cast<int>(text.size());
}
}

QString table(const QVector<QStringList> &rows, int indent)
{
    QVector<int> widths;
    for (const QStringList &row : rows) {
        widths.resize(qMax(widths.size(), row.size()));
        for (int column = 0; column < row.size(); ++column) {
            widths[column] = qMax(widths.at(column), widthOf(row.at(column)));
        }
    }
    QString text;
    for (const QStringList &row : rows) {
        QString line(indent, QLatin1Char(' '));
        for (int column = 0; column < row.size(); ++column) {
            const bool last = column == row.size() - 1;
            line += last ? row.at(column) : row.at(column).leftJustified(widths.at(column) + 2);
        }
        text += line + QLatin1Char('\n');
    }
    return text;
}

QString explanations(const QVector<QStringList> &rows, int width)
{
    constexpr int indent = 2;
    constexpr int longestBeside = 24;
    constexpr int leastRoom = 24;
    int longest = 0;
    for (const QStringList &row : rows) {
        if (row.first().size() <= longestBeside) {
            longest = qMax(longest, widthOf(row.first()));
        }
    }
    const bool allBelow = width - indent - longest - 2 < leastRoom;
    const int column = allBelow ? 3 * indent : indent + longest + 2;
    QString text;
    for (const QStringList &row : rows) {
        QString start = QString(indent, QLatin1Char(' ')) + row.first();
        if (allBelow || row.first().size() > longest) {
            text += start + QLatin1Char('\n');
            start.clear();
        }
        const QStringList lines = wrapped(row.last(), width - column);
        for (const QString &line : lines) {
            text += start.leftJustified(column) + line + QLatin1Char('\n');
            start.clear();
        }
    }
    return text;
}

QStringList wrapped(const QString &text, int width)
{
    QStringList lines;
    const auto words = text.split(QLatin1Char(' '));
    for (const QString &word : words) {
        if (lines.isEmpty() || lines.last().size() + 1 + word.size() > width) {
            lines += word;
        } else {
            lines.last() += QLatin1Char(' ') + word;
        }
    }
    return lines;
}
