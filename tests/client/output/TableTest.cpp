// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Table.h"
#include "client/output/SettingsTable.h"
#include "client/settings/Policies.h"

#include <QTest>

namespace
{
QStringList cells(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
}

class TableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesUpColumns();
    void takesRowsOfDifferentLength();
    void isEmptyWithoutRows();
    void showsSettingsWithUnits();
};

void TableTest::linesUpColumns()
{
    QCOMPARE(table({cells("a bbb c"), cells("aaaa b ccc")}, 2), QStringLiteral("  a     bbb  c\n  aaaa  b    ccc\n"));
}

void TableTest::takesRowsOfDifferentLength()
{
    QCOMPARE(table({cells("aaaaa"), cells("a b")}, 0), QStringLiteral("aaaaa\na      b\n"));
}

void TableTest::isEmptyWithoutRows()
{
    QCOMPARE(table({}, 4), QString());
}

void TableTest::showsSettingsWithUnits()
{
    QCOMPARE(settingsTable(findPolicy(QStringLiteral("lockout"))->schema,
                           {{QStringLiteral("per_user"), true}, {QStringLiteral("unlock_time"), 900}}),
             QStringLiteral("  per_user     yes\n"
                            "  magic_root   not set\n"
                            "  no_reset     not set\n"
                            "  deny         not set\n"
                            "  lock_time    not set\n"
                            "  unlock_time  900 s (15 min)\n"));
}

QTEST_GUILESS_MAIN(TableTest)
#include "TableTest.moc"
