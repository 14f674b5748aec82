// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ExportHtmlTask.h"

#include "tasks/ElementTask.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TypedMap.h"
#include "tests/support/WatchedMap.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace
{
const QString filePath = QStringLiteral("filePath");
const QString htmlText = QStringLiteral("htmlText");

QVariantMap arguments(const QVariant &path, const QVariant &text)
{
    return {{filePath, path}, {htmlText, text}};
}

QStringList outcome(int state, const QString &message, const QVariantMap &values)
{
    return QStringList{QStringLiteral("state %1").arg(state), QLatin1String("message ") + message}
    + typedEntries(values);
}

QStringList outcomeOf(const QVariantMap &values)
{
    ExportHtmlTask task(new QVariantMap(values));
    task.run();
    return outcome(task.result().state(), task.result().message(), *task.values());
}

QStringList success(const QVariantMap &values)
{
    return outcome(TaskState::Succeeded, QString(), values);
}

QStringList failure(const QString &message, const QVariantMap &values)
{
    return outcome(TaskState::Failed, message, values);
}

/// Lets this process open no further file until this object ends.
class NoFurtherFile
{
public:
    NoFurtherFile()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoFurtherFile()
    {
        setrlimit(RLIMIT_NOFILE, &m_before);
    }

private:
    Q_DISABLE_COPY_MOVE(NoFurtherFile)

    rlimit m_before{};
};
}

class ExportHtmlTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void isNoElementTask();
    void startsWithTheGivenMap();
    void startsWithoutMapWhereNoneIsGiven();
    void freesItsMap();
    void translatesDescription();
    void doesNothingOnCancel();
    void writesText_data();
    void writesText();
    void writesUtf8WhateverTheLocale();
    void takesPathAsText();
    void replacesFileInPlace_data();
    void replacesFileInPlace();
    void emptiesFileWithoutText();
    void writesThroughLink();
    void leavesModeOfNewFileToTheUmask();
    void makesNoOtherFile();
    void succeedsWhereTheDiskIsFull_data();
    void succeedsWhereTheDiskIsFull();
    void failsWithoutPath_data();
    void failsWithoutPath();
    void failsWhereFileCannotBeOpened_data();
    void failsWhereFileCannotBeOpened();
    void tellsErrorCode();
    void namesFileAsGiven();
    void keepsPlaceholdersOfPath();
    void translatesFailure();
    void keepsDescription();

private:
    QString inFolder(const char *name) const
    {
        return m_folder->filePath(QString::fromUtf8(name));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void ExportHtmlTaskTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void ExportHtmlTaskTest::isNoElementTask()
{
    QVERIFY((std::is_base_of<AbstractTask, ExportHtmlTask>::value));
    QVERIFY(!(std::is_base_of<ElementTask, ExportHtmlTask>::value));
    QVERIFY(!std::is_abstract<ExportHtmlTask>::value);
    QCOMPARE(sizeof(ExportHtmlTask), sizeof(AbstractTask));
}

void ExportHtmlTaskTest::startsWithTheGivenMap()
{
    auto *map = new QVariantMap(arguments(1, 2));
    ExportHtmlTask task(map);

    QVERIFY(task.values() == map);
    QCOMPARE(typedEntries(*map), QStringList({QStringLiteral("filePath: int 1"), QStringLiteral("htmlText: int 2")}));
    QCOMPARE(task.flags(), quint64(0));
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(task.result().state(), 0);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Export to HTML"));
}

void ExportHtmlTaskTest::startsWithoutMapWhereNoneIsGiven()
{
    const ExportHtmlTask task(nullptr);

    QCOMPARE(task.values(), nullptr);
}

void ExportHtmlTaskTest::freesItsMap()
{
    std::weak_ptr<int> life;
    {
        const std::unique_ptr<AbstractTask> task = std::make_unique<ExportHtmlTask>(newWatchedMap(&life));
        task->values()->insert(filePath, inFolder("a.html"));
        task->run();
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

void ExportHtmlTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    ExportHtmlTask task(nullptr);

    QCOMPARE(task.result().description(), QStringLiteral("[Export to HTML]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"QObject", "Export to HTML"}}));
}

void ExportHtmlTaskTest::doesNothingOnCancel()
{
    const QVariantMap values = arguments(inFolder("a.html"), QStringLiteral("text"));
    ExportHtmlTask task(new QVariantMap(values));
    task.cancel();

    QVERIFY(!task.requestCancel());
    QVERIFY(!task.isCancelRequested());
    QCOMPARE(outcome(task.result().state(), task.result().message(), *task.values()),
             outcome(TaskState::NotStarted, QString(), values));
    QCOMPARE(task.result().description(), QStringLiteral("Export to HTML"));
    QVERIFY(!QFile::exists(inFolder("a.html")));
}

void ExportHtmlTaskTest::writesText_data()
{
    QTest::addColumn<QVariant>("text");
    QTest::addColumn<QByteArray>("bytes");

    const auto row = [](const char *name, const QVariant &text, const QByteArray &bytes) {
        QTest::newRow(name) << text << bytes;
    };
    row("markup", QStringLiteral("<p>a &amp; \"b\"</p>\n"), "<p>a &amp; \"b\"</p>\n");
    row("empty", QString(), "");
    row("beyond ASCII", QString::fromUtf8("gr\xc3\xbc\xc3\x9f \xe2\x82\xac"), "gr\xc3\xbc\xc3\x9f \xe2\x82\xac");
    row("beyond 16 bits", QString::fromUtf8("\xf0\x9f\x98\x80"), "\xf0\x9f\x98\x80");
    row("half of a pair", QString(QChar(0xd83d)) + QLatin1Char('x'), "?x");
    row("byte order mark", QString(QChar(0xfeff)), "\xef\xbb\xbf");
    row("line ends", QStringLiteral("a\r\nb\nc\rd"), "a\r\nb\nc\rd");
    row("NUL", QString::fromLatin1("a\0b", 3), QByteArray("a\0b", 3));
    row("long", QString(3000000, QChar(0xfc)), QByteArray("\xc3\xbc").repeated(3000000));
    row("number", 12, "12");
    row("bytes", QByteArray("\xc3\xbc"), "\xc3\xbc");
    row("list", QStringList({QStringLiteral("a"), QStringLiteral("b")}), "");
    row("nothing", QVariant(), "");
}

void ExportHtmlTaskTest::writesText()
{
    QFETCH(QVariant, text);
    QFETCH(QByteArray, bytes);
    const QString path = inFolder("a.html");

    QCOMPARE(outcomeOf(arguments(path, text)), success(arguments(path, text)));

    QVERIFY(QFile::exists(path));
    QVERIFY2(contentOf(path) == bytes, contentOf(path).left(100).constData());
}

void ExportHtmlTaskTest::writesUtf8WhateverTheLocale()
{
    const ScopedLatin1 locale;

    outcomeOf(arguments(inFolder("page.html"), QString::fromUtf8("caf\xc3\xa9")));

    QCOMPARE(contentOf(inFolder("page.html")), QByteArray("caf\xc3\xa9"));
}

void ExportHtmlTaskTest::takesPathAsText()
{
    const QByteArray path = inFolder("\xc3\xbc.html").toUtf8();

    QCOMPARE(outcomeOf(arguments(path, QStringLiteral("x"))), success(arguments(path, QStringLiteral("x"))));

    QCOMPARE(contentOf(inFolder("\xc3\xbc.html")), QByteArray("x"));
}

void ExportHtmlTaskTest::replacesFileInPlace_data()
{
    QTest::addColumn<QByteArray>("before");

    QTest::newRow("shorter") << QByteArray("b");
    QTest::newRow("longer") << QByteArray(100000, 'b');
}

void ExportHtmlTaskTest::replacesFileInPlace()
{
    QFETCH(QByteArray, before);
    const QString path = inFolder("a.html");
    const QString otherName = inFolder("b.html");
    writeContent(path, before);
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x7055)));
    QCOMPARE(::link(QFile::encodeName(path).constData(), QFile::encodeName(otherName).constData()), 0);

    const QVariantMap values = arguments(path, QStringLiteral("text"));
    QCOMPARE(outcomeOf(values), success(values));

    QCOMPARE(contentOf(path), QByteArray("text"));
    QCOMPARE(contentOf(otherName), QByteArray("text"));
    QCOMPARE(static_cast<int>(QFile::permissions(path)) & 0x7077, 0x7055);
}

void ExportHtmlTaskTest::emptiesFileWithoutText()
{
    const QString path = inFolder("a.html");
    writeContent(path, "before");

    QCOMPARE(outcomeOf({{filePath, path}}), success({{filePath, path}}));

    QVERIFY(QFile::exists(path));
    QCOMPARE(QFileInfo(path).size(), qint64(0));
}

void ExportHtmlTaskTest::writesThroughLink()
{
    writeContent(inFolder("target"), "before");
    QVERIFY(QFile::link(inFolder("target"), inFolder("link")));

    const QVariantMap values = arguments(inFolder("link"), QStringLiteral("text"));
    QCOMPARE(outcomeOf(values), success(values));

    QVERIFY(QFileInfo(inFolder("link")).isSymLink());
    QCOMPARE(contentOf(inFolder("target")), QByteArray("text"));
}

void ExportHtmlTaskTest::leavesModeOfNewFileToTheUmask()
{
    const QString path = inFolder("a.html");
    const mode_t before = ::umask(0027);

    outcomeOf(arguments(path, QStringLiteral("text")));

    ::umask(before);
    struct stat status {
    };
    QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
}

void ExportHtmlTaskTest::makesNoOtherFile()
{
    writeContent(inFolder("a.html"), "before");

    outcomeOf(arguments(inFolder("a.html"), QStringLiteral("text")));

    QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("a.html")});
}

void ExportHtmlTaskTest::succeedsWhereTheDiskIsFull_data()
{
    QTest::addColumn<int>("length");

    // a short text fails to be written only when the file is closed
    QTest::newRow("short") << 1;
    QTest::newRow("long") << 1000000;
}

void ExportHtmlTaskTest::succeedsWhereTheDiskIsFull()
{
    QFETCH(int, length);
    const QVariantMap values = arguments(QStringLiteral("/dev/full"), QString(length, QLatin1Char('x')));

    QCOMPARE(outcomeOf(values), success(values));
}

void ExportHtmlTaskTest::failsWithoutPath_data()
{
    QTest::addColumn<QVariantMap>("values");

    QTest::newRow("no arguments") << QVariantMap();
    QTest::newRow("no path") << QVariantMap({{htmlText, QStringLiteral("text")}});
    QTest::newRow("empty path") << arguments(QString(), QStringLiteral("text"));
    QTest::newRow("path that is no text") << arguments(QVariantMap(), QStringLiteral("text"));
    QTest::newRow("other key") << QVariantMap({{QStringLiteral("FilePath"), inFolder("a.html")}});
}

void ExportHtmlTaskTest::failsWithoutPath()
{
    QFETCH(QVariantMap, values);
    QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");

    QCOMPARE(outcomeOf(values), failure(QStringLiteral("\"\" error 5\nNo file name specified"), values));
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error");

    QTest::newRow("missing folder") << QStringLiteral("/no/such/file.html")
                                    << QStringLiteral("No such file or directory");
    QTest::newRow("file for a folder") << QStringLiteral("/dev/null/file.html") << QStringLiteral("Not a directory");
    QTest::newRow("folder") << QStringLiteral("/") << QStringLiteral("Is a directory");
    QTest::newRow("running program") << QStringLiteral("/proc/self/exe") << QStringLiteral("Text file busy");
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened()
{
    QFETCH(QString, path);
    QFETCH(QString, error);
    const QVariantMap values = arguments(path, QStringLiteral("text"));

    QCOMPARE(outcomeOf(values), failure(QStringLiteral("\"%1\" error 5\n%2").arg(path, error), values));
}

void ExportHtmlTaskTest::tellsErrorCode()
{
    const QVariantMap values = arguments(inFolder("a.html"), QStringLiteral("text"));
    QStringList said;
    {
        const NoFurtherFile none;
        said = outcomeOf(values);
    }
    QCOMPARE(said, failure(QStringLiteral("\"%1\" error 4\nToo many open files").arg(inFolder("a.html")), values));
    QVERIFY(!QFile::exists(inFolder("a.html")));
}

void ExportHtmlTaskTest::namesFileAsGiven()
{
    const QVariantMap values = arguments(QStringLiteral("./no//such/../f.html"), QStringLiteral("text"));

    QCOMPARE(outcomeOf(values),
             failure(QStringLiteral("\"./no//such/../f.html\" error 5\nNo such file or directory"), values));
}

void ExportHtmlTaskTest::keepsPlaceholdersOfPath()
{
    const QVariantMap values = arguments(QStringLiteral("/no/%3/%1/%2"), QStringLiteral("text"));

    QCOMPARE(outcomeOf(values), failure(QStringLiteral("\"/no/%3/%1/%2\" error 5\nNo such file or directory"), values));
}

void ExportHtmlTaskTest::translatesFailure()
{
    ExportHtmlTask task(new QVariantMap(arguments(QStringLiteral("/no/file.html"), QString())));
    const RecordingTranslator translator;
    task.run();

    QCOMPARE(task.result().message(), QStringLiteral("[\"/no/file.html\" error 5\nNo such file or directory]"));
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

void ExportHtmlTaskTest::keepsDescription()
{
    for (const QString &path : {inFolder("a.html"), inFolder("no/file.html")}) {
        ExportHtmlTask task(new QVariantMap(arguments(path, QString())));
        task.run();
        QCOMPARE(task.result().description(), QStringLiteral("Export to HTML"));
    }
}

QTEST_GUILESS_MAIN(ExportHtmlTaskTest)
#include "ExportHtmlTaskTest.moc"
