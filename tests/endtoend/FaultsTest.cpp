// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What callers are told when the machine does not play along, and what is left on disk.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <functional>
#include <vector>

namespace
{
const char pamAuthUpdate[] = "/usr/sbin/pam-auth-update";
const char cp[] = "/usr/bin/cp";
const char tallyProfile[] = "/usr/share/pam-configs/tally";
const char loginDefs[] = "/etc/login.defs";
const char useraddDefaults[] = "/etc/default/useradd";

using Mounts = std::vector<ScopedMount>;

struct Fault {
    const char *name;
    /// Makes the fault; what it returns holds until the reply is there.
    std::function<Mounts()> make;
    const char *action;
    /// Null where the action succeeds all the same.
    const char *description;
    QString message;
    /// All temporary and backup files afterwards.
    QStringList leftovers;
    /// Whether the first file that the action writes has its new content.
    bool written;
};

QString path(const char *name)
{
    return QString::fromLatin1(name);
}

void removeFile(const char *name)
{
    if (!QFile::remove(path(name))) {
        qFatal("cannot remove %s", name);
    }
}

Mounts replaceTool(const QByteArray &script)
{
    writeProgram(path(pamAuthUpdate), "#!/bin/sh\n" + script + "\n");
    return {};
}

Mounts readOnly(const QString &file)
{
    Mounts mounts;
    mounts.push_back(ScopedMount::readOnly(file));
    return mounts;
}

Mounts pinnedTemporary(const QString &file)
{
    writeContent(file, "left by an earlier failure\n");
    Mounts mounts;
    mounts.push_back(ScopedMount::pinned(file));
    return mounts;
}

QString profileCopyMessage(const QString &reason)
{
    return QStringLiteral("Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally "
                          "/usr/share/pam-configs/tally.tmp\". %1")
        .arg(reason);
}

const char lockout[] = "Update default lockout account policy";
const char expiration[] = "Update default password expiration policy";

std::vector<Fault> toolFaults()
{
    const char *const action = "writeaccountslockoutpolicy";
    const QString command = QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". ");
    return {
        {"tool fails with output",
         [] {
             return replaceTool("echo '  config.dat is locked %1' >&2; exit 7");
         },
         action,
         lockout,
         command + QStringLiteral("Exit code: 7.\n\"  config.dat is locked %1\n\""),
         {},
         true},
        {"tool fails without output",
         [] {
             return replaceTool("exit 1");
         },
         action,
         lockout,
         command + QStringLiteral("Exit code: 1.\n\"\""),
         {},
         true},
        {"tool crashes",
         [] {
             return replaceTool("kill -SEGV $$");
         },
         action,
         lockout,
         command + QStringLiteral("Error: Process crashed.\n\"Not finished\""),
         {},
         true},
        {"tool hangs",
         [] {
             return replaceTool("exec sleep 50");
         },
         action,
         lockout,
         command + QStringLiteral("Error: Process operation timed out.\n\"Not finished\""),
         {},
         true},
        {"tool missing",
         [] {
             removeFile(pamAuthUpdate);
             return Mounts();
         },
         action,
         lockout,
         command + QStringLiteral("Error: execvp: No such file or directory.\n\"Not started\""),
         {},
         true},
        {"tool warns and succeeds",
         [] {
             return replaceTool("echo warning >&2");
         },
         action,
         nullptr,
         QString(),
         {},
         true},
    };
}

std::vector<Fault> profileFaults()
{
    const char *const action = "writeaccountslockoutpolicy";
    const QString temporary = path(tallyProfile) + QStringLiteral(".tmp");
    return {
        {"profile missing",
         [] {
             removeFile(tallyProfile);
             return Mounts();
         },
         action,
         lockout,
         QStringLiteral("\"/usr/share/pam-configs/tally\" not exists"),
         {},
         false},
        {"profile without the module",
         [] {
             writeContent(path(tallyProfile), "Name: empty\n");
             return Mounts();
         },
         action,
         lockout,
         QStringLiteral("\"/usr/share/pam-configs/tally\" not contain \"pam_tally\""),
         {},
         false},
        {"profile can't be written",
         [] {
             return readOnly(path(tallyProfile));
         },
         action,
         lockout,
         QStringLiteral(
             "Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally.tmp "
             "/usr/share/pam-configs/tally\". "
             "Exit code: 1.\n\"/usr/bin/cp: cannot remove '/usr/share/pam-configs/tally': Device or resource busy\""),
         {temporary},
         false},
        {"temporary file is a folder",
         [temporary] {
             QDir().mkpath(temporary);
             return Mounts();
         },
         action,
         lockout,
         QStringLiteral("\"/usr/share/pam-configs/tally.tmp\" error 5\nIs a directory"),
         {temporary},
         false},
        {"temporary file can't be written",
         [temporary] {
             writeContent(temporary, "");
             return readOnly(temporary);
         },
         action,
         lockout,
         profileCopyMessage(QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: cannot remove "
                                           "'/usr/share/pam-configs/tally.tmp': Device or resource busy\"")),
         {temporary},
         false},
        {"temporary file can't be removed",
         [temporary] {
             return pinnedTemporary(temporary);
         },
         action,
         nullptr,
         QString(),
         {temporary},
         true},
        {"temporary file left by an earlier failure",
         [temporary] {
             writeContent(temporary, "old");
             return Mounts();
         },
         action,
         nullptr,
         QString(),
         {},
         true},
        {"cp missing",
         [] {
             removeFile(cp);
             return Mounts();
         },
         action,
         lockout,
         profileCopyMessage(QStringLiteral("Error: execvp: No such file or directory.\n\"Not started\"")),
         {},
         false},
        {"disk full",
         [] {
             const QByteArray profile = contentOf(path(tallyProfile));
             Mounts mounts;
             mounts.push_back(ScopedMount::smallDisk(QStringLiteral("/usr/share/pam-configs"), 4));
             writeContent(path(tallyProfile), profile);
             return mounts;
         },
         action,
         lockout,
         profileCopyMessage(QStringLiteral("Exit code: 1.\n\"/usr/bin/cp: error copying '/usr/share/pam-configs/tally' "
                                           "to '/usr/share/pam-configs/tally.tmp': "
                                           "No space left on device\"")),
         {temporary},
         false},
    };
}

std::vector<Fault> expirationFaults()
{
    const char *const action = "writepasswordexpirationpolicy";
    const QString loginBackup = QStringLiteral("/etc/login.defs.bak");
    const QString useraddBackup = QStringLiteral("/etc/default/useradd.bak");
    return {
        {"login.defs missing",
         [] {
             removeFile(loginDefs);
             return Mounts();
         },
         action,
         expiration,
         QStringLiteral("\"/etc/login.defs\" not exists"),
         {},
         false},
        {"useradd's defaults missing",
         [] {
             removeFile(useraddDefaults);
             return Mounts();
         },
         action,
         expiration,
         QStringLiteral("\"/etc/default/useradd\" not exists"),
         {loginBackup},
         true},
        {"backup is a folder",
         [loginBackup] {
             QDir().mkpath(loginBackup + QStringLiteral("/x"));
             return Mounts();
         },
         action,
         expiration,
         QStringLiteral("\"/etc/login.defs\" error 14\nDestination file exists"),
         {loginBackup, QStringLiteral("/etc/login.defs.tmp")},
         false},
        {"nothing wrong",
         [] {
             return Mounts();
         },
         action,
         nullptr,
         QString(),
         {loginBackup, useraddBackup},
         true},
    };
}

std::vector<Fault> faults()
{
    std::vector<Fault> all = toolFaults();
    for (const std::vector<Fault> &more : {profileFaults(), expirationFaults()}) {
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

void addRows(const std::function<bool(const Fault &)> &wanted)
{
    QTest::addColumn<int>("index");
    const std::vector<Fault> all = faults();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (wanted(all.at(i))) {
            QTest::newRow(all.at(i).name) << static_cast<int>(i);
        }
    }
}

/// The temporary and backup files in the folders that the actions write to.
QStringList leftovers()
{
    QStringList paths;
    for (const QString &folder : {QStringLiteral("/etc"),
                                  QStringLiteral("/etc/default"),
                                  QStringLiteral("/etc/pam.d"),
                                  QStringLiteral("/usr/share/pam-configs")}) {
        const QFileInfoList found = QDir(folder).entryInfoList({QStringLiteral("*.tmp"), QStringLiteral("*.bak")});
        for (const QFileInfo &file : found) {
            paths += file.filePath();
        }
    }
    return paths;
}

void removeLeftovers()
{
    for (const QString &left : leftovers()) {
        QDir(left).removeRecursively();
        QFile::remove(left);
    }
}
}

class FaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void tellsWhatFailed_data();
    void tellsWhatFailed();
    void succeedsOnceTheFaultIsGone_data();
    void succeedsOnceTheFaultIsGone();

private:
    void bringBackFiles();

    PamState m_stockPam;
    QByteArray m_tool = contentOf(path(pamAuthUpdate));
    QByteArray m_cp = contentOf(path(cp));
};

void FaultsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void FaultsTest::init()
{
    removeLeftovers();
    m_stockPam.restore();
    bringBackFiles();
}

void FaultsTest::bringBackFiles()
{
    writeProgram(path(cp), m_cp);
    writeProgram(path(pamAuthUpdate), m_tool);
    writeContent(path(tallyProfile), "required pam_tally.so deny=3\n");
    writeContent(path(loginDefs), "PASS_MAX_DAYS 7\n");
    writeContent(path(useraddDefaults), "INACTIVE=1\n");
}

void FaultsTest::tellsWhatFailed_data()
{
    addRows([](const Fault &) {
        return true;
    });
}

void FaultsTest::tellsWhatFailed()
{
    QFETCH(int, index);
    const Fault fault = faults().at(static_cast<std::size_t>(index));
    const QVariantMap arguments{{QStringLiteral("deny"), 5}, {QStringLiteral("maxInterval"), 90}};
    QVariantMap expected = arguments;
    if (fault.description) {
        expected.insert(QStringLiteral("error"), true);
        expected.insert(QStringLiteral("description"), QString::fromLatin1(fault.description));
        expected.insert(QStringLiteral("message"), fault.message);
    }
    const Mounts mounts = fault.make();

    const BusReply reply = callAs(root, QString::fromLatin1(fault.action), arguments);

    QCOMPARE(reply.error, 0);
    QCOMPARE(typedEntries(reply.data), typedEntries(expected));
    QCOMPARE(leftovers(), fault.leftovers);
    const bool written = contentOf(path(tallyProfile)) == "required pam_tally.so deny=5\n"
        || contentOf(path(loginDefs)) == "PASS_MAX_DAYS 90\n";
    QCOMPARE(written, fault.written);
}

void FaultsTest::succeedsOnceTheFaultIsGone_data()
{
    // without the row of the tool that hangs: half a minute more would tell nothing that the crashing tool doesn't
    addRows([](const Fault &fault) {
        return QByteArray(fault.name) != "tool hangs";
    });
}

void FaultsTest::succeedsOnceTheFaultIsGone()
{
    QFETCH(int, index);
    const Fault fault = faults().at(static_cast<std::size_t>(index));
    const QVariantMap arguments{{QStringLiteral("deny"), 5}, {QStringLiteral("maxInterval"), 90}};
    {
        const Mounts mounts = fault.make();
        callAs(root, QString::fromLatin1(fault.action), arguments);
    }
    bringBackFiles();
    for (const QString &left : leftovers()) {
        QDir(left).removeRecursively(); // a person's part: nobody else removes folders that stand in the way
    }

    const BusReply reply = callAs(root, QString::fromLatin1(fault.action), arguments);

    QCOMPARE(typedEntries(reply.data), typedEntries(arguments));
    QCOMPARE(leftovers().filter(QStringLiteral(".tmp")), QStringList());
}

QTEST_GUILESS_MAIN(FaultsTest)
#include "FaultsTest.moc"
