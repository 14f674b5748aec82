// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileRewriting.h"

#include "engine/RegExpHandler.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
const QString folder = QStringLiteral("/var/lib/rewriting");
const QString target = folder + QStringLiteral("/settings");
const QString temporary = target + QStringLiteral(".tmp");
const QString backup = target + QStringLiteral(".bak");

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
        ++appends;
        *text = tail;
        return appendsTail && !tail.isNull();
    }

    QList<QByteArray> lines;
    QByteArray tail;
    bool appendsTail = true;
    int appends = 0;

private:
    QByteArray m_text;
    bool m_replaces;
};

struct Outcome {
    bool succeeded;
    QString error;
};

Outcome rewriteWith(Days *handler, bool keepBackup = false)
{
    QString error;
    const bool succeeded = rewriteFile(target, handler, &error, keepBackup);
    return {succeeded, error};
}

Outcome rewrite(bool keepBackup = false)
{
    Days handler;
    return rewriteWith(&handler, keepBackup);
}

QStringList filesThere()
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
}

struct stat statusOf(const QString &path)
{
    struct stat status = {};
    if (::stat(qPrintable(path), &status) != 0) {
        qFatal("no %s", qPrintable(path));
    }
    return status;
}

void makeLink(const QString &path, const QString &destination)
{
    QFile::remove(path);
    if (!QFile::link(destination, path)) {
        qFatal("no link %s", qPrintable(path));
    }
}

QString copyFailure(const QString &from, const QString &to, const QString &reason)
{
    return QStringLiteral("Process: \"cp --force --preserve=mode,ownership %1 %2\". %3").arg(from, to, reason);
}
}

class FileRewritingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void rewritesLines_data();
    void rewritesLines();
    void handsOverRawLines();
    void appendsOnceAtTheEnd_data();
    void appendsOnceAtTheEnd();
    void appendsNothingUnlessTheHandlerSaysSo();
    void keepsInodeModeAndOwner();
    void keepsBackupOnlyIfAsked();
    void replacesEarlierBackup();
    void keepsModeOfBackup();
    void overwritesTemporaryFileOfEarlierFailure();
    void writesThroughLink();
    void replacesLinkToWhatCannotBeWritten();
    void writesThroughLinkInPlaceOfTemporaryFile();
    void refusesLinkToNothingInPlaceOfTemporaryFile();
    void refusesLinkToTheFileInPlaceOfTemporaryFile();
    void replacesLinkInPlaceOfBackup();
    void closesFilesBeforeItCopiesThem();
    void leavesNoFileOpen_data();
    void leavesNoFileOpen();
    void addsNothingToErrorTextOnSuccess();
    void reportsMissingFile_data();
    void reportsMissingFile();
    void reportsMissingCopyTool();
    void reportsFailingFirstCopy();
    void reportsFileThatVanished();
    void reportsTemporaryFileThatCannotBeOpened();
    void reportsBackupThatCannotBeMade();
    void losesEarlierBackupWhereItsReplacementFails();
    void reportsFailingSecondCopy();
    void reportsLeftoverWithoutFailing();
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
    writeContent(target, before);
}

void FileRewritingTest::cleanupTestCase()
{
    QDir(folder).removeRecursively();
}

void FileRewritingTest::rewritesLines_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("replaces");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name,
                        const QByteArray &text,
                        bool replaces,
                        const QByteArray &content,
                        const QByteArray &expected) {
        QTest::newRow(name) << text << replaces << content << expected;
    };
    const QByteArray days = "DAYS 90";
    row("comment behind one tab", days, true, "DAYS\t5   # max\n", "DAYS 90\t# max\n");
    row("no comment", days, true, "DAYS\t5\n", "DAYS 90\n");
    row("blanks around the comment", days, true, "DAYS 5 #  a  b \t \r\n", "DAYS 90\t#  a  b\n");
    row("second mark in the comment", days, true, "DAYS 5 # a # b\n", "DAYS 90\t# a # b\n");
    row("comment of a mark alone", days, true, "DAYS 5 #\n", "DAYS 90\t#\n");
    row("comment that is no text", days, true, "DAYS 5 # \xff\xc3\n", "DAYS 90\t# \xff\xc3\n");
    row("comment with a NUL byte", days, true, QByteArray("DAYS 5 # a\0b\n", 13), QByteArray("DAYS 90\t# a\0b\n", 14));
    row("comment behind a NUL byte", days, true, QByteArray("DAYS 5\0 # a\n", 12), QByteArray("DAYS 90\t# a\n"));
    row("comment ending in a no-break space", days, true, "DAYS 5 # a\xc2\xa0\n", "DAYS 90\t# a\xc2\xa0\n");
    row("line end of Windows", days, true, "DAYS 5\r\n", "DAYS 90\n");
    row("last line without end", days, true, "x\nDAYS 5", "x\nDAYS 90\n");
    row("emptied line", "", true, "DAYS 5\nDAYS 5 # why\n", "\n\t# why\n");
    row("left alone", QByteArray(), false, "  DAYS\t5 # a \r\nDAYS 6", "  DAYS\t5 # a \r\nDAYS 6");
    row("changed, without an end of ours", "any", false, "DAYS 5 # a\nx\n", "anyx\n");
    row("commented setting", days, true, "#DAYS 5\n  # DAYS 5\n", "#DAYS 5\n  # DAYS 5\n");
    row("unmatched last line", days, true, "DAYS 5\nx", "DAYS 90\nx");
    row("empty file", days, true, "", "");
    row("unclaimed bytes",
        days,
        true,
        QByteArray("\0DAYS 5\n \t\r\n\n\xff\xfe DAY\n\xef\xbb\xbf\n", 24),
        QByteArray("\0DAYS 5\n \t\r\n\n\xff\xfe DAY\n\xef\xbb\xbf\n", 24));
    row("a megabyte",
        days,
        true,
        QByteArray(1 << 20, 'x') + "\nDAYS 5\n" + QByteArray(1 << 20, '#'),
        QByteArray(1 << 20, 'x') + "\nDAYS 90\n" + QByteArray(1 << 20, '#'));
    row("ten thousand lines",
        days,
        true,
        QByteArray("DAYS 5 # a\n").repeated(10000),
        QByteArray("DAYS 90\t# a\n").repeated(10000));
}

void FileRewritingTest::rewritesLines()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, replaces);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    writeContent(target, content);
    Days handler(text, replaces);

    const Outcome outcome = rewriteWith(&handler);

    QVERIFY(outcome.succeeded);
    QCOMPARE(outcome.error, QString());
    QVERIFY2(contentOf(target) == expected, contentOf(target).left(200).constData());
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings")});
}

void FileRewritingTest::handsOverRawLines()
{
    writeContent(target, "DAYS 1 # a\r\nx\n\tDAYS 2\nDAYS 3");
    Days handler;

    rewriteWith(&handler);

    QCOMPARE(handler.lines, QList<QByteArray>({"DAYS 1 # a\r\n", "\tDAYS 2\n", "DAYS 3"}));
    QCOMPARE(handler.appends, 1);
}

void FileRewritingTest::appendsOnceAtTheEnd_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("tail");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("nothing") << QByteArray("x\n") << QByteArray() << QByteArray("x\n");
    QTest::newRow("an empty text") << QByteArray("x\n") << QByteArray("") << QByteArray("x\n");
    QTest::newRow("lines") << QByteArray("x\n") << QByteArray("a\nb\n") << QByteArray("x\na\nb\n");
    QTest::newRow("no line end") << QByteArray("x\n") << QByteArray("a") << QByteArray("x\na");
    QTest::newRow("to a line without end") << QByteArray("x") << QByteArray("a\n") << QByteArray("xa\n");
    QTest::newRow("to nothing") << QByteArray("") << QByteArray("a\n") << QByteArray("a\n");
    QTest::newRow("what would match") << QByteArray("DAYS 5") << QByteArray("DAYS 6\n")
                                      << QByteArray("DAYS 90\nDAYS 6\n");
}

void FileRewritingTest::appendsOnceAtTheEnd()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, tail);
    QFETCH(QByteArray, expected);
    writeContent(target, content);
    Days handler;
    handler.tail = tail;

    QVERIFY(rewriteWith(&handler).succeeded);

    QCOMPARE(contentOf(target), expected);
    QCOMPARE(handler.appends, 1);
}

void FileRewritingTest::appendsNothingUnlessTheHandlerSaysSo()
{
    Days handler;
    handler.tail = "a\nb\n";
    handler.appendsTail = false;

    QVERIFY(rewriteWith(&handler).succeeded);

    QCOMPARE(contentOf(target), QByteArray(after));
    QCOMPARE(handler.appends, 1);
}

void FileRewritingTest::keepsInodeModeAndOwner()
{
    QCOMPARE(::chown(qPrintable(target), 1234, 4321), 0);
    QCOMPARE(::chmod(qPrintable(target), 04640), 0);
    const struct stat former = statusOf(target);

    QVERIFY(rewrite(true).succeeded);

    const struct stat latter = statusOf(target);
    QCOMPARE(latter.st_ino, former.st_ino);
    QCOMPARE(latter.st_mode, former.st_mode);
    QCOMPARE(latter.st_uid, 1234U);
    QCOMPARE(latter.st_gid, 4321U);
    QCOMPARE(contentOf(target), QByteArray(after));
}

void FileRewritingTest::keepsBackupOnlyIfAsked()
{
    QVERIFY(rewrite(false).succeeded);
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings")});

    writeContent(target, before);
    QVERIFY(rewrite(true).succeeded);
    QCOMPARE(filesThere(), QStringList({QStringLiteral("settings"), QStringLiteral("settings.bak")}));
    QCOMPARE(contentOf(backup), QByteArray(before));
}

void FileRewritingTest::replacesEarlierBackup()
{
    writeContent(backup, QByteArray(1000, 'x'));

    QVERIFY(rewrite(true).succeeded);

    QCOMPARE(contentOf(backup), QByteArray(before));
}

void FileRewritingTest::keepsModeOfBackup()
{
    QCOMPARE(::chown(qPrintable(target), 1234, 4321), 0);
    QCOMPARE(::chmod(qPrintable(target), 0604), 0);

    QVERIFY(rewrite(true).succeeded);

    QCOMPARE(statusOf(backup).st_mode & 07777U, 0604U);
    QCOMPARE(statusOf(backup).st_uid, 0U);
}

void FileRewritingTest::overwritesTemporaryFileOfEarlierFailure()
{
    writeContent(temporary, QByteArray(1000, 'x'));
    QCOMPARE(::chmod(qPrintable(temporary), 0), 0);

    QVERIFY(rewrite().succeeded);

    QCOMPARE(contentOf(target), QByteArray(after));
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings")});
}

void FileRewritingTest::writesThroughLink()
{
    const QString other = folder + QStringLiteral("/other");
    writeContent(other, before);
    makeLink(target, other);

    QVERIFY(rewrite(true).succeeded);

    QCOMPARE(QFileInfo(target).symLinkTarget(), other);
    QCOMPARE(contentOf(other), QByteArray(after));
    QVERIFY(!QFileInfo(backup).isSymLink());
    QCOMPARE(contentOf(backup), QByteArray(before));
}

void FileRewritingTest::replacesLinkToWhatCannotBeWritten()
{
    const QString other = folder + QStringLiteral("/elsewhere/settings");
    writeContent(other, before);
    makeLink(target, other);
    const ScopedMount readOnly = ScopedMount::readOnly(QFileInfo(other).path());

    // as cp is told by --force
    QVERIFY(rewrite().succeeded);

    QVERIFY(!QFileInfo(target).isSymLink());
    QCOMPARE(contentOf(target), QByteArray(after));
    QCOMPARE(contentOf(other), QByteArray(before));
}

void FileRewritingTest::writesThroughLinkInPlaceOfTemporaryFile()
{
    const QString other = folder + QStringLiteral("/other");
    writeContent(other, "other's");
    QCOMPARE(::chown(qPrintable(other), 1234, 4321), 0);
    QCOMPARE(::chmod(qPrintable(other), 0600), 0);
    makeLink(temporary, other);

    const Outcome outcome = rewrite();

    // only root can have put it there: what root's cp does with a link is meant for it
    QVERIFY(outcome.succeeded);
    QCOMPARE(contentOf(target), QByteArray(after));
    QCOMPARE(contentOf(other), QByteArray(after));
    QCOMPARE(statusOf(other).st_mode & 07777U, statusOf(target).st_mode & 07777U);
    QCOMPARE(statusOf(other).st_uid, 0U);
    // the link itself is what is removed in the end
    QCOMPARE(filesThere(), QStringList({QStringLiteral("other"), QStringLiteral("settings")}));
}

void FileRewritingTest::refusesLinkToNothingInPlaceOfTemporaryFile()
{
    makeLink(temporary, folder + QStringLiteral("/nothing"));

    const Outcome outcome = rewrite();

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error,
             copyFailure(target,
                         temporary,
                         QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: not writing through dangling symlink '%1'\"")
                             .arg(temporary)));
    QCOMPARE(contentOf(target), QByteArray(before));
    QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/nothing")));
}

void FileRewritingTest::refusesLinkToTheFileInPlaceOfTemporaryFile()
{
    makeLink(temporary, target);

    const Outcome outcome = rewrite();

    QVERIFY(!outcome.succeeded);
    QCOMPARE(
        outcome.error,
        copyFailure(
            target,
            temporary,
            QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: '%1' and '%2' are the same file\"").arg(target, temporary)));
    // before it is opened for writing, which would have emptied it
    QCOMPARE(contentOf(target), QByteArray(before));
}

void FileRewritingTest::replacesLinkInPlaceOfBackup()
{
    const QString other = folder + QStringLiteral("/other");
    writeContent(other, "other's");
    makeLink(backup, other);

    QVERIFY(rewrite(true).succeeded);

    QCOMPARE(contentOf(other), QByteArray("other's"));
    QVERIFY(!QFileInfo(backup).isSymLink());
    QCOMPARE(contentOf(backup), QByteArray(before));
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
    const ScopedVariable path("PATH", "/run/tmp/fake:/usr/bin");

    QVERIFY(rewrite().succeeded);

    QCOMPARE(contentOf(QStringLiteral("/run/tmp/open")), QByteArray("copied\ncopied\n"));
}

void FileRewritingTest::leavesNoFileOpen_data()
{
    QTest::addColumn<QString>("folderInTheWay");
    QTest::addColumn<bool>("succeeds");

    QTest::newRow("success") << QString() << true;
    QTest::newRow("no temporary file") << temporary << false;
    QTest::newRow("no backup") << backup + QStringLiteral("/x") << false;
}

void FileRewritingTest::leavesNoFileOpen()
{
    QFETCH(QString, folderInTheWay);
    QFETCH(bool, succeeds);
    if (!folderInTheWay.isEmpty()) {
        QVERIFY(QDir().mkpath(folderInTheWay));
    }
    const QStringList filesBefore = openFiles();

    QCOMPARE(rewrite(true).succeeded, succeeds);

    QCOMPARE(openFiles(), filesBefore);
}

void FileRewritingTest::addsNothingToErrorTextOnSuccess()
{
    Days handler;
    QString error = QStringLiteral("x");

    QVERIFY(rewriteFile(target, &handler, &error, true));

    QCOMPARE(error, QStringLiteral("x"));
}

void FileRewritingTest::reportsMissingFile_data()
{
    QTest::addColumn<QString>("earlier");
    QTest::addColumn<QString>("message");

    const QString missing = QStringLiteral("\"/var/lib/rewriting/settings\" not exists");
    QTest::newRow("first message") << QString() << missing;
    QTest::newRow("behind another") << QStringLiteral("x") << QStringLiteral("x\n") + missing;
}

void FileRewritingTest::reportsMissingFile()
{
    QFETCH(QString, earlier);
    QFETCH(QString, message);
    QVERIFY(QFile::remove(target));
    writeContent(backup, "old");
    Days handler;
    QString error = earlier;

    QVERIFY(!rewriteFile(target, &handler, &error, true));

    QCOMPARE(error, message);
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings.bak")});
    QCOMPARE(contentOf(backup), QByteArray("old"));
}

void FileRewritingTest::reportsMissingCopyTool()
{
    const ScopedVariable path("PATH", "/nowhere");

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(
        outcome.error,
        copyFailure(target, temporary, QStringLiteral("Error: execvp: No such file or directory.\n\"Not started\"")));
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings")});
    QCOMPARE(contentOf(target), QByteArray(before));
}

void FileRewritingTest::reportsFailingFirstCopy()
{
    writeContent(temporary, "");
    writeContent(backup, "old");
    const ScopedMount readOnly = ScopedMount::readOnly(temporary);

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error,
             copyFailure(target,
                         temporary,
                         QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: cannot remove '%1': Device or resource busy\"")
                             .arg(temporary)));
    QCOMPARE(contentOf(target), QByteArray(before));
    QCOMPARE(contentOf(backup), QByteArray("old"));
}

void FileRewritingTest::reportsFileThatVanished()
{
    // no real cp would do this: it stands for another program that removes the file just then
    writeProgram(QStringLiteral("/run/tmp/fake/cp"), "#!/bin/sh\n/usr/bin/cp \"$@\" && rm \"$3\"\n");
    const ScopedVariable path("PATH", "/run/tmp/fake:/usr/bin");

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error, QStringLiteral("\"%1\" error 5\nNo such file or directory").arg(target));
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings.tmp")});
    QCOMPARE(contentOf(temporary), QByteArray(before));
}

void FileRewritingTest::reportsTemporaryFileThatCannotBeOpened()
{
    QVERIFY(QDir().mkpath(temporary));
    writeContent(backup, "old");

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error, QStringLiteral("\"%1\" error 5\nIs a directory").arg(temporary));
    QCOMPARE(contentOf(target), QByteArray(before));
    QCOMPARE(contentOf(backup), QByteArray("old"));
    // cp took the folder for the place to copy to
    QCOMPARE(contentOf(temporary + QStringLiteral("/settings")), QByteArray(before));
}

void FileRewritingTest::reportsBackupThatCannotBeMade()
{
    QVERIFY(QDir().mkpath(backup + QStringLiteral("/x")));

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error, QStringLiteral("\"%1\" error 14\nDestination file exists").arg(target));
    QCOMPARE(contentOf(target), QByteArray(before));
    QCOMPARE(contentOf(temporary), QByteArray(after));
    QVERIFY(QFileInfo(backup).isDir());
}

void FileRewritingTest::losesEarlierBackupWhereItsReplacementFails()
{
    const ScopedMount disk = ScopedMount::roomForFiles(folder, 3);
    writeContent(target, before);
    writeContent(backup, "old");
    // its place on the disk is not free as long as somebody reads it
    QFile reader(backup);
    QVERIFY(reader.open(QIODevice::ReadOnly));

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(outcome.error, QStringLiteral("\"%1\" error 14\nCannot create %2 for output").arg(target, backup));
    QCOMPARE(filesThere(), QStringList({QStringLiteral("settings"), QStringLiteral("settings.tmp")}));
    QCOMPARE(contentOf(target), QByteArray(before));
    QCOMPARE(contentOf(temporary), QByteArray(after));
}

void FileRewritingTest::reportsFailingSecondCopy()
{
    const ScopedMount readOnly = ScopedMount::readOnly(target);

    const Outcome outcome = rewrite(true);

    QVERIFY(!outcome.succeeded);
    QCOMPARE(
        outcome.error,
        copyFailure(
            temporary,
            target,
            QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: cannot remove '%1': Device or resource busy\"").arg(target)));
    QCOMPARE(contentOf(target), QByteArray(before));
    QCOMPARE(contentOf(temporary), QByteArray(after));
    QCOMPARE(contentOf(backup), QByteArray(before));
}

void FileRewritingTest::reportsLeftoverWithoutFailing()
{
    writeContent(temporary, "");
    const ScopedMount pinned = ScopedMount::pinned(temporary);
    Days handler;
    QString error = QStringLiteral("x");

    QVERIFY(rewriteFile(target, &handler, &error, true));

    QCOMPARE(error, QStringLiteral("x\n\"%1\" error 9\nDevice or resource busy").arg(temporary));
    QCOMPARE(contentOf(target), QByteArray(after));
    QCOMPARE(contentOf(temporary), QByteArray(after));
    QCOMPARE(contentOf(backup), QByteArray(before));
}

void FileRewritingTest::losesTheRestOnFullDisk()
{
    // room for the file and its copy, but not for what is appended
    const ScopedMount disk = ScopedMount::smallDisk(folder, 8);
    writeContent(target, before);
    Days handler;
    handler.tail = QByteArray(20000, 'x');

    const Outcome outcome = rewriteWith(&handler);

    // writing into the temporary file is not checked, and the copy of what got there has room
    QVERIFY(outcome.succeeded);
    QCOMPARE(outcome.error, QString());
    QVERIFY(contentOf(target).size() < 20000);
    QCOMPARE(filesThere(), QStringList{QStringLiteral("settings")});
}

void FileRewritingTest::translatesMessagesAsQObject()
{
    QVERIFY(QFile::remove(target));
    const RecordingTranslator translator;

    QCOMPARE(rewrite().error, QStringLiteral("[\"%1\" not exists]").arg(target));
    writeContent(target, before);
    QVERIFY(QDir().mkpath(temporary));
    QCOMPARE(rewrite().error, QStringLiteral("[\"%1\" error 5\nIs a directory]").arg(temporary));

    QCOMPARE(translator.contextsOf("\"%1\" not exists"), QList<QByteArray>{"QObject"});
    QCOMPARE(translator.contextsOf("\"%1\" error %2\n%3"), QList<QByteArray>{"QObject"});
}

QTEST_GUILESS_MAIN(FileRewritingTest)
#include "FileRewritingTest.moc"
