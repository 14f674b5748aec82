// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileReading.h"

#include "engine/RegExpHandler.h"
#include "tests/support/Files.h"
#include "tests/support/NoMoreFiles.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <memory>

namespace
{
using Values = QList<QByteArray>;

constexpr int megabyte = 1024 * 1024;
const QString path = QStringLiteral("settings");

/// Notes the value of each setting that is handed over.
class Collector : public RegExpHandler
{
public:
    explicit Collector(const QString &pattern = QStringLiteral("\\s*(KEY)\\s*=?\\s*(\\S*)"), bool answer = true)
        : RegExpHandler(pattern), m_answer(answer)
    {
    }

    bool handleLine(QByteArray *line) override
    {
        allNull = allNull && !line;
        values += regExp().cap(2).toUtf8();
        return m_answer;
    }
    bool appendLines(QByteArray *tail) override
    {
        Q_UNUSED(tail)
        ++appendCalls;
        return true;
    }

    Values values;
    bool allNull = true;
    int appendCalls = 0;

private:
    bool m_answer;
};

/// How a reading ends, and the error text that it leaves.
QString read(const QString &file, Collector *handler, const QString &earlier = QString())
{
    QString error = earlier;
    const bool succeeded = readFile(file, handler, &error);
    return (succeeded ? QLatin1String("read: ") : QLatin1String("failed: ")) + error;
}

Values valuesIn(const QByteArray &content, const char *pattern)
{
    writeContent(path, content);
    Collector handler(QString::fromLatin1(pattern));
    return read(path, &handler) == QLatin1String("read: ") ? handler.values : Values{"failed"};
}
}

class FileReadingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void handsOverMatchingLines_data();
    void handsOverMatchingLines();
    void handsOverTenThousandLines();
    void readsLinesOfAMegabyte_data();
    void readsLinesOfAMegabyte();
    void readsFilesWithoutASize();
    void readsMoreThanTwoGigabytes();
    void searchesFromTheStart();
    void reportsWhatItCannotRead_data();
    void reportsWhatItCannotRead();
    void reportsWhatTheSystemSays();
    void translatesItsMessages();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

void FileReadingTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(m_folder->path()));
}

void FileReadingTest::handsOverMatchingLines_data()
{
    const Rows<QByteArray, Values> row("content", "values");
    // clang-format off
    row("empty file", "", {});
    row("one setting", "KEY 10\n", {"10"});
    row("no line end", "OTHER 1\nKEY 10", {"10"});
    row("empty last line", "KEY 10\n\n", {"10"});
    row("blanks around", " \tKEY\t 10 \t\n", {"10"});
    row("inside other text", "xKEY 10 y\n", {"10"});
    row("other lines", "OTHER 1\nKEY 10\n\nOTHER 2\n", {"10"});
    row("other case", "key 10\n", {});
    row("twice, in order", "KEY 10\nKEY 20\n", {"10", "20"});
    row("twice the same", "KEY 10\nKEY 10\n", {"10", "10"});
    row("first in a line counts", "KEY 10 KEY 20\n", {"10"});
    row("comment line", "  # KEY 10\n", {});
    row("commented out", "#KEY 10\n", {});
    row("comment behind", "KEY 10 # note\n", {"10"});
    row("comment at once", "KEY 10#20\n", {"10"});
    row("first mark counts", "KEY 10 # a # b\n", {"10"});
    row("cut character before the comment", "KEY a\xc3#b\n", {"a\ufffd"});
    row("value commented out", "KEY #10\n", {""});
    row("only blanks", "   \n\t\n \r\n", {});
    row("only a line end", "\n", {});
    row("carriage returns", "KEY 10\r\nKEY\r\nKEY 30\r\n", {"10", "", "30"});
    row("NUL byte behind the value", {"KEY 10\0 20\nKEY 30\n", 18}, {"10", "30"});
    row("NUL byte in the value", {"KEY 1\0002\n", 8}, {"1"});
    row("NUL byte before the setting", {"\0KEY 10\nKEY 20\n", 15}, {"20"});
    row("NUL byte before the comment", {"KEY 10\0#a\nKEY 20", 16}, {"10", "20"});
    row("NUL byte in a comment", {"#\0KEY 10\nKEY 20 #\0a\n", 20}, {"20"});
    row("UTF-8 value", "KEY \u00fc\u20ac\n", {"\u00fc\u20ac"});
    row("UTF-8 comment", "# \u00fc\nKEY 10 # \u20ac\n", {"10"});
    row("no valid UTF-8 elsewhere", "\xff\xfe\nKEY 10 # \xff\n\xc3\nKEY 20\n\xe2\x82", {"10", "20"});
    row("no valid UTF-8 in the value", "KEY a\xff" "b\n", {"a\ufffdb"});
    row("byte order mark", "\ufeffKEY 10\n", {"10"});
    // clang-format on
}

void FileReadingTest::handsOverMatchingLines()
{
    QFETCH(QByteArray, content);
    QFETCH(Values, values);
    writeContent(path, content);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));
    const QStringList filesBefore = openFiles();
    for (const bool answer : {true, false}) {
        Collector handler(QStringLiteral("\\s*(KEY)\\s*=?\\s*(\\S*)"), answer);

        QCOMPARE(read(path, &handler), QStringLiteral("read: "));

        QCOMPARE(handler.values, values);
        QCOMPARE(handler.allNull, true);
        QCOMPARE(handler.appendCalls, 0);
    }
    Collector handler;
    QCOMPARE(read(path, &handler, QStringLiteral("x")), QStringLiteral("read: x"));
    QCOMPARE(openFiles(), filesBefore);
    QCOMPARE(contentOf(path), content);
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{path});
}

void FileReadingTest::handsOverTenThousandLines()
{
    QByteArray content;
    Values values;
    for (int i = 0; i < 10000; ++i) {
        values += QByteArray::number(i);
        content += "KEY " + values.last() + "\nOTHER 1 # KEY 2\n";
    }
    QCOMPARE(valuesIn(content, "(KEY) (\\d+)"), values);
}

void FileReadingTest::readsLinesOfAMegabyte_data()
{
    const Rows<QByteArray, Values> row("line", "values");
    const QByteArray ones(megabyte, '1');
    const QByteArray names = QByteArray("KEY=").repeated(megabyte / 4);
    row("letters", QByteArray(megabyte, 'x'), {});
    row("blanks", QByteArray(megabyte, ' '), {});
    row("NUL bytes", QByteArray(megabyte, '\0'), {});
    row("comment marks", QByteArray(megabyte, '#'), {});
    row("names", names, {names.mid(4)});
    row("comment", "KEY=1 #" + ones, {"1"});
    row("setting behind letters", QByteArray(megabyte, 'x') + "KEY=1", {"1"});
    row("value", "KEY=" + ones, {ones});
    row("blanks before the value", "KEY=" + QByteArray(megabyte, ' ') + '1', {"1"});
}

void FileReadingTest::readsLinesOfAMegabyte()
{
    QFETCH(QByteArray, line);
    QFETCH(Values, values);
    // not by QCOMPARE: it would print the megabyte
    QVERIFY(valuesIn(line + "\nKEY=last\n", "(KEY)=\\s*(\\S+)") == values + Values{"last"});
}

void FileReadingTest::readsFilesWithoutASize()
{
    Collector handler(QStringLiteral("^(Pid):\\s*(\\d+)"));
    QCOMPARE(read(QStringLiteral("/proc/self/status"), &handler), QStringLiteral("read: "));
    QCOMPARE(handler.values, Values{QByteArray::number(QCoreApplication::applicationPid())});
}

// more than a QByteArray holds; a file with holes, so that the disk needn't
void FileReadingTest::readsMoreThanTwoGigabytes()
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("KEY 1\n");
    for (qint64 i = 1; i <= 2100; ++i) {
        file.seek(i * megabyte);
        file.write("\n");
    }
    file.write("KEY 2\n");
    file.close();
    QVERIFY(file.size() > std::numeric_limits<int>::max());

    Collector handler;
    QCOMPARE(read(path, &handler), QStringLiteral("read: "));
    QCOMPARE(handler.values, (Values{"1", "2"}));
}

void FileReadingTest::searchesFromTheStart()
{
    // a search goes on neither from the last match nor in the line before
    QCOMPARE(valuesIn("aaaaaaaa KEY 1\nKEY 2\nb KEY 3\n", "^.*(KEY) (\\d)$"), (Values{"1", "2", "3"}));
    // and for nothing in what is empty, or in a comment and its mark
    QCOMPARE(valuesIn("\n # KEY 1\nKEY 2 # a\n", "(x*)|(.*#)"), Values{""});
}

void FileReadingTest::reportsWhatItCannotRead_data()
{
    const Rows<RowText, RowText> row("file", "message");
    row("missing", "/nowhere/settings", "\"/nowhere/settings\" not exists");
    row("as passed in", "nowhere/../a//b", "\"nowhere/../a//b\" not exists");
    row("placeholders", "/nowhere/%1%2", "\"/nowhere/%1%2\" not exists");
    row("unicode", "/\u00fc", "\"/\u00fc\" not exists");
    row("no path", "", "\"\" not exists");
    row("dangling link", "dangling", "\"dangling\" not exists");
    row("folder", "%1%3", "\"%1%3\" error 5\nfile to open is a directory");
}

void FileReadingTest::reportsWhatItCannotRead()
{
    QFETCH(QString, file);
    QFETCH(QString, message);
    QVERIFY(QFile::link(QStringLiteral("nowhere"), QStringLiteral("dangling")));
    QVERIFY(QDir().mkdir(QStringLiteral("%1%3")));
    Collector handler(QStringLiteral(".*"));

    QCOMPARE(read(file, &handler), QLatin1String("failed: ") + message);
    QCOMPARE(read(file, &handler, QStringLiteral("x")), QLatin1String("failed: x\n") + message);
    QCOMPARE(handler.values, Values{});
    QCOMPARE(handler.appendCalls, 0);
}

void FileReadingTest::reportsWhatTheSystemSays()
{
    writeContent(path, "KEY 10\n");
    Collector handler;
    const NoMoreFiles limit;
    QCOMPARE(read(path, &handler), QStringLiteral("failed: \"settings\" error 4\nToo many open files"));
}

void FileReadingTest::translatesItsMessages()
{
    const RecordingTranslator translator;
    Collector handler;
    QCOMPARE(read(path, &handler), QStringLiteral("failed: [\"settings\" not exists]"));
    // the text within is Qt's own
    QCOMPARE(read(QStringLiteral("."), &handler),
             QStringLiteral("failed: [\".\" error 5\n[file to open is a directory]]"));
    QCOMPARE(translator.contextsOf("\"%1\" not exists"), Values{"QObject"});
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), Values{"QObject"});
}

QTEST_GUILESS_MAIN(FileReadingTest)
#include "FileReadingTest.moc"
