// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/Table.h"
#include "client/output/SettingsTable.h"
#include "client/settings/Policies.h"
#include "tests/support/TextRows.h"

namespace
{
const SettingSchema &lockout()
{
    return findPolicy(QStringLiteral("lockout"))->schema;
}

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
    void wrapsText_data();
    void wrapsText();
    void explains_data();
    void explains();
    void explainsLongWordsOnLinesOfTheirOwn();
    void showsSettingsWithUnits();
    void explainsSettingsInParagraphs();
};

void TableTest::linesUpColumns()
{
    QCOMPARE(table({cells("a bbb c"), cells("aaaa b ccc")}, 2), QStringLiteral("  a     bbb  c\n  aaaa  b    ccc\n"));
}

void TableTest::takesRowsOfDifferentLength()
{
    QCOMPARE(table({cells("aaaaa"), cells("a b")}, 0), QStringLiteral("aaaaa\na      b\n"));
    QCOMPARE(table({{QString(), QStringLiteral("b")}}, 0), QStringLiteral("  b\n"));
}

void TableTest::isEmptyWithoutRows()
{
    QCOMPARE(table({}, 4), QString());
}

void TableTest::wrapsText_data()
{
    addTextRows(R"(
a => a
aa bb cc => aa bb|cc
aa bbb c => aa|bbb c
aaaaaa b => aaaaaa|b
a bbbbbb => a|bbbbbb
)");
}

void TableTest::wrapsText()
{
    QFETCH(QString, input);

    QTEST(wrapped(input, 5).join(QLatin1Char('|')), "result");
}

void TableTest::explains_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("text");
    const QString inLines = QStringLiteral("  a       b\n  cccc d  aaaaaaaa bbbbbbbb\n          ccccccccc\n");
    QTest::newRow("beside") << 37 << QStringLiteral("  a       b\n  cccc d  aaaaaaaa bbbbbbbb ccccccccc\n");
    QTest::newRow("wrapped") << 36 << inLines;
    QTest::newRow("with the least room beside") << 34 << inLines;
    QTest::newRow("below") << 33 << QStringLiteral("  a\n      b\n  cccc d\n      aaaaaaaa bbbbbbbb ccccccccc\n");
    QTest::newRow("wrapped below") << 32
                                   << QStringLiteral(
                                          "  a\n      b\n  cccc d\n      aaaaaaaa bbbbbbbb\n      ccccccccc\n");
}

void TableTest::explainsLongWordsOnLinesOfTheirOwn()
{
    const QString longest(24, QLatin1Char('x'));
    const QString column(28, QLatin1Char(' '));

    QCOMPARE(explanations({{longest, QStringLiteral("a")}, {longest + QLatin1Char('x'), QStringLiteral("b c")}}, 52),
             QStringLiteral("  %1  a\n  %1x\n%2b c\n").arg(longest, column));
}

void TableTest::explains()
{
    QFETCH(int, width);

    QTEST(explanations({{QStringLiteral("a"), QStringLiteral("b")},
                        {QStringLiteral("cccc d"), QStringLiteral("aaaaaaaa bbbbbbbb ccccccccc")}},
                       width),
          "text");
}

void TableTest::showsSettingsWithUnits()
{
    QCOMPARE(settingsTable(lockout(), {{QStringLiteral("per_user"), true}, {QStringLiteral("unlock_time"), 900}}),
             QStringLiteral(R"(  per_user     yes
  magic_root   not set
  no_reset     not set
  deny         not set
  lock_time    not set
  unlock_time  900 s (15 min)
)"));
}

void TableTest::explainsSettingsInParagraphs()
{
    // the line of the first has 79 characters, that of the second 80
    const QByteArray first(62, 'x');
    const QByteArray second(63, 'x');
    const SettingSchema schema{
        {{QStringLiteral("a"), SettingKind::Flag, Unit::None, 0, 0, Never::NoWord, first.constData()},
         {QStringLiteral("bb"), SettingKind::Flag, Unit::None, 0, 0, Never::NoWord, second.constData()}}};

    QCOMPARE(settingsHelp(schema),
             QString::fromLatin1("  a   " + first + ": yes or no\n  bb  " + second + ": yes or\n      no\n"));
}

QTEST_GUILESS_MAIN(TableTest)
#include "TableTest.moc"
