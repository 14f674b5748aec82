// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/LineWalk.h"

#include "engine/RegExpHandler.h"

#include "tests/support/Rows.h"

#include <QBuffer>
#include <QTest>
#include <QVector>

#include <random>

namespace
{
using Lines = QList<QByteArray>;

class Handler : public RegExpHandler
{
public:
    using RegExpHandler::RegExpHandler;

    bool handleLine(QByteArray *line) override
    {
        Q_UNUSED(line)
        return false;
    }
};

/// What a walk tells of one line: its bytes, behind them "=" and the text found.
QByteArray visited(const QByteArray &line, bool matched, const QString &found)
{
    return matched ? line + '=' + found.toUtf8() : line;
}

Lines walk(QIODevice *device, const RegExpHandler &handler)
{
    Lines lines;
    walkLines(device, handler, [&lines, &handler](const QByteArray &line, bool matched) {
        lines += visited(line, matched, handler.regExp().cap(0));
    });
    return lines;
}

Lines walk(const QByteArray &content, const QString &pattern)
{
    QByteArray bytes = content;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return walk(&buffer, Handler(pattern));
}

/// The same, line by line and decoded as a whole before the comment is cut off.
Lines plainWalk(const QByteArray &content, const QString &pattern)
{
    QByteArray bytes = content;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QRegExp regExp(pattern);
    Lines lines;
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
    static const QVector<QByteArray> fragments{
        "KEY",     "KEY",    "K",      "5",          "12",   "=",    "-",        "#",        "# ",     " ",
        "  ",      "\t",     "\r",     "\n",         "\n",   "\n",   "\v\f",     {1, '\0'},  "\u00a0", "\u2003",
        "\ufeff",  "\u00fc", "\u20ac", "\U0001f600", "\xff", "\xc3", "\xe2\x82", "\xf0\x9f", "\x80",   "\xed\xa0\x80",
        "\xc2\x85"};
    QByteArray content;
    for (int length = randomNumber(random, 40); length > 0; --length) {
        content += fragments.at(randomNumber(random, static_cast<int>(fragments.size())));
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
    void visitsWhatTheDeviceStillHas();
    void walksLikeAPlainReader_data();
    void walksLikeAPlainReader();
};

void LineWalkTest::visitsEveryLine_data()
{
    const Rows<QByteArray, Lines> row("content", "lines");
    row("nothing", "", {});
    row("one line", "a\n", {"a\n"});
    row("no line end", "a", {"a"});
    row("last line without end", "a\nb", {"a\n", "b"});
    row("empty lines", "\n\na\n\n", {"\n", "\n", "a\n", "\n"});
    row("carriage returns", "a\r\nb\rc\r\n", {"a\r\n", "b\rc\r\n"});
    row("NUL bytes", {"\0\na\0b\nc\0", 8}, {{"\0\n", 2}, {"a\0b\n", 4}, {"c\0", 2}});
    row("no valid text", "\xff\n\xc3\n", {"\xff\n", "\xc3\n"});
    row("blanks and comments", "  \n#\n # b\n", {"  \n", "#\n", " # b\n"});
    // the file is read in pieces, of which a megabyte is a multiple
    constexpr int megabyte = 1024 * 1024;
    for (const int length : {-2, -1, 0, 1}) {
        const QByteArray line = QByteArray(megabyte + length, 'a') + '\n';
        QTest::addRow("line end %d behind a megabyte", length) << line + "b\nc" << Lines{line, "b\n", "c"};
    }
    const QByteArray megabytes(3 * megabyte, 'b');
    row("three megabytes in a line", "a\n" + megabytes + "\nc\n", {"a\n", megabytes + '\n', "c\n"});
    row("a megabyte without line end", megabytes.left(megabyte), {megabytes.left(megabyte)});
}

void LineWalkTest::visitsEveryLine()
{
    QFETCH(QByteArray, content);
    QTEST(walk(content, QStringLiteral("nowhere")), "lines");
}

void LineWalkTest::visitsWhatTheDeviceStillHas()
{
    QByteArray content("first\nsecond\nthird\n");
    QBuffer buffer(&content);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    buffer.readLine();
    const Handler handler(QStringLiteral("th"));
    QCOMPARE(walk(&buffer, handler), (Lines{"second\n", "third\n=th"}));
    QVERIFY(buffer.atEnd());
    QCOMPARE(walk(&buffer, handler), Lines{});
}

void LineWalkTest::walksLikeAPlainReader_data()
{
    const Rows<RowText> row("pattern");
    row("setting", "\\s*(KEY)\\s*=?\\s*(-?\\d+)");
    row("anything", ".*");
    row("anchored", "^K.*$");
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

QTEST_GUILESS_MAIN(LineWalkTest)
#include "LineWalkTest.moc"
