// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileRewriting.h"

#include "engine/RegExpHandler.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/Texts.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <functional>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
const QString folder = QStringLiteral("/var/lib/rewriting");
const QString target = QStringLiteral("settings");
const QString temporary = QStringLiteral("settings.tmp");
const QString backup = QStringLiteral("settings.bak");
const QString other = QStringLiteral("other");

const char before[] = "# head\nDAYS 5\nother\n";
const char after[] = "# head\nDAYS 90\nother\n";

/// Replaces each "DAYS <number>", or whatever else it is told to.
class Days : public RegExpHandler
{
public:
    explicit Days(const QByteArray &text = "DAYS 90", bool replaces = true)
        : RegExpHandler(QStringLiteral("\\s*DAYS\\s*(\\d+)")), m_text(text), m_replaces(replaces)
    {
    }

    bool handleLine(QByteArray *line) override
    {
        lines += *line;
        if (!m_text.isNull()) {
            *line = m_text;
        }
        return m_replaces;
    }

    bool appendLines(QByteArray *text) override
    {
        buffers += *text;
        *text = tail;
        return appendsTail;
    }

    QList<QByteArray> lines;
    /// What each call to append got.
    QList<QByteArray> buffers;
    QByteArray tail;
    bool appendsTail = false;

private:
    QByteArray m_text;
    bool m_replaces;
};

/// How a rewriting ends, and the error text that it leaves.
QString rewriteWith(Days *handler, bool keepBackup, const QString &earlier = QString())
{
    QString error = earlier;
    const bool succeeded = rewriteFile(target, handler, &error, keepBackup);
    return (succeeded ? QLatin1String("rewritten: ") : QLatin1String("failed: ")) + error;
}

QString rewrite(bool keepBackup = false)
{
    Days handler;
    return rewriteWith(&handler, keepBackup);
}

const QString rewritten = QStringLiteral("rewritten: ");

/// All files: links by where they lead, contents that are known by their names.
QStringList filesThere()
{
    QStringList files;
    QDirIterator all(QStringLiteral("."), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QByteArray content = contentOf(all.next());
        const char *what = content == before ? " before" : content == after ? " after" : content == "old" ? " old" : "";
        const QFileInfo file = all.fileInfo();
        files += file.filePath().mid(2)
            + (file.isSymLink() ? QLatin1String(" -> ") + QFileInfo(file.symLinkTarget()).fileName()
                                : QLatin1String(what));
    }
    files.sort();
    return files;
}

struct stat statusOf(const QString &path)
{
    struct stat status = {};
    if (::stat(qPrintable(path), &status) != 0) {
        qFatal("no %s", qPrintable(path));
    }
    return status;
}

void own(const QString &path, mode_t mode)
{
    if (::chown(qPrintable(path), 1234, 4321) != 0 || ::chmod(qPrintable(path), mode) != 0) {
        qFatal("cannot own %s", qPrintable(path));
    }
}

/// Puts something in the way; it lasts as long as what is returned, which is null where it can't be put there.
using Obstacle = std::function<std::shared_ptr<void>()>;

std::shared_ptr<void> done(bool succeeded)
{
    return succeeded ? std::make_shared<bool>(true) : nullptr;
}

std::shared_ptr<void> lasting(ScopedMount &&mount)
{
    return std::make_shared<ScopedMount>(std::move(mount));
}

std::shared_ptr<void> searchPath(const char *path)
{
    return std::make_shared<ScopedVariable>("PATH", path);
}

std::shared_ptr<void> linkAt(const QString &path, const QString &destination)
{
    QFile::remove(path);
    return done(QFile::link(destination, path));
}
}

Q_DECLARE_METATYPE(Obstacle)

class FileRewritingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void rewritesLines_data();
    void rewritesLines();
    void handsOverRawLinesAndThenAnEmptyBuffer();
    void appendsOnceAtTheEnd_data();
    void appendsOnceAtTheEnd();
    void keepsInodeModeAndOwner();
    void keepsModeOfBackupButNotItsOwner();
    void leavesBackupAloneThatIsNotAskedFor();
    void writesThroughLinkInPlaceOfTemporaryFile();
    void closesFilesBeforeItCopiesThem();
    void leavesWhatItTells_data();
    void leavesWhatItTells();
    void losesEarlierBackupWhereItsReplacementFails();
    void losesTheRestOnFullDisk();
    void translatesMessagesAsQObject();
};

void FileRewritingTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void FileRewritingTest::init()
{
    QDir(folder).removeRecursively();
    QVERIFY(QDir().mkpath(folder) && QDir::setCurrent(folder));
    writeContent(target, before);
}

void FileRewritingTest::cleanupTestCase()
{
    QDir(folder).removeRecursively();
}

void FileRewritingTest::rewritesLines_data()
{
    const Rows<QByteArray, bool, QByteArray, QByteArray> anyRow("text", "replaces", "content", "expected");
    const auto row = [&anyRow](const char *name, const QByteArray &content, const QByteArray &expected) {
        anyRow(name, "DAYS 90", true, content, expected);
    };
    const QByteArray unclaimed("\0DAYS 5\n \t\r\n\n\xff\xfe DAY\n\xef\xbb\xbf\n", 24);
    const QByteArray letters(1 << 20, 'x');
    const QByteArray marks(1 << 20, '#');
    const QByteArray alone("  DAYS\t5 # a \r\nDAYS 6");
    row("comment behind one tab", "DAYS\t5   # max\n", "DAYS 90\t# max\n");
    row("no comment", "DAYS\t5\n", "DAYS 90\n");
    row("blanks around the comment", "DAYS 5 #  a  b \t \v\f\r\n", "DAYS 90\t#  a  b\n");
    row("second mark in the comment", "DAYS 5 # a # b\n", "DAYS 90\t# a # b\n");
    row("comment of a mark alone", "DAYS 5 #\n", "DAYS 90\t#\n");
    row("comment that is no text", "DAYS 5 # \xff\xc3\n", "DAYS 90\t# \xff\xc3\n");
    row("comment with a NUL byte", {"DAYS 5 # a\0b\n", 13}, {"DAYS 90\t# a\0b\n", 14});
    row("comment in UTF-8", "DAYS 5 # \u00fc\u20ac\n", "DAYS 90\t# \u00fc\u20ac\n");
    row("comment behind what is no text", "DAYS 5\xc3# a\n", "DAYS 90\t# a\n");
    row("comment behind a NUL byte", {"DAYS 5\0 # a\n", 12}, "DAYS 90\t# a\n");
    row("comment ending in a no-break space", "DAYS 5 # a\xc2\xa0\n", "DAYS 90\t# a\xc2\xa0\n");
    row("line end of Windows", "DAYS 5\r\n", "DAYS 90\n");
    row("last line without end", "x\nDAYS 5", "x\nDAYS 90\n");
    row("commented setting", "#DAYS 5\n  # DAYS 5\n", "#DAYS 5\n  # DAYS 5\n");
    row("unmatched last line", "DAYS 5\nx", "DAYS 90\nx");
    row("empty file", "", "");
    row("unclaimed bytes", unclaimed, unclaimed);
    row("a megabyte", letters + "\nDAYS 5\n" + marks, letters + "\nDAYS 90\n" + marks);
    row("ten thousand lines", QByteArray("DAYS 5 # a\n").repeated(10000), QByteArray("DAYS 90\t# a\n").repeated(10000));
    anyRow("emptied", "", true, "DAYS 5\nDAYS 5 # a\n", "\n\t# a\n");
    anyRow("left alone", QByteArray(), false, alone, alone);
    anyRow("without our end", "any", false, "DAYS 5 # a\nx", "anyx");
}

void FileRewritingTest::rewritesLines()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, replaces);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    writeContent(target, content);
    Days handler(text, replaces);

    QCOMPARE(rewriteWith(&handler, false), rewritten);

    QVERIFY2(contentOf(target) == expected, contentOf(target).left(200).constData());
    QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList{target});
}

void FileRewritingTest::handsOverRawLinesAndThenAnEmptyBuffer()
{
    writeContent(target, "DAYS 1 # a\r\nx\n\tDAYS 2\nDAYS 3");
    Days handler;

    rewriteWith(&handler, false);

    QCOMPARE(handler.lines, QList<QByteArray>({"DAYS 1 # a\r\n", "\tDAYS 2\n", "DAYS 3"}));
    // as a read behind the last line leaves it
    QCOMPARE(handler.buffers, QList<QByteArray>{QByteArray()});
    QVERIFY(handler.buffers.first().isNull());
}

void FileRewritingTest::appendsOnceAtTheEnd_data()
{
    const Rows<QByteArray, QByteArray, bool, QByteArray> row("content", "tail", "appendsTail", "expected");
    row("nothing", "x\n", nullptr, false, "x\n");
    row("nothing of a text", "x\n", "a\nb\n", false, "x\n");
    row("an empty text", "x\n", "", true, "x\n");
    row("lines", "x\n", "a\nb\n", true, "x\na\nb\n");
    row("no line end", "x\n", "a", true, "x\na");
    row("to a line without end", "x", "a\n", true, "xa\n");
    row("to nothing", "", "a\n", true, "a\n");
    row("what would match", "DAYS 5", "DAYS 6\n", true, "DAYS 90\nDAYS 6\n");
}

void FileRewritingTest::appendsOnceAtTheEnd()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, tail);
    QFETCH(bool, appendsTail);
    writeContent(target, content);
    Days handler;
    handler.tail = tail;
    handler.appendsTail = appendsTail;

    QCOMPARE(rewriteWith(&handler, false), rewritten);

    QTEST(contentOf(target), "expected");
    QCOMPARE(handler.buffers.size(), 1);
}

void FileRewritingTest::keepsInodeModeAndOwner()
{
    own(target, 04640);
    const struct stat former = statusOf(target);

    QCOMPARE(rewrite(true), rewritten);

    const struct stat latter = statusOf(target);
    QCOMPARE(latter.st_ino, former.st_ino);
    QCOMPARE(latter.st_mode, former.st_mode);
    QCOMPARE(latter.st_uid, 1234U);
    QCOMPARE(latter.st_gid, 4321U);
    QCOMPARE(filesThere(), texts({"settings after", "settings.bak before"}));
}

void FileRewritingTest::keepsModeOfBackupButNotItsOwner()
{
    own(target, 0604);

    QCOMPARE(rewrite(true), rewritten);

    QCOMPARE(statusOf(backup).st_mode & 07777U, 0604U);
    QCOMPARE(statusOf(backup).st_uid, 0U);
}

void FileRewritingTest::leavesBackupAloneThatIsNotAskedFor()
{
    writeContent(backup, "old");

    QCOMPARE(rewrite(), rewritten);

    QCOMPARE(filesThere(), texts({"settings after", "settings.bak old"}));
}

void FileRewritingTest::writesThroughLinkInPlaceOfTemporaryFile()
{
    writeContent(other, "other's");
    own(other, 0600);
    QVERIFY(linkAt(temporary, other));

    // only root can have put it there: what root's cp does with a link is meant for it
    QCOMPARE(rewrite(), rewritten);

    // the link itself is what is removed in the end
    QCOMPARE(filesThere(), texts({"other after", "settings after"}));
    QCOMPARE(statusOf(other).st_mode & 07777U, statusOf(target).st_mode & 07777U);
    QCOMPARE(statusOf(other).st_uid, 0U);
}

void FileRewritingTest::closesFilesBeforeItCopiesThem()
{
    // the real cp, which first notes what its caller has open
    writeProgram(QStringLiteral("/run/tmp/fake/cp"),
                 "#!/bin/sh\n"
                 "find /proc/$PPID/fd -lname '*/settings*' -printf '%l\\n' >>/run/tmp/open\n"
                 "echo copied >>/run/tmp/open\n"
                 "exec /usr/bin/cp \"$@\"\n");
    QFile::remove(QStringLiteral("/run/tmp/open"));
    const std::shared_ptr<void> path = searchPath("/run/tmp/fake:/usr/bin");

    QCOMPARE(rewrite(), rewritten);

    QCOMPARE(contentOf(QStringLiteral("/run/tmp/open")), QByteArray("copied\ncopied\n"));
}

// a backup is asked for
void FileRewritingTest::leavesWhatItTells_data()
{
    const Rows<Obstacle, RowText, QStringList> row("obstacle", "message", "files");
    const auto failedCopy = [](const char *from, const char *to, const QString &reason) {
        return QStringLiteral("failed: x\nProcess: \"cp --force --preserve=mode,ownership %1 %2\". %3")
            .arg(QLatin1String(from), QLatin1String(to), reason);
    };
    const QString success = QStringLiteral("rewritten: x");
    const QString elsewhere = QStringLiteral("elsewhere/settings");
    // clang-format off
    row("nothing", [] { return done(true); }, success, texts({"settings after", "settings.bak before"}));
    row("earlier backup", [] { writeContent(backup, QByteArray(1000, 'x')); return done(true); },
        success, texts({"settings after", "settings.bak before"}));
    row("earlier temporary file", [] {
            writeContent(temporary, QByteArray(1000, 'x'));
            return done(::chmod(qPrintable(temporary), 0) == 0);
        }, success, texts({"settings after", "settings.bak before"}));
    row("link", [] { writeContent(other, before); return linkAt(target, other); },
        success, texts({"other after", "settings -> other", "settings.bak before"}));
    // replaced, as cp is told by --force
    row("link to what can't be written", [elsewhere] {
            writeContent(elsewhere, before);
            return linkAt(target, elsewhere) ? lasting(ScopedMount::readOnly(QStringLiteral("elsewhere"))) : nullptr;
        }, success, texts({"elsewhere/settings before", "settings after", "settings.bak before"}));
    row("link in place of the backup", [] { writeContent(other, "old"); return linkAt(backup, other); },
        success, texts({"other old", "settings after", "settings.bak before"}));
    row("no file", [] { writeContent(backup, "old"); return done(QFile::remove(target)); },
        QStringLiteral("failed: x\n\"settings\" not exists"), texts({"settings.bak old"}));
    row("no tool", [] { return searchPath("/nowhere"); },
        failedCopy("settings", "settings.tmp",
                   QStringLiteral("Error: execvp: No such file or directory.\n\"Not started\"")),
        texts({"settings before"}));
    row("temporary file that can't be written", [] {
            writeContent(temporary, "");
            writeContent(backup, "old");
            return lasting(ScopedMount::readOnly(temporary));
        },
        failedCopy("settings", "settings.tmp", failureOfCp("cannot remove 'settings.tmp': Device or resource busy")),
        texts({"settings before", "settings.bak old", "settings.tmp"}));
    row("link to nothing in place of the temporary file", [] { return linkAt(temporary, QStringLiteral("nothing")); },
        failedCopy("settings", "settings.tmp", failureOfCp("not writing through dangling symlink 'settings.tmp'")),
        texts({"settings before", "settings.tmp -> nothing"}));
    // before it is opened for writing, which would have emptied the file
    row("link to the file in place of the temporary file", [] { return linkAt(temporary, target); },
        failedCopy("settings", "settings.tmp", failureOfCp("'settings' and 'settings.tmp' are the same file")),
        texts({"settings before", "settings.tmp -> settings"}));
    // no real cp would do this: it stands for another program that removes the file just then
    row("file that vanishes", [] {
            writeProgram(QStringLiteral("/run/tmp/fake/cp"), "#!/bin/sh\n/usr/bin/cp \"$@\" && rm \"$3\"\n");
            return searchPath("/run/tmp/fake:/usr/bin");
        },
        QStringLiteral("failed: x\n\"settings\" error 5\nNo such file or directory"), texts({"settings.tmp before"}));
    // cp takes the folder for the place to copy to
    row("folder in place of the temporary file", [] {
            writeContent(backup, "old");
            return done(QDir().mkdir(temporary));
        },
        QStringLiteral("failed: x\n\"settings.tmp\" error 5\nIs a directory"),
        texts({"settings before", "settings.bak old", "settings.tmp/settings before"}));
    row("folder in place of the backup", [] { writeContent(backup + QLatin1String("/x"), ""); return done(true); },
        QStringLiteral("failed: x\n\"settings\" error 14\nDestination file exists"),
        texts({"settings before", "settings.bak/x", "settings.tmp after"}));
    // taken for no file, and so not removed, by those who follow it
    row("link to nothing in place of the backup", [] { return linkAt(backup, QStringLiteral("nothing")); },
        QStringLiteral("failed: x\n\"settings\" error 14\nCannot create settings.bak for output"),
        texts({"settings before", "settings.bak -> nothing", "settings.tmp after"}));
    row("file that can't be written", [] { return lasting(ScopedMount::readOnly(target)); },
        failedCopy("settings.tmp", "settings", failureOfCp("cannot remove 'settings': Device or resource busy")),
        texts({"settings before", "settings.bak before", "settings.tmp after"}));
    // no failure: what is new is in its place
    row("temporary file that stays", [] {
            writeContent(temporary, "");
            return lasting(ScopedMount::pinned(temporary));
        },
        QStringLiteral("rewritten: x\n\"settings.tmp\" error 9\nDevice or resource busy"),
        texts({"settings after", "settings.bak before", "settings.tmp after"}));
    // clang-format on
}

void FileRewritingTest::leavesWhatItTells()
{
    QFETCH(Obstacle, obstacle);
    const std::shared_ptr<void> lasts = obstacle();
    QVERIFY(lasts);
    const QStringList openBefore = openFiles();
    Days handler;

    QTEST(rewriteWith(&handler, true, QStringLiteral("x")), "message");

    QTEST(filesThere(), "files");
    QCOMPARE(openFiles(), openBefore);
}

void FileRewritingTest::losesEarlierBackupWhereItsReplacementFails()
{
    const ScopedMount disk = ScopedMount::roomForFiles(folder, 3);
    QVERIFY(QDir::setCurrent(folder));
    writeContent(target, before);
    writeContent(backup, "old");
    // its place on the disk is not free as long as somebody reads it
    QFile reader(backup);
    QVERIFY(reader.open(QIODevice::ReadOnly));

    QCOMPARE(rewrite(true), QStringLiteral("failed: \"settings\" error 14\nCannot create settings.bak for output"));

    QCOMPARE(filesThere(), texts({"settings before", "settings.tmp after"}));
}

void FileRewritingTest::losesTheRestOnFullDisk()
{
    // room for the file and its copy, but not for what is appended
    const ScopedMount disk = ScopedMount::smallDisk(folder, 8);
    QVERIFY(QDir::setCurrent(folder));
    writeContent(target, before);
    Days handler;
    handler.tail = QByteArray(20000, 'x');
    handler.appendsTail = true;

    // writing into the temporary file is not checked, and the copy of what got there has room
    QCOMPARE(rewriteWith(&handler, false), rewritten);

    QVERIFY(contentOf(target).size() < 20000);
    QCOMPARE(filesThere(), QStringList{target});
}

void FileRewritingTest::translatesMessagesAsQObject()
{
    QVERIFY(QFile::remove(target));
    const RecordingTranslator translator;

    QCOMPARE(rewrite(), QStringLiteral("failed: [\"settings\" not exists]"));
    writeContent(target, before);
    QVERIFY(QDir().mkdir(temporary));
    QCOMPARE(rewrite(), QStringLiteral("failed: [\"settings.tmp\" error 5\nIs a directory]"));

    QCOMPARE(translator.contextsOf("\"%1\" not exists"), QList<QByteArray>{"QObject"});
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

QTEST_GUILESS_MAIN(FileRewritingTest)
#include "FileRewritingTest.moc"
