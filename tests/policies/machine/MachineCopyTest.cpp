// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/machine/MachineCopy.h"

#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

namespace
{
const QString folder = QStringLiteral("/run/tmp/machine");

QString in(const char *name)
{
    return folder + QLatin1Char('/') + QString::fromLatin1(name);
}
}

class MachineCopyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void isOfThisUserAlone();
    void takesFilesThatMatch();
    void takesNothingWhereThereIsNothing();
    void tellsWhatItCannotTake();
    void tellsWhatDoesNotFit();
    void takesNothingWithoutAFolder();
    void copiesCanBeWritten();
    void tellsChanges();
    void hasToolWorkOnTheCopies();
    void speaksOfTheMachine();
};

void MachineCopyTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void MachineCopyTest::init()
{
    QDir(folder).removeRecursively();
    QDir().mkpath(in("sub"));
    writeContent(in("one"), "1");
    writeContent(in("two"), "");
    writeContent(in(".hidden"), "h");
    writeContent(in("sub/deep"), "d");
}

void MachineCopyTest::isOfThisUserAlone()
{
    QString root;
    {
        const MachineCopy copy;
        root = copy.root();
        QCOMPARE(copy.error(), QString());
        QCOMPARE(QFileInfo(root).permissions() & QFile::Permissions(0x0777), QFile::Permissions(0x0700));
    }
    QVERIFY(!QFileInfo::exists(root));
}

void MachineCopyTest::takesFilesThatMatch()
{
    MachineCopy copy;
    copy.takeFolder(folder, QStringLiteral("*"));

    QCOMPARE(copy.files(folder), QStringList({in(".hidden"), in("one"), in("two")}));
    QCOMPARE(contentOf(copy.root() + in("one")), QByteArray("1"));
    QCOMPARE(copy.taken(in("one")), QByteArray("1"));
    QVERIFY(QFileInfo(copy.root() + in("sub")).isDir());
    QVERIFY(!QFileInfo::exists(copy.root() + in("sub/deep")));

    MachineCopy some;
    some.takeFolder(folder, QStringLiteral("t*"));
    QCOMPARE(some.files(folder), QStringList{in("two")});
    QCOMPARE(some.error(), QString());
}

void MachineCopyTest::takesNothingWhereThereIsNothing()
{
    MachineCopy copy;
    QVERIFY(QFile::link(QStringLiteral("/nowhere"), in("link")));
    copy.takeFile(in("none"));
    copy.takeFolder(in("nowhere"), QStringLiteral("*"));
    copy.takeFolder(folder, QStringLiteral("link"));

    QCOMPARE(copy.error(), QString());
    QCOMPARE(QDir(copy.root()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{QStringLiteral("run")});
    QVERIFY(copy.taken(in("none")).isNull());
    QCOMPARE(copy.files(folder), QStringList());
}

void MachineCopyTest::tellsWhatItCannotTake()
{
    MachineCopy copy;
    copy.takeFile(in("sub"));
    copy.takeFile(in("one"));

    QCOMPARE(copy.error(), in("sub") + QLatin1String(": file to open is a directory"));
    QCOMPARE(copy.taken(in("one")), QByteArray("1"));
}

void MachineCopyTest::tellsWhatDoesNotFit()
{
    QDir().mkpath(QStringLiteral("/run/small"));
    const ScopedMount disk = ScopedMount::smallDisk(QStringLiteral("/run/small"), 4);
    const ScopedVariable place("TMPDIR", "/run/small");
    writeContent(in("one"), QByteArray(8192, 'x'));
    MachineCopy copy;
    copy.takeFile(in("two"));
    copy.takeFile(in("one"));

    QCOMPARE(copy.error(), copy.root() + in("one") + QLatin1String(": cannot be written as a whole"));
    QVERIFY(copy.taken(in("one")).isNull());
    QVERIFY(!copy.taken(in("two")).isNull());
}

void MachineCopyTest::takesNothingWithoutAFolder()
{
    const ScopedVariable place("TMPDIR", "/dev/null");
    const ScopedMount readOnly = ScopedMount::readOnly(folder);
    MachineCopy copy;
    QVERIFY(copy.root().isEmpty());
    copy.takeFile(in("one"));
    copy.takeFolder(folder, QStringLiteral("*"));
    copy.takeDebconf();

    QCOMPARE(copy.error(), QStringLiteral("/dev/null: Not a directory"));
    QVERIFY(copy.taken(in("one")).isNull());
    QVERIFY(!QFileInfo::exists(QStringLiteral("/debconf.conf")));
}

void MachineCopyTest::copiesCanBeWritten()
{
    QVERIFY(QFile::setPermissions(in("one"), QFile::ReadOwner));
    MachineCopy copy;
    copy.takeFile(in("one"));

    QVERIFY(QFileInfo(copy.root() + in("one")).permissions() & QFile::WriteOwner);
}

void MachineCopyTest::tellsChanges()
{
    MachineCopy copy;
    copy.takeFolder(folder, QStringLiteral("*"));
    writeContent(copy.root() + in("one"), "2");
    writeContent(copy.root() + in("new"), "n");
    QFile::remove(copy.root() + in(".hidden"));

    const QStringList all = copy.files(folder);
    const QVector<FilePreview> changes = copy.changes(all);

    QCOMPARE(all, QStringList({in(".hidden"), in("new"), in("one"), in("two")}));
    QStringList told;
    for (const FilePreview &file : changes) {
        told +=
            QStringLiteral("%1 %2 %3").arg(file.path, QString::fromUtf8(file.before), QString::fromUtf8(file.after));
    }
    QCOMPARE(told,
             QStringList({in(".hidden") + QStringLiteral(" h "),
                          in("new") + QStringLiteral("  n"),
                          in("one") + QStringLiteral(" 1 2")}));
}

void MachineCopyTest::hasToolWorkOnTheCopies()
{
    MachineCopy copy;
    copy.takeDebconf();
    const Command tool = copy.pamAuthUpdate();

    QCOMPARE(tool.program, QStringLiteral("/usr/sbin/pam-auth-update"));
    QCOMPARE(
        tool.arguments,
        QStringList({QStringLiteral("--root"), copy.root(), QStringLiteral("--force"), QStringLiteral("--package")}));
    QStringList environment = tool.environment.toStringList();
    environment.sort();
    QCOMPARE(environment,
             QStringList({QStringLiteral("DEBCONF_SYSTEMRC=%1/debconf.conf").arg(copy.root()),
                          QStringLiteral("DEBIAN_FRONTEND=noninteractive"),
                          QStringLiteral("LC_ALL=C.UTF-8"),
                          QStringLiteral("PATH=/usr/sbin:/usr/bin:/sbin:/bin")}));
    QCOMPARE(contentOf(copy.root() + QLatin1String("/var/cache/debconf/config.dat")),
             contentOf("/var/cache/debconf/config.dat"));
    const QByteArray setup = contentOf(copy.root() + QLatin1String("/debconf.conf"));
    QCOMPARE(setup.count("Filename: "), 2);
    QCOMPARE(setup.count("Filename: " + copy.root().toLatin1() + '/'), 2);
}

void MachineCopyTest::speaksOfTheMachine()
{
    const MachineCopy copy;

    QCOMPARE(copy.aboutMachine(QStringLiteral("\"tool --root %1 --force\" failed: %1/etc/x: no").arg(copy.root())),
             QStringLiteral("\"tool --force\" failed: /etc/x: no"));
}

QTEST_GUILESS_MAIN(MachineCopyTest)
#include "MachineCopyTest.moc"
