// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ExportHtmlTask.h"

#include "tasks/ElementTask.h"
#include "tests/support/Files.h"
#include "tests/support/NoMoreFiles.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"
#include "tests/support/WatchedMap.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

// the names that the linker gives to the writing of bytes into a device, and to what is put before it
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" qint64 __real__ZN9QIODevice5writeEPKcx(QIODevice *device, const char *bytes, qint64 size);
extern "C" qint64 __wrap__ZN9QIODevice5writeEPKcx(QIODevice *device, const char *bytes, qint64 size);
// NOLINTEND(bugprone-reserved-identifier)

namespace
{
const QString filePath = QStringLiteral("filePath");
const QString htmlText = QStringLiteral("htmlText");
const QString page = QStringLiteral("page.html");

/// The size of each write since the last look.
QList<qint64> writes;

QVariantMap arguments(const QVariant &path, const QVariant &text)
{
    return {{filePath, path}, {htmlText, text}};
}

/// Everything that can be seen of a task.
QStringList stateOf(AbstractTask *task)
{
    return QStringList{QStringLiteral("state %1").arg(task->result().state()),
                       QLatin1String("description ") + task->result().description(),
                       QLatin1String("message ") + task->result().message()}
    + typedEntries(*task->values());
}

QStringList stateWith(int state, const QString &message, const QVariantMap &values)
{
    return QStringList{QStringLiteral("state %1").arg(state),
                       QStringLiteral("description Export to HTML"),
                       QLatin1String("message ") + message}
    + typedEntries(values);
}

QStringList outcomeOf(const QVariantMap &values)
{
    ExportHtmlTask task(new QVariantMap(values));
    writes.clear();
    task.run();
    return stateOf(&task);
}

QStringList success(const QVariantMap &values)
{
    return stateWith(TaskState::Succeeded, QString(), values);
}

static_assert(std::is_base_of_v<AbstractTask, ExportHtmlTask> && !std::is_base_of_v<ElementTask, ExportHtmlTask>);
static_assert(sizeof(ExportHtmlTask) == sizeof(AbstractTask) && !std::is_abstract_v<ExportHtmlTask>);
}

qint64 __wrap__ZN9QIODevice5writeEPKcx(QIODevice *device, const char *bytes, qint64 size)
{
    writes += size;
    return __real__ZN9QIODevice5writeEPKcx(device, bytes, size);
}

class ExportHtmlTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void startsWithTheGivenMap();
    void freesItsMap();
    void translatesItsTexts();
    void doesNothingOnCancel();
    void writesTextByOneCall_data();
    void writesTextByOneCall();
    void writesUtf8WhateverTheLocale();
    void takesPathAsText();
    void replacesFileInPlace_data();
    void replacesFileInPlace();
    void writesThroughLink();
    void leavesModeOfNewFileToTheUmask();
    void succeedsWhereTheDiskIsFull_data();
    void succeedsWhereTheDiskIsFull();
    void failsWithoutPath_data();
    void failsWithoutPath();
    void failsWhereFileCannotBeOpened_data();
    void failsWhereFileCannotBeOpened();
    void tellsErrorCode();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

void ExportHtmlTaskTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(m_folder->path()));
}

void ExportHtmlTaskTest::startsWithTheGivenMap()
{
    auto *map = new QVariantMap(arguments(1, 2));
    ExportHtmlTask task(map);

    QVERIFY(task.values() == map);
    QCOMPARE(stateOf(&task), stateWith(TaskState::NotStarted, QString(), arguments(1, 2)));
    QCOMPARE(task.flags(), quint64(0));
    QCOMPARE(task.isCancelRequested(), false);
    QCOMPARE(ExportHtmlTask(nullptr).values(), nullptr);
}

void ExportHtmlTaskTest::freesItsMap()
{
    std::weak_ptr<int> life;
    {
        const std::unique_ptr<AbstractTask> task = std::make_unique<ExportHtmlTask>(newWatchedMap(&life));
        task->values()->insert(filePath, page);
        task->run();
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
}

void ExportHtmlTaskTest::translatesItsTexts()
{
    const RecordingTranslator translator;
    ExportHtmlTask task(new QVariantMap(arguments(QStringLiteral("/no/file.html"), QString())));
    QCOMPARE(task.result().description(), QStringLiteral("[Export to HTML]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"QObject", "Export to HTML"}}));

    task.run();

    QCOMPARE(task.result().message(), QStringLiteral("[\"/no/file.html\" error 5\nNo such file or directory]"));
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

void ExportHtmlTaskTest::doesNothingOnCancel()
{
    const QVariantMap values = arguments(page, QStringLiteral("text"));
    ExportHtmlTask task(new QVariantMap(values));
    task.cancel();

    QVERIFY(!task.requestCancel());
    QVERIFY(!task.isCancelRequested());
    QCOMPARE(stateOf(&task), stateWith(TaskState::NotStarted, QString(), values));
    QVERIFY(!QFile::exists(page));
}

void ExportHtmlTaskTest::writesTextByOneCall_data()
{
    QTest::addColumn<QVariant>("text");
    QTest::addColumn<QByteArray>("bytes");

    const auto row = [](const char *name, const QVariant &text, const QByteArray &bytes) {
        QTest::newRow(name) << text << bytes;
    };
    // clang-format off
    row("markup", QStringLiteral("<p>a &amp; \"b\"</p>\n"), "<p>a &amp; \"b\"</p>\n");
    row("empty", QString(), "");
    row("beyond ASCII", QStringLiteral("gr\u00fc\u00df \u20ac"), "gr\xc3\xbc\xc3\x9f \xe2\x82\xac");
    row("beyond 16 bits", QStringLiteral("\U0001f600"), "\xf0\x9f\x98\x80");
    row("half of a pair", QString(QChar(0xd83d)) + QLatin1Char('x'), "?x");
    row("byte order mark", QString(QChar(0xfeff)), "\xef\xbb\xbf");
    row("line ends", QStringLiteral("a\r\nb\nc\rd"), "a\r\nb\nc\rd");
    row("NUL", QString::fromLatin1("a\0b", 3), {"a\0b", 3});
    row("long", QString(3000000, QChar(0xfc)), QByteArray("\xc3\xbc").repeated(3000000));
    row("number", 12, "12");
    row("bytes", QByteArray("\xc3\xbc"), "\xc3\xbc");
    row("list", texts({"a", "b"}), "");
    row("nothing", QVariant(), "");
    // clang-format on
}

void ExportHtmlTaskTest::writesTextByOneCall()
{
    QFETCH(QVariant, text);
    QFETCH(QByteArray, bytes);

    QCOMPARE(outcomeOf(arguments(page, text)), success(arguments(page, text)));

    QCOMPARE(writes, QList<qint64>{bytes.size()});
    QVERIFY2(contentOf(page) == bytes, contentOf(page).left(100).constData());
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{page});
}

void ExportHtmlTaskTest::writesUtf8WhateverTheLocale()
{
    const ScopedLatin1 locale;

    outcomeOf(arguments(page, QStringLiteral("caf\u00e9")));

    QCOMPARE(contentOf(page), QByteArray("caf\xc3\xa9"));
}

void ExportHtmlTaskTest::takesPathAsText()
{
    const QVariantMap values = arguments(QByteArray("\xc3\xbc.html"), QStringLiteral("x"));

    QCOMPARE(outcomeOf(values), success(values));

    QCOMPARE(contentOf(QStringLiteral("\u00fc.html")), QByteArray("x"));
}

void ExportHtmlTaskTest::replacesFileInPlace_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QByteArray>("after");

    const QVariantMap text = arguments(page, QStringLiteral("text"));
    QTest::newRow("shorter") << QByteArray("b") << text << QByteArray("text");
    QTest::newRow("longer") << QByteArray(100000, 'b') << text << QByteArray("text");
    QTest::newRow("by nothing") << QByteArray("b") << QVariantMap{{filePath, page}} << QByteArray("");
}

void ExportHtmlTaskTest::replacesFileInPlace()
{
    QFETCH(QByteArray, before);
    QFETCH(QVariantMap, values);
    QFETCH(QByteArray, after);
    writeContent(page, before);
    QVERIFY(QFile::setPermissions(page, QFile::Permissions(0x7055)));
    QCOMPARE(::link("page.html", "same.html"), 0);

    QCOMPARE(outcomeOf(values), success(values));

    QCOMPARE(contentOf(page), after);
    QCOMPARE(contentOf(QStringLiteral("same.html")), after);
    QCOMPARE(static_cast<int>(QFile::permissions(page)) & 0x7077, 0x7055);
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             texts({"page.html", "same.html"}));
}

void ExportHtmlTaskTest::writesThroughLink()
{
    writeContent(QStringLiteral("target"), "before");
    QVERIFY(QFile::link(QStringLiteral("target"), page));

    const QVariantMap values = arguments(page, QStringLiteral("text"));
    QCOMPARE(outcomeOf(values), success(values));

    QVERIFY(QFileInfo(page).isSymLink());
    QCOMPARE(contentOf(QStringLiteral("target")), QByteArray("text"));
}

void ExportHtmlTaskTest::leavesModeOfNewFileToTheUmask()
{
    const mode_t before = ::umask(0027);

    outcomeOf(arguments(page, QStringLiteral("text")));

    ::umask(before);
    struct stat status = {};
    QCOMPARE(::stat("page.html", &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
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
    QTest::newRow("other key") << QVariantMap({{QStringLiteral("FilePath"), page}});
}

void ExportHtmlTaskTest::failsWithoutPath()
{
    QFETCH(QVariantMap, values);
    QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");

    QCOMPARE(outcomeOf(values),
             stateWith(TaskState::Failed, QStringLiteral("\"\" error 5\nNo file name specified"), values));
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error");

    // clang-format off
    QTest::newRow("missing folder") << "/no/such/file.html" << "No such file or directory";
    QTest::newRow("file for a folder") << "/dev/null/file.html" << "Not a directory";
    QTest::newRow("folder") << "/" << "Is a directory";
    QTest::newRow("running program") << "/proc/self/exe" << "Text file busy";
    QTest::newRow("as given") << "./no//such/../f.html" << "No such file or directory";
    QTest::newRow("placeholders") << "/no/%3/%1/%2" << "No such file or directory";
    // clang-format on
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened()
{
    QFETCH(QString, path);
    QFETCH(QString, error);
    const QVariantMap values = arguments(path, QStringLiteral("text"));

    QCOMPARE(outcomeOf(values),
             stateWith(TaskState::Failed, QStringLiteral("\"%1\" error 5\n%2").arg(path, error), values));
}

void ExportHtmlTaskTest::tellsErrorCode()
{
    const QVariantMap values = arguments(page, QStringLiteral("text"));
    QStringList said;
    {
        const NoMoreFiles limit;
        said = outcomeOf(values);
    }
    QCOMPARE(said, stateWith(TaskState::Failed, QStringLiteral("\"page.html\" error 4\nToo many open files"), values));
    QVERIFY(!QFile::exists(page));
}

QTEST_GUILESS_MAIN(ExportHtmlTaskTest)
#include "ExportHtmlTaskTest.moc"
