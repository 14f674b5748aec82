// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"

#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

namespace
{
constexpr char taskContext[] = "LocalPolicyPasswordExpirationUpdateTask";

const QString loginDefs = QStringLiteral("/etc/login.defs");
const QString useradd = QStringLiteral("/etc/default/useradd");
const QString notice = QStringLiteral("Default password expiration policy will be applied only for new user creation");

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

QString temporaryOf(const QString &path)
{
    return path + QStringLiteral(".tmp");
}

QString backupOf(const QString &path)
{
    return path + QStringLiteral(".bak");
}

QStringList outcomeOf(const QVariantMap &arguments)
{
    LocalPolicyPasswordExpirationUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList success(const QVariantMap &arguments, const QString &message = notice)
{
    return expectedOutcome(TaskState::SucceededWithNotice, message, arguments);
}

QStringList failure(const QVariantMap &arguments, const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, arguments);
}

QVariantMap allArguments()
{
    return {{key("maxInterval"), 90},
            {key("minInterval"), 1},
            {key("warningInterval"), 14},
            {key("inactiveInterval"), 30},
            {key("expireDate"), 365}};
}

/// What is where the two files and their companions are: the names, "+" where there is a file or folder.
QStringList filesThere()
{
    QStringList names;
    for (const QString &path : {loginDefs, useradd}) {
        for (const QString &file : {path, temporaryOf(path), backupOf(path)}) {
            if (QFileInfo::exists(file)) {
                names += file;
            }
        }
    }
    return names;
}

/// With allArguments().
const QByteArray newLoginDefs("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");

const QStringList filesAfterSuccess{loginDefs, backupOf(loginDefs), useradd, backupOf(useradd)};
}

class LocalPolicyPasswordExpirationUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void appendsWhatWasNotSeen_data();
    void appendsWhatWasNotSeen();
    void writesFiles_data();
    void writesFiles();
    void replacesEarlierBackup();
    void keepsModeAndOwner();
    void tellsWhatFails_data();
    void tellsWhatFails();
    void failsWhereFileCannotBeWritten();
    void tellsOfTemporaryFileThatStays();
    void tellsOfItBeforeTheFailureThatFollows();
    void overwritesTemporaryFileOfEarlierFailure();
    void translatesNotice();
    void writesTheSameTwice();
    void writesWhatIsReadBack();
    void changesTheCopiesBelowAFolderAlone();
    void isUnderstoodByUseradd();
};

void LocalPolicyPasswordExpirationUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::init()
{
    for (const QString &path : {loginDefs, useradd}) {
        for (const QString &file : {path, temporaryOf(path), backupOf(path)}) {
            QDir(file).removeRecursively();
            QFile::remove(file);
        }
    }
    writeContent(loginDefs, "PASS_MAX_DAYS 7\n");
    writeContent(useradd, "INACTIVE=1\n");
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsWhatWasNotSeen_data()
{
    // tail null where nothing is appended
    const Rows<QVariantMap, QByteArray, QByteArray> anyRow("arguments", "lines", "tail");
    const auto row =
        [&anyRow](const char *lines, const QByteArray &tail, const QVariantMap &arguments = allArguments()) {
            anyRow(lines, arguments, lines, tail);
        };
    row("", "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");
    row("PASS_MAX_DAYS 5", "PASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");
    row("PASS_MIN_DAYS 6", "PASS_MAX_DAYS 90\nPASS_WARN_AGE 14\n");
    row("PASS_MAX_DAYS 5|PASS_MIN_DAYS 6", "PASS_WARN_AGE 14\n");
    row("PASS_WARN_AGE 7", "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\n");
    row("PASS_MAX_DAYS 5|PASS_WARN_AGE 7", "PASS_MIN_DAYS 1\n");
    row("PASS_MIN_DAYS 6|PASS_WARN_AGE 7", "PASS_MAX_DAYS 90\n");
    row("PASS_WARN_AGE 7|PASS_MIN_DAYS 6|PASS_MAX_DAYS 5", QByteArray());
    row("INACTIVE=1", "EXPIRE=1971-01-01");
    row("EXPIRE=", "INACTIVE=30\n");
    row("EXPIRE=|INACTIVE=1", QByteArray());
    // a line whose argument is absent was not seen, and there is nothing to append for it
    row("PASS_MAX_DAYS 5|PASS_MIN_DAYS 6|PASS_WARN_AGE 7", "", {});
    row("PASS_MAX_DAYS 5|PASS_MIN_DAYS 6|PASS_WARN_AGE 7", "", {{key("maxInterval"), 90}, {key("minInterval"), 1}});
    row("INACTIVE=1|EXPIRE=", "", {});
    row("INACTIVE=1|EXPIRE=", "", {{key("inactiveInterval"), 30}});
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsWhatWasNotSeen()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, lines);
    QFETCH(QByteArray, tail);
    LocalPolicyPasswordExpirationUpdateTask::LoginRewriterRegExpHandler login(&arguments);
    LocalPolicyPasswordExpirationUpdateTask::UseraddRewriterRegExpHandler defaults(&arguments);
    SettingsFileRewriter *handler = lines.contains('=') ? static_cast<SettingsFileRewriter *>(&defaults) : &login;

    for (QByteArray line : lines.isEmpty() ? QByteArrayList() : lines.split('|')) {
        QVERIFY(handler->matches(line));
        QVERIFY(handler->handleLine(&line));
    }
    QByteArray buffer = "last line";
    QCOMPARE(handler->appendLines(&buffer), !tail.isNull());
    QCOMPARE(buffer, tail.isNull() ? QByteArray("last line") : tail);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesFiles_data()
{
    const Rows<QString, QVariantMap, QByteArray, QByteArray> anyRow("path", "arguments", "before", "after");
    const auto row =
        [&](const char *name, const QVariantMap &arguments, const QByteArray &before, const QByteArray &after) {
            anyRow(name, loginDefs, arguments, before, after);
        };
    const auto defaults =
        [&](const char *name, const QVariantMap &arguments, const QByteArray &before, const QByteArray &after) {
            anyRow(name, useradd, arguments, before, after);
        };
    const QVariantMap max{{key("maxInterval"), 90}};
    const QVariantMap all{{key("maxInterval"), 90}, {key("minInterval"), -1}, {key("warningInterval"), 0}};
    // clang-format off
    row("all in place", all, "PASS_MAX_DAYS\t5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "PASS_MAX_DAYS 90\nPASS_MIN_DAYS -1\nPASS_WARN_AGE 0\n");
    row("all in another order", all, "PASS_WARN_AGE 7\nPASS_MIN_DAYS 6\nPASS_MAX_DAYS 5\n",
        "PASS_WARN_AGE 0\nPASS_MIN_DAYS -1\nPASS_MAX_DAYS 90\n");
    row("all appended", all, "UMASK 022\n", "UMASK 022\nPASS_MAX_DAYS 90\nPASS_MIN_DAYS -1\nPASS_WARN_AGE 0\n");
    row("some appended", all, "PASS_MIN_DAYS 6\n", "PASS_MIN_DAYS -1\nPASS_MAX_DAYS 90\nPASS_WARN_AGE 0\n");
    row("appended to an empty file", max, "", "PASS_MAX_DAYS 90\n");
    row("appended to a last line without end", max, "UMASK 022", "UMASK 022PASS_MAX_DAYS 90\n");
    row("absent keys empty their lines", max, "PASS_MAX_DAYS 5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "PASS_MAX_DAYS 90\n\n\n");
    row("commented setting is appended", max, "#PASS_MAX_DAYS 5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "#PASS_MAX_DAYS 5\n\n\nPASS_MAX_DAYS 90\n");
    row("no arguments", {}, "PASS_MAX_DAYS 5 # max\nUMASK 022\n", "\t# max\nUMASK 022\n");
    row("comment stays", max, "  PASS_MAX_DAYS\t5   # max  \n", "PASS_MAX_DAYS 90\t# max\n");
    row("comment that is no text", max, "PASS_MAX_DAYS 5 # \xff\xfe h\u00f6chstens\n",
        "PASS_MAX_DAYS 90\t# \xff\xfe h\u00f6chstens\n");
    row("comment with NUL bytes", max, QByteArray("PASS_MAX_DAYS 5 # a\0b\n", 22),
        QByteArray("PASS_MAX_DAYS 90\t# a\0b\n", 23));
    row("setting twice", max, "PASS_MAX_DAYS 5\nPASS_MAX_DAYS 6\n", "PASS_MAX_DAYS 90\nPASS_MAX_DAYS 90\n");
    row("text around a setting is lost", max, "my PASS_MAX_DAYS 5 days\n", "PASS_MAX_DAYS 90\n");
    row("line end of a replaced line", max, "PASS_MAX_DAYS 5\r\nUMASK 022\r\n", "PASS_MAX_DAYS 90\nUMASK 022\r\n");
    row("last line without end", max, "PASS_MAX_DAYS 5", "PASS_MAX_DAYS 90\n");
    row("setting without number is no setting", max, "PASS_MAX_DAYS\n", "PASS_MAX_DAYS\nPASS_MAX_DAYS 90\n");
    row("unknown keys", {{key("maxDays"), 1}, {key("PASS_MAX_DAYS"), 2}}, "UMASK 022\n", "UMASK 022\n");
    row("unclaimed bytes", max, QByteArray("\0\xff \t\r\n\n# \xfe\nPASS_MAX_DAYS 5\nend", 31),
        QByteArray("\0\xff \t\r\n\n# \xfe\nPASS_MAX_DAYS 90\nend", 32));
    const QByteArray long1 = "x" + QByteArray(1 << 20, ' ') + "PASS_MAX_DAYS" + QByteArray(1 << 20, ' ') + "y\n";
    row("megabytes of blanks", max, long1 + "PASS_MAX_DAYS 5\n", long1 + "PASS_MAX_DAYS 90\n");
    row("ten thousand lines", max, QByteArray("PASS_MAX_DAYS 5\n").repeated(10000),
        QByteArray("PASS_MAX_DAYS 90\n").repeated(10000));

    const QVariantMap both{{key("inactiveInterval"), 30}, {key("expireDate"), 365}};
    defaults("both in place", both, "EXPIRE=\nINACTIVE=-1\n", "EXPIRE=1971-01-01\nINACTIVE=30\n");
    defaults("both appended", both, "SHELL=/bin/sh\n", "SHELL=/bin/sh\nINACTIVE=30\nEXPIRE=1971-01-01");
    defaults("number appended", both, "EXPIRE=1970-01-02\n", "EXPIRE=1971-01-01\nINACTIVE=30\n");
    defaults("date appended", both, "INACTIVE=1\n", "INACTIVE=30\nEXPIRE=1971-01-01");
    defaults("absent keys empty their lines", {}, "INACTIVE=1 # days\nEXPIRE=1970-01-02\nSHELL=x\n",
        "\t# days\n\nSHELL=x\n");
    defaults("commented settings", both, "# INACTIVE=1\n# EXPIRE=\n",
        "# INACTIVE=1\n# EXPIRE=\nINACTIVE=30\nEXPIRE=1971-01-01");
    defaults("no text for an appended day", {{key("expireDate"), std::numeric_limits<qlonglong>::max()}}, "SHELL=x\n",
        "SHELL=x\nEXPIRE=");
    // clang-format on
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesFiles()
{
    QFETCH(QString, path);
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    writeContent(path, before);

    QCOMPARE(outcomeOf(arguments), success(arguments));

    QVERIFY2(contentOf(path) == after, contentOf(path).left(200).constData());
    QVERIFY(contentOf(backupOf(path)) == before);
    QCOMPARE(filesThere(), filesAfterSuccess);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::replacesEarlierBackup()
{
    writeContent(backupOf(loginDefs), "old");
    writeContent(backupOf(useradd), "old");

    outcomeOf(allArguments());
    outcomeOf({});

    QCOMPARE(contentOf(backupOf(loginDefs)), newLoginDefs);
    QCOMPARE(contentOf(backupOf(useradd)), QByteArray("INACTIVE=30\nEXPIRE=1971-01-01"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::keepsModeAndOwner()
{
    QCOMPARE(runAs(root, "chown 65534:65534 /etc/login.defs").exitCode, 0);
    QVERIFY(QFile::setPermissions(loginDefs, QFile::Permissions(0x6640)));

    QCOMPARE(outcomeOf(allArguments()), success(allArguments()));

    QCOMPARE(QFileInfo(loginDefs).ownerId(), 65534U);
    QCOMPARE(QFileInfo(loginDefs).groupId(), 65534U);
    QCOMPARE(static_cast<int>(QFileInfo(loginDefs).permissions() & QFile::Permissions(0x7077)), 0x6040);
    QCOMPARE(QFileInfo(backupOf(loginDefs)).ownerId(), 0U);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::tellsWhatFails_data()
{
    // the command that makes it fail, and the files and useradd's defaults that are there afterwards
    const Rows<QByteArray, RowText, QStringList> row("command", "message", "files");
    const QStringList written{loginDefs, backupOf(loginDefs)};
    // clang-format off
    row("no login.defs", "rm /etc/login.defs", "\"/etc/login.defs\" not exists", {useradd});
    row("no defaults of useradd", "rm /etc/default/useradd", "\"/etc/default/useradd\" not exists", written);
    row("temporary file is a folder", "mkdir /etc/default/useradd.tmp",
        "\"/etc/default/useradd.tmp\" error 5\nIs a directory", written + QStringList{useradd, temporaryOf(useradd)});
    row("backup can't be made", "mkdir -p /etc/default/useradd.bak/x",
        "\"/etc/default/useradd\" error 14\nDestination file exists",
        written + QStringList{useradd, temporaryOf(useradd), backupOf(useradd)});
    // clang-format on
}

void LocalPolicyPasswordExpirationUpdateTaskTest::tellsWhatFails()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, message);
    QFETCH(QStringList, files);
    QCOMPARE(runAs(root, command.constData()).exitCode, 0);

    QCOMPARE(outcomeOf(allArguments()), failure(allArguments(), message));

    QCOMPARE(filesThere(), files);
    QVERIFY(!files.contains(loginDefs) || contentOf(loginDefs) == newLoginDefs);
    QVERIFY(!files.contains(useradd) || contentOf(useradd) == "INACTIVE=1\n");
    QVERIFY(!files.contains(backupOf(useradd)) || contentOf(temporaryOf(useradd)) == "INACTIVE=30\nEXPIRE=1971-01-01");
}

void LocalPolicyPasswordExpirationUpdateTaskTest::failsWhereFileCannotBeWritten()
{
    const ScopedMount readOnly = ScopedMount::readOnly(loginDefs);

    const QString message =
        QStringLiteral("Process: \"cp --force --preserve=mode,ownership /etc/login.defs.tmp /etc/login.defs\". ")
        + failureOfCp("cannot remove '/etc/login.defs': Device or resource busy");
    QCOMPARE(outcomeOf(allArguments()), failure(allArguments(), message));

    QCOMPARE(filesThere(), QStringList({loginDefs, temporaryOf(loginDefs), backupOf(loginDefs), useradd}));
    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(backupOf(loginDefs)), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(temporaryOf(loginDefs)), newLoginDefs);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::tellsOfTemporaryFileThatStays()
{
    writeContent(temporaryOf(loginDefs), "");
    const ScopedMount pinned = ScopedMount::pinned(temporaryOf(loginDefs));

    QCOMPARE(
        outcomeOf(allArguments()),
        success(allArguments(), QStringLiteral("\"/etc/login.defs.tmp\" error 9\nDevice or resource busy\n") + notice));

    QCOMPARE(filesThere(),
             QStringList({loginDefs, temporaryOf(loginDefs), backupOf(loginDefs), useradd, backupOf(useradd)}));
    QCOMPARE(contentOf(temporaryOf(loginDefs)), contentOf(loginDefs));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::tellsOfItBeforeTheFailureThatFollows()
{
    writeContent(temporaryOf(loginDefs), "");
    const ScopedMount pinned = ScopedMount::pinned(temporaryOf(loginDefs));
    QVERIFY(QFile::remove(useradd));

    QCOMPARE(outcomeOf(allArguments()),
             failure(allArguments(),
                     QStringLiteral("\"/etc/login.defs.tmp\" error 9\nDevice or resource busy\n"
                                    "\"/etc/default/useradd\" not exists")));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::overwritesTemporaryFileOfEarlierFailure()
{
    writeContent(temporaryOf(loginDefs), QByteArray(10000, 'x'));
    writeContent(temporaryOf(useradd), QByteArray(10000, 'x'));

    QCOMPARE(outcomeOf(allArguments()), success(allArguments()));

    QCOMPARE(filesThere(), filesAfterSuccess);
    QCOMPARE(contentOf(loginDefs), newLoginDefs);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::translatesNotice()
{
    LocalPolicyPasswordExpirationUpdateTask task(nullptr, new QVariantMap);
    const RecordingTranslator translator;
    task.run();

    QCOMPARE(task.result().message(), QLatin1Char('[') + notice + QLatin1Char(']'));
    QCOMPARE(translator.contextsOf(notice.toLatin1()), QList<QByteArray>{taskContext});
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesTheSameTwice()
{
    outcomeOf(allArguments());
    const QByteArray login = contentOf(loginDefs);

    outcomeOf(allArguments());

    QCOMPARE(contentOf(loginDefs), login);
    // the date, appended without a line end, is a line like any other at the next run and gets one
    QCOMPARE(contentOf(useradd), QByteArray("INACTIVE=30\nEXPIRE=1971-01-01\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesWhatIsReadBack()
{
    outcomeOf(allArguments());
    LocalPolicyPasswordExpirationReadTask read(nullptr);
    read.run();

    QCOMPARE(typedEntries(*read.values()),
             texts({"expireDate: qlonglong 365",
                    "inactiveInterval: int 30",
                    "maxInterval: int 90",
                    "minInterval: int 1",
                    "warningInterval: int 14"}));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::changesTheCopiesBelowAFolderAlone()
{
    const QTemporaryDir copies;
    QDir(copies.path()).mkpath(QStringLiteral("etc/default"));
    writeContent(copies.path() + loginDefs, "PASS_MAX_DAYS 8\n");
    LocalPolicyPasswordExpirationUpdateTask task(nullptr, new QVariantMap(allArguments()));

    task.runBelow(copies.path());

    QCOMPARE(task.result().message(), QStringLiteral("\"%1\" not exists").arg(copies.path() + useradd));
    QCOMPARE(contentOf(copies.path() + loginDefs), QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(useradd), QByteArray("INACTIVE=1\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::isUnderstoodByUseradd()
{
    QVariantMap arguments = allArguments();
    arguments.insert(key("expireDate"), 29220); // 2050-01-01
    writeContent(loginDefs, "UID_MIN 1000\nUID_MAX 60000\nSYS_UID_MIN 100\n");
    QCOMPARE(outcomeOf(arguments), success(arguments));

    const QByteArray defaults = runAs(root, "useradd -D").standardOutput;
    QVERIFY2(defaults.contains("\nINACTIVE=30\nEXPIRE=2050-01-01\n"), defaults.constData());

    QCOMPARE(runAs(root, "useradd -M expiring").exitCode, 0);
    const QByteArrayList entries = linesWith("expiring:", "/etc/shadow");
    QCOMPARE(entries.size(), 1);
    // name, password, day of the last change, then minimum, maximum, warning, inactivity, expiry
    QCOMPARE(entries.first().split(':').mid(3), QList<QByteArray>({"1", "90", "14", "30", "29220", ""}));
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordExpirationUpdateTaskTest)
#include "LocalPolicyPasswordExpirationUpdateTaskTest.moc"
