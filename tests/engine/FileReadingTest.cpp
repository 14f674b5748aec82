// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileReading.h"

#include "engine/RegExpHandler.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>

#include <limits>

namespace
{
constexpr int megabyte = 1024 * 1024;

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

    QList<QByteArray> values;
    bool allNull = true;
    int appendCalls = 0;

private:
    bool m_answer;
};

/// Lets this process open no file more, until this object ends.
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreFiles()
    {
        setrlimit(RLIMIT_NOFILE, &m_before);
    }

private:
    Q_DISABLE_COPY_MOVE(NoMoreFiles)

    rlimit m_before{};
};
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
    void handsOverNullLines_data();
    void handsOverNullLines();
    void appendsNothing();
    void keepsTheFile();
    void closesTheFile();
    void readsFilesWithoutASize();
    void readsMoreThanTwoGigabytes();
    void searchesFromTheStart();
    void keepsEarlierMessages_data();
    void keepsEarlierMessages();
    void reportsAMissingFile_data();
    void reportsAMissingFile();
    void reportsADanglingLink();
    void reportsAFolder_data();
    void reportsAFolder();
    void reportsWhatTheSystemSays();
    void callsNoHandlerOnFailure();
    void translatesItsMessages();

private:
    QString path(const QString &name = QStringLiteral("settings")) const;

    QScopedPointer<QTemporaryDir> m_folder;
};

void FileReadingTest::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(m_folder->isValid());
}

QString FileReadingTest::path(const QString &name) const
{
    return m_folder->filePath(name);
}

void FileReadingTest::handsOverMatchingLines_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QList<QByteArray>>("values");

    using Values = QList<QByteArray>;
    QTest::newRow("empty file") << QByteArray() << Values{};
    QTest::newRow("one setting") << QByteArray("KEY 10\n") << Values{"10"};
    QTest::newRow("no line end") << QByteArray("OTHER 1\nKEY 10") << Values{"10"};
    QTest::newRow("empty last line") << QByteArray("KEY 10\n\n") << Values{"10"};
    QTest::newRow("blanks around") << QByteArray(" \tKEY\t 10 \t\n") << Values{"10"};
    QTest::newRow("inside other text") << QByteArray("xKEY 10 y\n") << Values{"10"};
    QTest::newRow("other lines") << QByteArray("OTHER 1\nKEY 10\n\nOTHER 2\n") << Values{"10"};
    QTest::newRow("other case") << QByteArray("key 10\n") << Values{};
    QTest::newRow("twice, in order") << QByteArray("KEY 10\nKEY 20\n") << Values{"10", "20"};
    QTest::newRow("twice the same") << QByteArray("KEY 10\nKEY 10\n") << Values{"10", "10"};
    QTest::newRow("first in a line counts") << QByteArray("KEY 10 KEY 20\n") << Values{"10"};
    QTest::newRow("comment line") << QByteArray("  # KEY 10\n") << Values{};
    QTest::newRow("commented out") << QByteArray("#KEY 10\n") << Values{};
    QTest::newRow("comment behind") << QByteArray("KEY 10 # note\n") << Values{"10"};
    QTest::newRow("comment at once") << QByteArray("KEY 10#20\n") << Values{"10"};
    QTest::newRow("value commented out") << QByteArray("KEY #10\n") << Values{""};
    QTest::newRow("only blanks") << QByteArray("   \n\t\n \r\n") << Values{};
    QTest::newRow("only a line end") << QByteArray("\n") << Values{};
    QTest::newRow("carriage returns") << QByteArray("KEY 10\r\nKEY\r\nKEY 30\r\n") << Values{"10", "", "30"};
    QTest::newRow("NUL byte behind the value") << QByteArray("KEY 10\0 20\nKEY 30\n", 18) << Values{"10", "30"};
    QTest::newRow("NUL byte in the value") << QByteArray("KEY 1\0002\n", 8) << Values{"1"};
    QTest::newRow("NUL byte before the setting") << QByteArray("\0KEY 10\nKEY 20\n", 15) << Values{"20"};
    QTest::newRow("NUL byte before the comment") << QByteArray("KEY 10\0#a\nKEY 20", 16) << Values{"10", "20"};
    QTest::newRow("NUL byte in a comment") << QByteArray("#\0KEY 10\nKEY 20 #\0a\n", 20) << Values{"20"};
    QTest::newRow("UTF-8 value") << QByteArray("KEY \u00fc\u20ac\n") << Values{"\u00fc\u20ac"};
    QTest::newRow("UTF-8 comment") << QByteArray("# \u00fc\nKEY 10 # \u20ac\n") << Values{"10"};
    QTest::newRow("no valid UTF-8 elsewhere")
        << QByteArray("\xff\xfe\nKEY 10 # \xff\n\xc3\nKEY 20\n\xe2\x82") << Values{"10", "20"};
    QTest::newRow("no valid UTF-8 in the value") << QByteArray("KEY a\xff"
                                                               "b\n")
                                                 << Values{"a\ufffdb"};
    QTest::newRow("byte order mark") << QByteArray("\ufeffKEY 10\n") << Values{"10"};
}

void FileReadingTest::handsOverMatchingLines()
{
    QFETCH(QByteArray, content);
    writeContent(path(), content);
    Collector handler;
    QString error;
    QCOMPARE(readFile(path(), &handler, &error), true);
    QTEST(handler.values, "values");
    QCOMPARE(error, QString());
}

void FileReadingTest::handsOverTenThousandLines()
{
    QByteArray content;
    QList<QByteArray> values;
    for (int i = 0; i < 10000; ++i) {
        values += QByteArray::number(i);
        content += "KEY " + values.last() + "\nOTHER 1 # KEY 2\n";
    }
    writeContent(path(), content);
    Collector handler;
    QString error;
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(handler.values, values);
}

void FileReadingTest::readsLinesOfAMegabyte_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QList<QByteArray>>("values");

    const QByteArray name("KEY=");
    QTest::newRow("letters") << QByteArray(megabyte, 'x') << QList<QByteArray>{};
    QTest::newRow("blanks") << QByteArray(megabyte, ' ') << QList<QByteArray>{};
    QTest::newRow("NUL bytes") << QByteArray(megabyte, '\0') << QList<QByteArray>{};
    QTest::newRow("comment marks") << QByteArray(megabyte, '#') << QList<QByteArray>{};
    QTest::newRow("names") << name.repeated(megabyte / name.size())
                           << QList<QByteArray>{name.repeated(megabyte / name.size() - 1)};
    QTest::newRow("comment") << "KEY=1 #" + QByteArray(megabyte, 'x') << QList<QByteArray>{"1"};
    QTest::newRow("setting behind letters") << QByteArray(megabyte, 'x') + "KEY=1" << QList<QByteArray>{"1"};
    QTest::newRow("value") << "KEY=" + QByteArray(megabyte, '1') << QList<QByteArray>{QByteArray(megabyte, '1')};
    QTest::newRow("blanks before the value") << "KEY=" + QByteArray(megabyte, ' ') + '1' << QList<QByteArray>{"1"};
}

void FileReadingTest::readsLinesOfAMegabyte()
{
    QFETCH(QByteArray, line);
    QFETCH(QList<QByteArray>, values);
    writeContent(path(), line + "\nKEY=last\n");
    Collector handler(QStringLiteral("(KEY)=\\s*(\\S+)"));
    QString error;
    QVERIFY(readFile(path(), &handler, &error));
    // not by QCOMPARE: it would print the megabyte
    QVERIFY(handler.values == values + QList<QByteArray>{"last"});
}

void FileReadingTest::handsOverNullLines_data()
{
    QTest::addColumn<bool>("answer");
    QTest::newRow("handler returns true") << true;
    QTest::newRow("handler returns false") << false;
}

void FileReadingTest::handsOverNullLines()
{
    QFETCH(bool, answer);
    writeContent(path(), "KEY 10\nKEY 20\n");
    Collector handler(QStringLiteral("(KEY)\\s*(\\d+)"), answer);
    QString error;
    QCOMPARE(readFile(path(), &handler, &error), true);
    QCOMPARE(handler.values, (QList<QByteArray>{"10", "20"}));
    QCOMPARE(handler.allNull, true);
}

void FileReadingTest::appendsNothing()
{
    writeContent(path(), "KEY 10\n");
    Collector handler;
    QString error;
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(handler.appendCalls, 0);
}

void FileReadingTest::keepsTheFile()
{
    const QByteArray content("KEY 10 # a\r\n\xff\nKEY");
    writeContent(path(), content);
    QVERIFY(QFile::setPermissions(path(), QFile::ReadOwner));
    Collector handler;
    QString error;
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(contentOf(path()), content);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("settings")});
}

void FileReadingTest::closesTheFile()
{
    writeContent(path(), "KEY 10\n");
    Collector handler;
    QString error;
    const QStringList before = openFiles();
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(openFiles(), before);
}

void FileReadingTest::readsFilesWithoutASize()
{
    Collector handler(QStringLiteral("^(Pid):\\s*(\\d+)"));
    QString error;
    QVERIFY(readFile(QStringLiteral("/proc/self/status"), &handler, &error));
    QCOMPARE(handler.values, QList<QByteArray>{QByteArray::number(QCoreApplication::applicationPid())});
}

// more than a QByteArray holds; a file with holes, so that the disk needn't
void FileReadingTest::readsMoreThanTwoGigabytes()
{
    constexpr qint64 lineLength = megabyte;
    constexpr qint64 lines = 2100;
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("KEY 1\n");
    for (qint64 i = 1; i <= lines; ++i) {
        file.seek(i * lineLength);
        file.write("\n");
    }
    file.write("KEY 2\n");
    file.close();
    QVERIFY(file.size() > std::numeric_limits<int>::max());

    Collector collector;
    QString error;
    QVERIFY(readFile(path(), &collector, &error));
    QCOMPARE(collector.values, (QList<QByteArray>{"1", "2"}));
}

void FileReadingTest::searchesFromTheStart()
{
    // a search goes on neither from the last match nor in the line before
    writeContent(path(), "aaaaaaaa KEY 1\nKEY 2\nb KEY 3\n");
    Collector handler(QStringLiteral("^.*(KEY) (\\d)$"));
    QString error;
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(handler.values, (QList<QByteArray>{"1", "2", "3"}));
}

void FileReadingTest::keepsEarlierMessages_data()
{
    QTest::addColumn<QString>("before");
    QTest::newRow("none") << "";
    QTest::newRow("one") << "x";
}

void FileReadingTest::keepsEarlierMessages()
{
    QFETCH(QString, before);
    writeContent(path(), "KEY 10\n");
    Collector handler;
    QString error = before;
    QVERIFY(readFile(path(), &handler, &error));
    QCOMPARE(error, before);
}

void FileReadingTest::reportsAMissingFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("error");

    QTest::newRow("first message") << "/nowhere/settings"
                                   << ""
                                   << "\"/nowhere/settings\" not exists";
    QTest::newRow("behind another") << "/nowhere/settings"
                                    << "x"
                                    << "x\n\"/nowhere/settings\" not exists";
    QTest::newRow("as passed in") << "nowhere/../a//b"
                                  << ""
                                  << "\"nowhere/../a//b\" not exists";
    QTest::newRow("placeholders") << "/nowhere/%1%2"
                                  << ""
                                  << "\"/nowhere/%1%2\" not exists";
    QTest::newRow("no path") << ""
                             << ""
                             << "\"\" not exists";
}

void FileReadingTest::reportsAMissingFile()
{
    QFETCH(QString, path);
    QFETCH(QString, before);
    Collector handler;
    QString error = before;
    QCOMPARE(readFile(path, &handler, &error), false);
    QTEST(error, "error");
}

void FileReadingTest::reportsADanglingLink()
{
    QVERIFY(QFile::link(path(QStringLiteral("nowhere")), path()));
    Collector handler;
    QString error;
    QCOMPARE(readFile(path(), &handler, &error), false);
    QCOMPARE(error, QLatin1Char('"') + path() + QLatin1String("\" not exists"));
}

void FileReadingTest::reportsAFolder_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("start");
    QTest::newRow("first message") << ""
                                   << "\"";
    QTest::newRow("behind another") << "x"
                                    << "x\n\"";
}

void FileReadingTest::reportsAFolder()
{
    QFETCH(QString, before);
    QFETCH(QString, start);
    QVERIFY(QDir().mkdir(path(QStringLiteral("%1%3"))));
    Collector handler;
    QString error = before;
    QCOMPARE(readFile(path(QStringLiteral("%1%3")), &handler, &error), false);
    QCOMPARE(error, start + path(QStringLiteral("%1%3")) + QLatin1String("\" error 5\nfile to open is a directory"));
}

void FileReadingTest::reportsWhatTheSystemSays()
{
    writeContent(path(), "KEY 10\n");
    Collector handler;
    QString error;
    const NoMoreFiles limit;
    QCOMPARE(readFile(path(), &handler, &error), false);
    QCOMPARE(error, QLatin1Char('"') + path() + QLatin1String("\" error 4\nToo many open files"));
}

void FileReadingTest::callsNoHandlerOnFailure()
{
    Collector handler(QStringLiteral(".*"));
    QString error;
    QVERIFY(!readFile(path(), &handler, &error));
    QVERIFY(!readFile(m_folder->path(), &handler, &error));
    QCOMPARE(handler.values, QList<QByteArray>{});
    QCOMPARE(handler.appendCalls, 0);
}

void FileReadingTest::translatesItsMessages()
{
    const RecordingTranslator translator;
    Collector handler;
    QString error;
    QVERIFY(!readFile(path(), &handler, &error));
    QVERIFY(!readFile(m_folder->path(), &handler, &error));
    // the last text is Qt's own, and goes through the same translator
    QCOMPARE(error,
             QStringLiteral("[\"%1/settings\" not exists]\n[\"%1\" error 5\n[file to open is a directory]]")
                 .arg(m_folder->path()));
    QCOMPARE(translator.contextsOf("\"%1\" not exists"), QList<QByteArray>{"QObject"});
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

QTEST_GUILESS_MAIN(FileReadingTest)
#include "FileReadingTest.moc"
