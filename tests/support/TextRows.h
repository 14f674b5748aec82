// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QTest>

/// The lines of a text, without those that are empty.
inline QStringList linesOf(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/**
 * Makes the columns "input" and "result", and a row for each line "input => result" of the text, under its input's name;
 * blanks around both don't count.
 */
inline void addTextRows(const char *text)
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("result");
    const QStringList lines = linesOf(text);
    for (const QString &line : lines) {
        const QStringList cells = line.split(QStringLiteral("=>"));
        if (cells.size() != 2) {
            qFatal("no row: %s", qPrintable(line));
        }
        QTest::newRow(qPrintable(cells.first().trimmed())) << cells.first().trimmed() << cells.last().trimmed();
    }
}
