// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/SearchHint.h"

#include "tests/support/Rows.h"

#include <QTest>

class SearchHintTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void admitsLinesWithAWord_data();
    void admitsLinesWithAWord();
    void findsTheStart_data();
    void findsTheStart();
};

void SearchHintTest::admitsLinesWithAWord_data()
{
    const Rows<QList<QByteArray>, QByteArray, bool> row("words", "bytes", "admits");
    // clang-format off
    row("the only word", {"first"}, "a first b", true);
    row("nothing but the word", {"first"}, "first", true);
    row("inside a word", {"first"}, "xfirsty", true);
    row("first of two", {"first", "second"}, "a first b", true);
    row("second of two", {"first", "second"}, "a second b", true);
    row("both", {"first", "second"}, "second first", true);
    row("none", {"first", "second"}, "third", false);
    row("only a part", {"first", "second"}, "firs sec", false);
    row("other case", {"first", "second"}, "FIRST", false);
    row("empty line", {"first", "second"}, "", false);
    row("null line", {"first", "second"}, {}, false);
    row("no valid text around it", {"first", "second"}, "\xff" "first\xfe", true);
    row("no words", {}, "third", true);
    row("no words, empty line", {}, "", true);
    // clang-format on
}

void SearchHintTest::admitsLinesWithAWord()
{
    QFETCH(QList<QByteArray>, words);
    QFETCH(QByteArray, bytes);
    QTEST(SearchHint(words).admits(bytes), "admits");
    QTEST(SearchHint(words, QStringLiteral("start")).admits(bytes), "admits");
}

void SearchHintTest::findsTheStart_data()
{
    const Rows<RowText, RowText, int> row("start", "text", "offset");
    row("at the front", "KEY", "KEY KEY", 0);
    row("leftmost", "KEY", "a KEY KEY", 2);
    row("not there", "KEY", "a KE", -1);
    row("other case", "KEY", "key", -1);
    row("empty text", "KEY", "", -1);
    row("counted in UTF-16", "KEY", "\u00fc\U0001f600KEY", 3);
    row("blanks of unicode", "\\s+KEY", "a\u00a0\u2003KEY", 1);
    row("no pattern", "", "a word", 0);
    row("no pattern, empty text", "", "", 0);
    row("no pattern, null text", "", QString(), 0);
    row("digits of unicode", "\\d", "a\u0664", 1);
}

void SearchHintTest::findsTheStart()
{
    QFETCH(QString, start);
    QFETCH(QString, text);
    QTEST(SearchHint({"word"}, start).startIn(text), "offset");
    QTEST(SearchHint({}, start).startIn(text), "offset");
    // without anything it says nothing
    QCOMPARE(SearchHint().startIn(text), 0);
    QCOMPARE(SearchHint().admits(text.toUtf8()), true);
}

QTEST_GUILESS_MAIN(SearchHintTest)
#include "SearchHintTest.moc"
