// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/PathWatch.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>

class PathWatchTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void noticesWhatChangesAPath_data();
    void noticesWhatChangesAPath();
    void noticesNothingElse_data();
    void noticesNothingElse();
    void doesNotWatchWhatLeadsNowhere();

private:
    /// By a shell, in the folder.
    void run(const QString &command) const;

    QTemporaryDir m_outer;
    std::unique_ptr<QTemporaryDir> m_folder;
};

void PathWatchTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PathWatchTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>(m_outer.filePath(QStringLiteral("XXXXXX")));
    run(QStringLiteral("mkdir way other; echo 1 >way/file; cp way/file other/file; ln other/file other/hard; "
                       "ln -s other/file link; ln -s link chain; ln -s other folder; ln -s \"$PWD/missing\" dangling"));
}

void PathWatchTest::cleanup()
{
    run(QStringLiteral("umount -q way/file; umount -q way; true"));
}

void PathWatchTest::run(const QString &command) const
{
    const QByteArray line = (QStringLiteral("cd %1; ").arg(m_folder->path()) + command).toLocal8Bit();
    QCOMPARE(std::system(line.constData()), 0); // NOLINT(cert-env33-c): commands of this file
}

void PathWatchTest::noticesWhatChangesAPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("change");
    const auto add = [](const char *name, const char *path, const char *change) {
        QTest::newRow(name) << QString::fromLatin1(path) << QString::fromLatin1(change);
    };
    add("content", "way/file", "echo 2 >way/file");
    add("the same content", "way/file", "cp other/file way/file");
    add("an older file's time", "way/file", "touch -d 2001-01-01 way/file");
    add("mode", "way/file", "chmod 600 way/file");
    add("replaced", "way/file", "mv other/file way/file");
    add("deleted", "way/file", "rm way/file");
    add("moved away", "way/file", "mv way/file way/moved");
    add("appears", "way/new", "touch way/new");
    add("appears by a move", "way/new", "mv other/file way/new");
    add("folder appears", "new/folder/file", "mkdir new");
    add("folder moved", "way/file", "mv way moved");
    add("folder replaced", "way/file", "mv way moved && mv other way");
    add("folder's entry", "way", "touch way/new");
    add("by another name", "other/file", "echo 2 >other/hard");
    add("link re-pointed", "link", "ln -sf way/file link");
    add("link's target", "link", "echo 2 >other/file");
    add("link of a link", "chain", "ln -sf way/file link");
    add("link on the way", "folder/file", "ln -sfn way folder");
    add("file behind a link", "folder/file", "echo 2 >other/file");
    add("link's target appears", "dangling", "touch missing");
    add("mount over the file", "way/file", "mount --bind other/file way/file");
    add("mount over a folder", "way/file", "mount --bind other way");
}

void PathWatchTest::noticesWhatChangesAPath()
{
    QFETCH(QString, path);
    QFETCH(QString, change);
    const QStringList paths{m_folder->filePath(path)};
    PathWatch watch;
    QVERIFY(!watch.watches(paths));
    watch.add(paths);
    QVERIFY(watch.watches(paths));
    QVERIFY(!watch.hasNoticed());

    run(change);

    QVERIFY(watch.hasNoticed());
    watch.clear();
    QVERIFY(!watch.hasNoticed());
    QVERIFY(!watch.watches(paths));
    watch.add(paths);
    QVERIFY(watch.watches(paths));
    QVERIFY(!watch.hasNoticed());
}

void PathWatchTest::noticesNothingElse_data()
{
    QTest::addColumn<QString>("act");
    QTest::newRow("a read") << QStringLiteral("cat way/file; ls way");
    QTest::newRow("a file elsewhere") << QStringLiteral("echo 2 >other/file");
    QTest::newRow("what was watched before") << QStringLiteral("echo 2 >link");
}

void PathWatchTest::noticesNothingElse()
{
    QFETCH(QString, act);
    PathWatch watch;
    watch.add({m_folder->filePath(QStringLiteral("link"))});
    watch.clear();
    watch.add({m_folder->filePath(QStringLiteral("way/file"))});

    run(act);

    QVERIFY(!watch.hasNoticed());
}

void PathWatchTest::doesNotWatchWhatLeadsNowhere()
{
    run(QStringLiteral("ln -s circle circle"));
    const QStringList paths{m_folder->filePath(QStringLiteral("circle")),
                            m_folder->filePath(QStringLiteral("way/file/below"))};
    PathWatch watch;
    watch.add(paths);

    QVERIFY(!watch.watches({paths.at(0)}));
    QVERIFY(!watch.watches({paths.at(1)}));
}

QTEST_GUILESS_MAIN(PathWatchTest)
#include "PathWatchTest.moc"
