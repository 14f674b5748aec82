// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/LineWalk.h"

#include "engine/RegExpHandler.h"

#include <QBuffer>
#include <QTest>
#include <QVector>

#include <random>

namespace
{
class Handler : public RegExpHandler
{
public:
    using RegExpHandler::RegExpHandler;

    bool handleLine(QByteArray *line) override
    {
        Q_UNUSED(line)
        ++calls;
        return true;
    }
    bool appendLines(QByteArray *tail) override
    {
        Q_UNUSED(tail)
        ++calls;
        return false;
    }

    int calls = 0;
};

/// What a walk tells of one line: its bytes, behind them "=" and the text found.
QByteArray visited(const QByteArray &line, bool matched, const QString &found)
{
    return matched ? line + '=' + found.toUtf8() : line;
}

QList<QByteArray> walk(QIODevice *device, const RegExpHandler &handler)
{
    QList<QByteArray> lines;
    walkLines(device, handler, [&lines, &handler](const QByteArray &line, bool matched) {
        lines += visited(line, matched, handler.regExp().cap(0));
    });
    return lines;
}

QList<QByteArray> walk(const QByteArray &content, const QString &pattern)
{
    QByteArray bytes = content;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return walk(&buffer, Handler(pattern));
}

/// The same, line by line and decoded as a whole before the comment is cut off.
QList<QByteArray> plainWalk(const QByteArray &content, const QString &pattern)
{
    QByteArray bytes = content;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QRegExp regExp(pattern);
    QList<QByteArray> lines;
    for (QByteArray line = buffer.readLine(); !line.isNull(); line = buffer.readLine()) {
        QString text = QString::fromLocal8Bit(line.constData());
        text = text.left(text.indexOf(QLatin1Char('#'))).trimmed();
        const bool matched = !text.isEmpty() && regExp.indexIn(text, 0, QRegExp::CaretAtZero) != -1;
        lines += visited(line, matched, regExp.cap(0));
    }
    return lines;
}

using Random = std::mt19937;

int randomNumber(Random *random, int limit)
{
    return static_cast<int>((*random)() % static_cast<Random::result_type>(limit));
}

QByteArray randomContent(Random *random)
{
    static const QVector<QByteArray> fragments{"KEY",
                                               "KEY",
                                               "K",
                                               "5",
                                               "12",
                                               " ",
                                               "  ",
                                               "\t",
                                               "\r",
                                               "\n",
                                               "\n",
                                               "\n",
                                               "#",
                                               "# ",
                                               "=",
                                               "-",
                                               "\v\f",
                                               "\u00a0",
                                               "\u2003",
                                               "\ufeff",
                                               "\u00fc",
                                               "\u20ac",
                                               "\xff",
                                               "\xc3",
                                               "\xe2\x82",
                                               "\xf0\x9f",
                                               "\x80",
                                               "\xed\xa0\x80",
                                               QByteArray(1, '\0'),
                                               "\xc2\x85",
                                               "\U0001f600"};
    QByteArray content;
    for (int length = randomNumber(random, 40); length > 0; --length) {
        content += fragments.at(randomNumber(random, fragments.size()));
    }
    return content;
}
}

class LineWalkTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void visitsEveryLine_data();
    void visitsEveryLine();
    void searchesTheTextBeforeTheComment_data();
    void searchesTheTextBeforeTheComment();
    void visitsWhatTheDeviceStillHas();
    void leavesHandlingToTheVisitor();
    void holdsTheCapturesOfTheVisitedLine();
    void walksLikeAPlainReader_data();
    void walksLikeAPlainReader();
    void findsTheComment_data();
    void findsTheComment();
};

void LineWalkTest::visitsEveryLine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QList<QByteArray>>("lines");

    using Lines = QList<QByteArray>;
    QTest::newRow("nothing") << QByteArray() << Lines{};
    QTest::newRow("one line") << QByteArray("a\n") << Lines{"a\n"};
    QTest::newRow("no line end") << QByteArray("a") << Lines{"a"};
    QTest::newRow("last line without end") << QByteArray("a\nb") << Lines{"a\n", "b"};
    QTest::newRow("empty lines") << QByteArray("\n\na\n\n") << Lines{"\n", "\n", "a\n", "\n"};
    QTest::newRow("carriage returns") << QByteArray("a\r\nb\rc\r\n") << Lines{"a\r\n", "b\rc\r\n"};
    QTest::newRow("NUL bytes") << QByteArray("\0\na\0b\nc\0", 8)
                               << Lines{QByteArray("\0\n", 2), QByteArray("a\0b\n", 4), QByteArray("c\0", 2)};
    QTest::newRow("no valid text") << QByteArray("\xff\n\xc3\n") << Lines{"\xff\n", "\xc3\n"};
    QTest::newRow("blanks and comments") << QByteArray("  \n#\n # b\n") << Lines{"  \n", "#\n", " # b\n"};
    // the file is read by megabytes
    for (const int length : {-2, -1, 0, 1}) {
        const QByteArray line = QByteArray(1024 * 1024 + length, 'a') + '\n';
        QTest::addRow("line end %d behind a megabyte", length) << line + "b\nc" << Lines{line, "b\n", "c"};
    }
    const QByteArray megabytes = QByteArray(3 * 1024 * 1024, 'b') + '\n';
    QTest::newRow("three megabytes in a line") << "a\n" + megabytes + "c\n" << Lines{"a\n", megabytes, "c\n"};
    QTest::newRow("a megabyte without line end") << megabytes.left(1024 * 1024) << Lines{megabytes.left(1024 * 1024)};
}

void LineWalkTest::visitsEveryLine()
{
    QFETCH(QByteArray, content);
    QTEST(walk(content, QStringLiteral("nowhere")), "lines");
}

void LineWalkTest::searchesTheTextBeforeTheComment_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("visited");

    QTest::newRow("no comment") << "K.*" << QByteArray("a KEY 5\n") << QByteArray("a KEY 5\n=KEY 5");
    QTest::newRow("comment behind") << "K.*" << QByteArray("KEY 5 # K\n") << QByteArray("KEY 5 # K\n=KEY 5");
    QTest::newRow("comment at once") << "K.*" << QByteArray("KEY 5#K\n") << QByteArray("KEY 5#K\n=KEY 5");
    QTest::newRow("first mark counts") << "K.*" << QByteArray("KEY#a#b\n") << QByteArray("KEY#a#b\n=KEY");
    QTest::newRow("only a comment") << "K.*" << QByteArray("#KEY 5\n") << QByteArray("#KEY 5\n");
    QTest::newRow("comment behind blanks") << "K.*" << QByteArray("  # KEY 5\n") << QByteArray("  # KEY 5\n");
    QTest::newRow("never an empty text") << "x*" << QByteArray("  #\n") << QByteArray("  #\n");
    QTest::newRow("blanks around") << "^K.*$" << QByteArray("\t KEY 5 \r\n") << QByteArray("\t KEY 5 \r\n=KEY 5");
    QTest::newRow("mark is no part of it") << ".*#" << QByteArray("KEY # a\n") << QByteArray("KEY # a\n");
    QTest::newRow("NUL byte behind") << "K.*" << QByteArray("KEY 5\0K\n", 8) << QByteArray("KEY 5\0K\n=KEY 5", 14);
    QTest::newRow("NUL byte before") << "K.*" << QByteArray("a\0KEY 5\n", 8) << QByteArray("a\0KEY 5\n", 8);
    QTest::newRow("comment behind NUL byte")
        << "K.*" << QByteArray("KEY\0 5 # a\n", 11) << QByteArray("KEY\0 5 # a\n=KEY", 15);
    QTest::newRow("NUL byte in the comment")
        << "K.*" << QByteArray("KEY 5 #\0a\n", 10) << QByteArray("KEY 5 #\0a\n=KEY 5", 16);
    QTest::newRow("cut character before the comment")
        << "K.*$" << QByteArray("KEY\xc3#\n") << QByteArray("KEY\xc3#\n=KEY\ufffd");
}

void LineWalkTest::searchesTheTextBeforeTheComment()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, visited);
    QCOMPARE(walk(line, pattern), QList<QByteArray>{visited});
}

void LineWalkTest::visitsWhatTheDeviceStillHas()
{
    QByteArray content("first\nsecond\nthird\n");
    QBuffer buffer(&content);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    buffer.readLine();
    const Handler handler(QStringLiteral("th"));
    QCOMPARE(walk(&buffer, handler), (QList<QByteArray>{"second\n", "third\n=th"}));
    QVERIFY(buffer.atEnd());
    QCOMPARE(walk(&buffer, handler), QList<QByteArray>{});
}

void LineWalkTest::leavesHandlingToTheVisitor()
{
    QByteArray content("KEY\nKEY\n");
    QBuffer buffer(&content);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    const Handler handler(QStringLiteral("KEY"));
    QCOMPARE(walk(&buffer, handler), (QList<QByteArray>{"KEY\n=KEY", "KEY\n=KEY"}));
    QCOMPARE(handler.calls, 0);
}

void LineWalkTest::holdsTheCapturesOfTheVisitedLine()
{
    QCOMPARE(walk("KEY 1\nother\nKEY 2\n", QStringLiteral("KEY\\s*\\d")),
             (QList<QByteArray>{"KEY 1\n=KEY 1", "other\n", "KEY 2\n=KEY 2"}));
}

void LineWalkTest::walksLikeAPlainReader_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::newRow("setting") << "\\s*(KEY)\\s*=?\\s*(-?\\d+)";
    QTest::newRow("anything") << ".*";
    QTest::newRow("anchored") << "^K.*$";
}

void LineWalkTest::walksLikeAPlainReader()
{
    QFETCH(QString, pattern);
    Random random(1);
    for (int i = 0; i < 5000; ++i) {
        const QByteArray content = randomContent(&random);
        QCOMPARE(walk(content, pattern), plainWalk(content, pattern));
    }
}

void LineWalkTest::findsTheComment_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("comment");

    QTest::newRow("none") << QByteArray("KEY 5\n") << QByteArray();
    QTest::newRow("empty line") << QByteArray() << QByteArray();
    QTest::newRow("behind a setting") << QByteArray("KEY 5 # note\n") << QByteArray("# note");
    QTest::newRow("alone") << QByteArray("#note") << QByteArray("#note");
    QTest::newRow("only the mark") << QByteArray("a # \t\n") << QByteArray("#");
    QTest::newRow("from the first mark") << QByteArray("a # b # c\n") << QByteArray("# b # c");
    QTest::newRow("blanks behind it") << QByteArray("a #  b \t\v\f\r\n") << QByteArray("#  b");
    QTest::newRow("UTF-8") << QByteArray("a # \u00fc\u20ac\n") << QByteArray("# \u00fc\u20ac");
    QTest::newRow("no valid text") << QByteArray("a # \xff\xc3 \xe2\x82\n") << QByteArray("# \xff\xc3 \xe2\x82");
    QTest::newRow("behind a NUL byte") << QByteArray("a\0# b\n", 6) << QByteArray("# b");
    QTest::newRow("around a NUL byte") << QByteArray("a # b\0 c\n", 9) << QByteArray("# b\0 c", 6);
    QTest::newRow("behind no valid text") << QByteArray("\xc3# b\n") << QByteArray("# b");
}

void LineWalkTest::findsTheComment()
{
    QFETCH(QByteArray, line);
    QTEST(commentOf(line), "comment");
}

QTEST_GUILESS_MAIN(LineWalkTest)
#include "LineWalkTest.moc"
