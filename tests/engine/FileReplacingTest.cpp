// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/FileReplacing.h"

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <functional>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{
const QString folder = QStringLiteral("/var/lib/replacing");
const QString target = folder + QStringLiteral("/settings");

struct stat statusOf(const QString &path)
{
    struct stat status = {};
    lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

QString replaced(const QByteArray &content)
{
    QString error;
    const bool isReplaced = replaceFile(target, content, &error);
    return isReplaced ? QStringLiteral("yes") : error;
}

const char calls[] = "openat,write,fchown,fchmod,fsync,close,rename";

/// Replaces the file in a process of its own, under strace(1) with an expression for the calls that touch the file.
ProgramResult replaceTraced(const QString &expression)
{
    const QString traced = QLatin1String("trace=") + QLatin1String(calls);
    QStringList arguments{QStringLiteral("-f"), QStringLiteral("-e"), traced, QStringLiteral("-e"), expression};
    for (const QString &path : {target + QLatin1String(".new"), target, folder + QLatin1Char('/')}) {
        arguments += {QStringLiteral("-P"), path};
    }
    arguments += {QStringLiteral("-E"), QStringLiteral("REPLACES=1"), QCoreApplication::applicationFilePath()};
    return runAs(root, QStringLiteral("/usr/bin/strace"), arguments);
}

QStringList names()
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System);
}
}

Q_DECLARE_METATYPE(std::function<void()>)

class FileReplacingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void readsWhole_data();
    void readsWhole();
    void replaces_data();
    void replaces();
    void makesFileReadableForAll();
    void keepsModeOwnerAndAttributes();
    void takesModeAndOwnerThatAreGiven();
    void putsNewFileInPlace();
    void leavesOtherNamesAlone();
    void ignoresWhatRemained();
    void refuses_data();
    void refuses();
    void keepsOldContentOnFullDisk();
    void keepsOldContentOnReadOnlyDisk();
    void syncsBeforeItRenames();
    void hasOldContentOrNewAfterFaults_data();
    void hasOldContentOrNewAfterFaults();
};

void FileReplacingTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void FileReplacingTest::init()
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    writeContent(target, "old\n");
}

void FileReplacingTest::readsWhole_data()
{
    const Rows<QString, QByteArray, QString> row("path", "expected", "error");
    row("a file", target, QByteArray(50000, 'x') + QByteArray("\0\n", 2), {});
    row("a missing one", folder + QLatin1String("/missing"), {}, {});
    row("a folder", folder, {}, folder + QLatin1String(": Is a directory"));
    row("below a file", target + QLatin1String("/x"), {}, target + QLatin1String("/x: Not a directory"));
}

void FileReplacingTest::readsWhole()
{
    QFETCH(const QString, path);
    QFETCH(const QByteArray, expected);
    QFETCH(const QString, error);
    writeContent(target, QByteArray(50000, 'x') + QByteArray("\0\n", 2));
    QByteArray content = "before";
    QString told;

    QCOMPARE(readWholeFile(path, &content, &told), error.isEmpty());
    QCOMPARE(content, expected);
    QCOMPARE(told, error);
}

void FileReplacingTest::replaces_data()
{
    const Rows<QByteArray> row("content");
    row("by nothing", "");
    row("by a text", "new\n");
    row("by any bytes", QByteArray("\0\xff\n\r", 4));
    row("by a large text", QByteArray(3 << 20, 'x'));
}

void FileReplacingTest::replaces()
{
    QFETCH(const QByteArray, content);

    QCOMPARE(replaced(content), QStringLiteral("yes"));
    QCOMPARE(contentOf(target), content);
    QCOMPARE(names(), QStringList{QStringLiteral("settings")});
}

void FileReplacingTest::makesFileReadableForAll()
{
    QFile::remove(target);
    const mode_t mask = umask(077);
    QCOMPARE(replaced("new\n"), QStringLiteral("yes"));
    umask(mask);

    QCOMPARE(contentOf(target), QByteArray("new\n"));
    QCOMPARE(statusOf(target).st_mode, mode_t(S_IFREG | 0644));
}

void FileReplacingTest::keepsModeOwnerAndAttributes()
{
    const char *path = "/var/lib/replacing/settings";
    QCOMPARE(chown(path, 1, 2), 0);
    QCOMPARE(chmod(path, 06640), 0);
    QCOMPARE(setxattr(path, "trusted.one", "\0\1", 2, 0), 0);
    QCOMPARE(setxattr(path, "trusted.two", "", 0, 0), 0);

    QCOMPARE(replaced("new\n"), QStringLiteral("yes"));
    const struct stat status = statusOf(target);
    QCOMPARE(status.st_uid, uid_t(1));
    QCOMPARE(status.st_gid, gid_t(2));
    QCOMPARE(status.st_mode, mode_t(S_IFREG | 06640));
    char value[8];
    QCOMPARE(getxattr(path, "trusted.one", value, sizeof value), ssize_t(2));
    QCOMPARE(QByteArray(value, 2), QByteArray("\0\1", 2));
    QCOMPARE(getxattr(path, "trusted.two", value, sizeof value), ssize_t(0));
}

void FileReplacingTest::takesModeAndOwnerThatAreGiven()
{
    struct stat status = {};
    status.st_uid = 3;
    status.st_gid = 4;
    status.st_mode = S_IFREG | 0604;
    QFile::remove(target);
    QString error;

    QVERIFY(replaceFile(target, "new\n", status, &error));
    QCOMPARE(statusOf(target).st_uid, uid_t(3));
    QCOMPARE(statusOf(target).st_gid, gid_t(4));
    QCOMPARE(statusOf(target).st_mode, mode_t(S_IFREG | 0604));
}

void FileReplacingTest::putsNewFileInPlace()
{
    QFile reader(target);
    QVERIFY(reader.open(QIODevice::ReadOnly));

    QCOMPARE(replaced("new\n"), QStringLiteral("yes"));
    QCOMPARE(reader.readAll(), QByteArray("old\n"));
    QCOMPARE(contentOf(target), QByteArray("new\n"));
}

void FileReplacingTest::leavesOtherNamesAlone()
{
    QCOMPARE(link("/var/lib/replacing/settings", "/var/lib/replacing/other"), 0);

    QCOMPARE(replaced("new\n"), QStringLiteral("yes"));
    QCOMPARE(contentOf("/var/lib/replacing/other"), QByteArray("old\n"));
}

void FileReplacingTest::ignoresWhatRemained()
{
    writeContent("/var/lib/replacing/elsewhere", "kept\n");
    QVERIFY(QFile::link(QStringLiteral("elsewhere"), target + QLatin1String(".new")));

    QCOMPARE(replaced("new\n"), QStringLiteral("yes"));
    QCOMPARE(contentOf("/var/lib/replacing/elsewhere"), QByteArray("kept\n"));
    QCOMPARE(names(), QStringList({QStringLiteral("elsewhere"), QStringLiteral("settings")}));
}

void FileReplacingTest::refuses_data()
{
    const Rows<QByteArray, RowText> row("command", "error");
    row("a link", "ln -s /etc/shadow settings", "/var/lib/replacing/settings: Too many levels of symbolic links");
    row("a link to nothing",
        "ln -s nothing settings",
        "/var/lib/replacing/settings: Too many levels of symbolic links");
    row("a folder", "mkdir settings", "/var/lib/replacing/settings: Is a directory");
    row("a pipe", "mkfifo settings", "/var/lib/replacing/settings: Invalid argument");
    row("what is no file's place",
        "rmdir /var/lib/replacing",
        "/var/lib/replacing/settings: No such file or directory");
}

void FileReplacingTest::refuses()
{
    QFETCH(const QByteArray, command);
    QFETCH(const QString, error);
    QFile::remove(target);
    const QString script = QStringLiteral("cd /var/lib/replacing && ") + QString::fromLatin1(command);
    QCOMPARE(runAs(root, QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script}).exitCode, 0);
    const QByteArray shadow = contentOf("/etc/shadow");
    const mode_t mode = statusOf(target).st_mode;
    const QStringList before = names();

    QCOMPARE(replaced("new\n"), error);
    QCOMPARE(statusOf(target).st_mode, mode);
    QCOMPARE(names(), before);
    QCOMPARE(contentOf("/etc/shadow"), shadow);
}

void FileReplacingTest::keepsOldContentOnFullDisk()
{
    const ScopedMount disk = ScopedMount::smallDisk(folder, 64);
    writeContent(target, "old\n");

    QCOMPARE(replaced(QByteArray(1 << 20, 'x')),
             QStringLiteral("/var/lib/replacing/settings: No space left on device"));
    QCOMPARE(contentOf(target), QByteArray("old\n"));
    QCOMPARE(names(), QStringList{QStringLiteral("settings")});
}

void FileReplacingTest::keepsOldContentOnReadOnlyDisk()
{
    const ScopedMount disk = ScopedMount::readOnly(folder);

    QCOMPARE(replaced("new\n"), QStringLiteral("/var/lib/replacing/settings: Read-only file system"));
    QCOMPARE(contentOf(target), QByteArray("old\n"));
}

void FileReplacingTest::syncsBeforeItRenames()
{
    const ProgramResult traced = replaceTraced(QStringLiteral("trace=%1").arg(QLatin1String(calls)));
    QByteArrayList called;
    for (const QByteArray &line : traced.standardError.split('\n')) {
        if (line.contains('(')) {
            called += line.mid(0, line.indexOf('('));
        }
    }
    QCOMPARE(called,
             QByteArrayList(
                 {"openat", "write", "fchown", "fchmod", "fsync", "close", "rename", "openat", "fsync", "close"}));
}

void FileReplacingTest::hasOldContentOrNewAfterFaults_data()
{
    const Rows<RowText, int, QByteArray, QByteArray> row("fault", "exitCode", "content", "error");
    const QByteArray old("old\n");
    const QByteArray fresh("new\n");
    const QByteArray full("/var/lib/replacing/settings: No space left on device");
    row("no new file", "openat:error=ENOSPC:when=1", 1, old, full);
    row("a write that fails", "write:error=ENOSPC", 1, old, full);
    row("a write that is cut short", "write:error=EINTR:when=1", 0, fresh, "");
    row("no owner", "fchown:error=ENOSPC", 1, old, full);
    row("no mode", "fchmod:error=ENOSPC", 1, old, full);
    row("no sync", "fsync:error=ENOSPC:when=1", 1, old, full);
    row("no close", "close:error=ENOSPC:when=1", 1, old, full);
    row("no rename", "rename:error=ENOSPC", 1, old, full);
    row("no folder", "openat:error=ENOSPC:when=2", 1, fresh, full);
    row("no sync of the folder", "fsync:error=ENOSPC:when=2", 1, fresh, full);
    // traced, a killed program ends its tracer by the same signal
    row("death before writing", "write:signal=KILL", -1, old, "");
    row("death before syncing", "fsync:signal=KILL:when=1", -1, old, "");
    row("death before syncing the folder", "fsync:signal=KILL:when=2", -1, fresh, "");
}

void FileReplacingTest::hasOldContentOrNewAfterFaults()
{
    QFETCH(const QString, fault);
    QFETCH(const int, exitCode);
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, error);

    const ProgramResult traced = replaceTraced(QStringLiteral("inject=%1").arg(fault));
    QCOMPARE(traced.exitCode, exitCode);
    QCOMPARE(traced.standardOutput, error);
    QCOMPARE(contentOf(target), content);
    // what remains of one that was killed is no hindrance
    QCOMPARE(names().size(), exitCode == -1 && content == "old\n" ? 2 : 1);
    QCOMPARE(replaced("newer\n"), QStringLiteral("yes"));
    QCOMPARE(names(), QStringList{QStringLiteral("settings")});
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet("REPLACES")) {
        const QString result = replaced("new\n");
        const bool isReplaced = result == QLatin1String("yes");
        fputs(isReplaced ? "" : qPrintable(result), stdout);
        return isReplaced ? 0 : 1;
    }
    FileReplacingTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "FileReplacingTest.moc"
