// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/InterfacePage.h"

#include "tests/support/Files.h"

QVector<QStringList> interfaceTable(const QString &heading)
{
    const QString page = QString::fromUtf8(contentOf(QStringLiteral(SOURCES "/docs/interface.md")));
    const QString part =
        page.section(QStringLiteral("\n## %1\n").arg(heading), 1).section(QStringLiteral("\n## "), 0, 0);
    QVector<QStringList> rows;
    for (const QString &line : part.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1String("| "))) {
            continue;
        }
        QStringList cells = line.mid(1, line.size() - 2).split(QLatin1Char('|'));
        for (QString &cell : cells) {
            cell = cell.trimmed();
        }
        rows.append(cells);
    }
    if (rows.size() < 2) {
        qFatal("docs/interface.md has no table under \"%s\"", qPrintable(heading));
    }
    return rows.mid(1);
}

QStringList codeIn(const QString &cell)
{
    QStringList pieces;
    const QStringList parts = cell.split(QLatin1Char('`'));
    for (int i = 1; i < parts.size(); i += 2) {
        pieces += parts.at(i);
    }
    return pieces;
}
