// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ExportHtmlTask.h"

#include "tasks/ElementTask.h"
#include "tests/support/Files.h"
#include "tests/support/NoMoreFiles.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
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

    void ownsTheGivenMap();
    void translatesItsTexts();
    void doesNothingOnCancel();
    void writesUtf8ByOneCallWhateverTheLocale_data();
    void writesUtf8ByOneCallWhateverTheLocale();
    void takesPathAsText();
    void replacesFileInPlace_data();
    void replacesFileInPlace();
    void writesThroughLink();
    void leavesModeOfNewFileToTheUmask();
    void succeedsWhereTheDiskIsFull();
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

void ExportHtmlTaskTest::ownsTheGivenMap()
{
    std::weak_ptr<int> life;
    QVariantMap *map = newWatchedMap(&life);
    map->insert(filePath, page);
    {
        const std::unique_ptr<AbstractTask> task = std::make_unique<ExportHtmlTask>(map);
        QCOMPARE(task->values(), map);
        QCOMPARE(stateOf(task.get()), stateWith(TaskState::NotStarted, QString(), *map));
        QCOMPARE(task->flags(), quint64(0));
        QCOMPARE(task->isCancelRequested(), false);
        task->run();
        QVERIFY(!life.expired());
    }
    QVERIFY(life.expired());
    QCOMPARE(ExportHtmlTask(nullptr).values(), nullptr);
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

void ExportHtmlTaskTest::writesUtf8ByOneCallWhateverTheLocale_data()
{
    const Rows<QVariant, QByteArray> row("text", "bytes");
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
}

void ExportHtmlTaskTest::writesUtf8ByOneCallWhateverTheLocale()
{
    QFETCH(QVariant, text);
    QFETCH(QByteArray, bytes);
    const ScopedLatin1 locale;

    QCOMPARE(outcomeOf(arguments(page, text)), success(arguments(page, text)));

    QCOMPARE(writes, QList<qint64>{bytes.size()});
    QVERIFY2(contentOf(page) == bytes, contentOf(page).left(100).constData());
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{page});
}

void ExportHtmlTaskTest::takesPathAsText()
{
    const QVariantMap values = arguments(QByteArray("\xc3\xbc.html"), QStringLiteral("x"));

    QCOMPARE(outcomeOf(values), success(values));

    QCOMPARE(contentOf(QStringLiteral("\u00fc.html")), QByteArray("x"));
}

void ExportHtmlTaskTest::replacesFileInPlace_data()
{
    const Rows<QByteArray, QVariantMap, QByteArray> row("before", "values", "after");
    const QVariantMap text = arguments(page, QStringLiteral("text"));
    row("shorter", "b", text, "text");
    row("longer", QByteArray(100000, 'b'), text, "text");
    row("by nothing", "b", QVariantMap{{filePath, page}}, "");
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

void ExportHtmlTaskTest::succeedsWhereTheDiskIsFull()
{
    // a short text fails to be written only when the file is closed
    for (const int length : {1, 1000000}) {
        const QVariantMap values = arguments(QStringLiteral("/dev/full"), QString(length, QLatin1Char('x')));
        QCOMPARE(outcomeOf(values), success(values));
    }
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened_data()
{
    const Rows<QVariantMap, RowText> row("values", "message");
    const QString text = QStringLiteral("text");
    const QString nameless = QStringLiteral("\"\" error 5\nNo file name specified");
    row("no arguments", {}, nameless);
    row("no path", {{htmlText, text}}, nameless);
    row("empty path", arguments(QString(), text), nameless);
    row("path that is no text", arguments(QVariantMap(), text), nameless);
    row("other key", {{QStringLiteral("FilePath"), page}}, nameless);
    const auto at = [&row, &text](const char *name, const char *path, const char *error) {
        const QString utf8 = QString::fromUtf8(path);
        row(name,
            arguments(utf8, text),
            QLatin1Char('"') + utf8 + QLatin1String("\" error 5\n") + QLatin1String(error));
    };
    at("missing folder", "/no/such/file.html", "No such file or directory");
    at("file for a folder", "/dev/null/file.html", "Not a directory");
    at("folder", "/", "Is a directory");
    at("running program", "/proc/self/exe", "Text file busy");
    at("as given", "./no//such/../f.html", "No such file or directory");
    at("placeholders", "/no/%3/%1/%2", "No such file or directory");
}

void ExportHtmlTaskTest::failsWhereFileCannotBeOpened()
{
    QFETCH(QVariantMap, values);
    QFETCH(QString, message);
    if (values.value(filePath).toString().isEmpty()) {
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
    }

    QCOMPARE(outcomeOf(values), stateWith(TaskState::Failed, message, values));
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
