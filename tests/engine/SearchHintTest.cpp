// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/SearchHint.h"

#include <QTest>

class SearchHintTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saysNothingByDefault_data();
    void saysNothingByDefault();
    void admitsLinesWithAWord_data();
    void admitsLinesWithAWord();
    void findsTheStart_data();
    void findsTheStart();
    void startsAtTheLineWithoutAPattern();
    void findsAnyStartWithoutWords();
};

void SearchHintTest::saysNothingByDefault_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << QString(QLatin1String(""));
    QTest::newRow("blank") << QStringLiteral(" ");
    QTest::newRow("word") << QStringLiteral("word");
    QTest::newRow("unicode") << QStringLiteral("\u00fc\u2003");
}

void SearchHintTest::saysNothingByDefault()
{
    QFETCH(QString, text);
    const SearchHint hint;
    QCOMPARE(hint.admits(text.toUtf8()), true);
    QCOMPARE(hint.startIn(text), 0);
}

void SearchHintTest::admitsLinesWithAWord_data()
{
    QTest::addColumn<QList<QByteArray>>("words");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("admits");

    const QList<QByteArray> two{"first", "second"};
    QTest::newRow("the only word") << QList<QByteArray>{"first"} << QByteArray("a first b") << true;
    QTest::newRow("nothing but the word") << QList<QByteArray>{"first"} << QByteArray("first") << true;
    QTest::newRow("inside a word") << QList<QByteArray>{"first"} << QByteArray("xfirsty") << true;
    QTest::newRow("first of two") << two << QByteArray("a first b") << true;
    QTest::newRow("second of two") << two << QByteArray("a second b") << true;
    QTest::newRow("both") << two << QByteArray("second first") << true;
    QTest::newRow("none") << two << QByteArray("third") << false;
    QTest::newRow("only a part") << two << QByteArray("firs second").left(8) << false;
    QTest::newRow("other case") << two << QByteArray("FIRST") << false;
    QTest::newRow("empty line") << two << QByteArray("") << false;
    QTest::newRow("null line") << two << QByteArray() << false;
    QTest::newRow("no valid text around it") << two
                                             << QByteArray("\xff"
                                                           "first\xfe")
                                             << true;
    QTest::newRow("no words") << QList<QByteArray>{} << QByteArray("third") << true;
    QTest::newRow("no words, empty line") << QList<QByteArray>{} << QByteArray("") << true;
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
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("offset");

    QTest::newRow("at the front") << "KEY"
                                  << "KEY KEY" << 0;
    QTest::newRow("leftmost") << "KEY"
                              << "a KEY KEY" << 2;
    QTest::newRow("not there") << "KEY"
                               << "a KE" << -1;
    QTest::newRow("other case") << "KEY"
                                << "key" << -1;
    QTest::newRow("empty text") << "KEY"
                                << "" << -1;
    QTest::newRow("counted in UTF-16") << "KEY" << QStringLiteral("\u00fc\U0001f600KEY") << 3;
    QTest::newRow("blanks of unicode") << "\\s+KEY" << QStringLiteral("a\u00a0\u2003KEY") << 1;
    QTest::newRow("digits of unicode") << "\\d" << QStringLiteral("a\u0664") << 1;
}

void SearchHintTest::findsTheStart()
{
    QFETCH(QString, start);
    QFETCH(QString, text);
    QTEST(SearchHint({"word"}, start).startIn(text), "offset");
}

void SearchHintTest::startsAtTheLineWithoutAPattern()
{
    const SearchHint hint({"word"});
    QCOMPARE(hint.startIn(QStringLiteral("a word")), 0);
    QCOMPARE(hint.startIn(QStringLiteral("nothing")), 0);
    QCOMPARE(hint.startIn(QString()), 0);
}

void SearchHintTest::findsAnyStartWithoutWords()
{
    const SearchHint hint({}, QStringLiteral("b"));
    QCOMPARE(hint.admits("a"), true);
    QCOMPARE(hint.startIn(QStringLiteral("ab")), 1);
    QCOMPARE(hint.startIn(QStringLiteral("a")), -1);
}

QTEST_GUILESS_MAIN(SearchHintTest)
#include "SearchHintTest.moc"
