// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/OwnFolder.h"

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
const char path[] = "/run/there/folder";

QString folderPath()
{
    return QString::fromLatin1(path);
}

QString inFolder(const char *name)
{
    return folderPath() + QLatin1Char('/') + QString::fromLatin1(name);
}

void giveAway(const QString &file)
{
    if (lchown(QFile::encodeName(file).constData(), nobody, nobody) != 0) {
        qFatal("cannot give %s away", qPrintable(file));
    }
}

uint modeOf(const char *file)
{
    struct stat status = {};
    return lstat(file, &status) == 0 ? status.st_mode & 07777U : 0;
}
}

class OwnFolderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void isMadeForItsUserAlone();
    void letsNobodyElseWrite();
    void isNoneWhereNoneIs();
    void refusesWhatIsNotItsUsersFolder_data();
    void refusesWhatIsNotItsUsersFolder();
    void staysTheFolderThatWasOpened();
    void hasOnlyItsUsersFiles();
    void writesForItsUserAlone();
    void writesWholeFileOrNone();
};

void OwnFolderTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void OwnFolderTest::init()
{
    QDir(QStringLiteral("/run/there")).removeRecursively();
    QVERIFY(QDir().mkpath(QStringLiteral("/run/there")));
}

void OwnFolderTest::isMadeForItsUserAlone()
{
    const mode_t before = umask(0);
    OwnFolder folder;
    const QString error = folder.make(folderPath());
    umask(before);

    QCOMPARE(error, QString());
    QCOMPARE(modeOf(path), 0700U);
}

void OwnFolderTest::letsNobodyElseWrite()
{
    QVERIFY(QDir().mkpath(folderPath()));
    QCOMPARE(chmod(path, 0777), 0);

    QCOMPARE(OwnFolder().open(folderPath()), QString());
    QCOMPARE(modeOf(path), 0777U);
    QCOMPARE(OwnFolder().make(folderPath()), QString());
    QCOMPARE(modeOf(path), 0755U);
}

void OwnFolderTest::isNoneWhereNoneIs()
{
    OwnFolder folder;

    QCOMPARE(folder.open(folderPath()), QString());
    QCOMPARE(folder.names(), QStringList());
    QCOMPARE(folder.content(QStringLiteral("a")), QByteArray());
    QCOMPARE(folder.write(QStringLiteral("a"), "x"), QStringLiteral("Bad file descriptor"));
    QVERIFY(!QFile::exists(folderPath()));
}

void OwnFolderTest::refusesWhatIsNotItsUsersFolder_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("refusal");
    const auto add = [](const char *row, const char *script, const char *refusal) {
        QTest::newRow(row) << QString::fromLatin1(script) << folderPath() + QString::fromLatin1(refusal);
    };
    add("link to a folder of one's own", "mkdir target; ln -s target folder", " is a link, which is not followed");
    add("link to nothing", "ln -s target folder", " is a link, which is not followed");
    add("folder of somebody else", "mkdir folder; chown nobody folder", " belongs to another account");
    add("file", ": >folder", ": Not a directory");
    add("pipe", "mkfifo folder", ": Not a directory");
}

void OwnFolderTest::refusesWhatIsNotItsUsersFolder()
{
    QFETCH(QString, script);
    const ProgramResult made =
        runAs(root, QStringLiteral("sh"), {QStringLiteral("-ec"), QStringLiteral("cd /run/there; ") + script});
    QCOMPARE(made, ProgramResult({0, {}, {}}));

    OwnFolder opened;
    QTEST(opened.open(folderPath()), "refusal");
    QCOMPARE(opened.names(), QStringList());
    OwnFolder wanted;
    QTEST(wanted.make(folderPath()), "refusal");
    QCOMPARE(wanted.write(QStringLiteral("a"), "x"), QStringLiteral("Bad file descriptor"));
    QVERIFY(!QFile::exists(QStringLiteral("/run/there/target/a")));
}

void OwnFolderTest::staysTheFolderThatWasOpened()
{
    OwnFolder folder;
    QCOMPARE(folder.make(folderPath()), QString());
    QVERIFY(QFile::rename(folderPath(), QStringLiteral("/run/there/away")));
    QVERIFY(QDir().mkpath(QStringLiteral("/run/there/target")));
    QVERIFY(QFile::link(QStringLiteral("target"), folderPath()));

    QCOMPARE(folder.write(QStringLiteral("a"), "x"), QString());

    QCOMPARE(contentOf("/run/there/away/a"), QByteArray("x"));
    QCOMPARE(QDir(QStringLiteral("/run/there/target")).entryList(QDir::Files), QStringList());
}

void OwnFolderTest::hasOnlyItsUsersFiles()
{
    for (const char *name : {"mine", "other's"}) {
        writeContent(inFolder(name), "x");
    }
    giveAway(inFolder("other's"));
    QVERIFY(QFile::link(QStringLiteral("mine"), inFolder("link")));
    QCOMPARE(mkfifo(QFile::encodeName(inFolder("pipe")).constData(), 0600), 0);
    QVERIFY(QDir().mkpath(inFolder("folder")));
    OwnFolder folder;

    QCOMPARE(folder.open(folderPath()), QString());

    QCOMPARE(folder.names(), QStringList(QStringLiteral("mine")));
    QCOMPARE(folder.content(QStringLiteral("mine")), QByteArray("x"));
    for (const char *name : {"other's", "link", "pipe", "folder", "none"}) {
        QCOMPARE(folder.content(QString::fromLatin1(name)), QByteArray());
    }
}

void OwnFolderTest::writesForItsUserAlone()
{
    OwnFolder folder;
    QCOMPARE(folder.make(folderPath()), QString());
    const mode_t before = umask(0);
    const QString error = folder.write(QStringLiteral("a"), "text");
    umask(before);

    QCOMPARE(error, QString());
    QCOMPARE(contentOf(inFolder("a")), QByteArray("text"));
    QCOMPARE(modeOf("/run/there/folder/a"), 0600U);
    folder.remove(QStringLiteral("a"));
    QCOMPARE(folder.names(), QStringList());
}

void OwnFolderTest::writesWholeFileOrNone()
{
    QVERIFY(QDir().mkpath(folderPath()));
    const ScopedMount disk = ScopedMount::smallDisk(folderPath(), 4);
    OwnFolder folder;
    QCOMPARE(folder.make(folderPath()), QString());

    QCOMPARE(folder.write(QStringLiteral("a"), QByteArray(9000, 'x')), QStringLiteral("No space left on device"));

    QCOMPARE(folder.names(), QStringList());
}

QTEST_GUILESS_MAIN(OwnFolderTest)
#include "OwnFolderTest.moc"
