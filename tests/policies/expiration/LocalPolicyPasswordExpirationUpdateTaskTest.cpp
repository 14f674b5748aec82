// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"

#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <limits>
#include <type_traits>

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

/// Finds each of the lines in turn, then appends to "last line"; whether it says that it did, and the text.
QList<QByteArray> tailAfter(SettingsFileRewriter *handler, const QStringList &lines)
{
    for (const QString &text : lines) {
        QByteArray line = text.toLatin1();
        if (handler->regExp().indexIn(text) < 0 || !handler->handleLine(&line)) {
            return {"not found: " + line};
        }
    }
    QByteArray tail = "last line";
    const bool appends = handler->appendLines(&tail);
    return {appends ? "true" : "false", tail};
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

const QStringList filesAfterSuccess{loginDefs, backupOf(loginDefs), useradd, backupOf(useradd)};
}

class LocalPolicyPasswordExpirationUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void ownsItsArguments();
    void translatesDescription();
    void handlersHaveTheirPatterns();
    void handlersClearTheTailTheyFill();
    void appendsAgeingUnlessAllWereSeen_data();
    void appendsAgeingUnlessAllWereSeen();
    void appendsDefaultsUnlessBothWereSeen_data();
    void appendsDefaultsUnlessBothWereSeen();
    void writesLoginDefs_data();
    void writesLoginDefs();
    void writesUseraddDefaults_data();
    void writesUseraddDefaults();
    void keepsBackupsOfBothFiles();
    void replacesEarlierBackup();
    void keepsModeAndOwner();
    void failsWithoutLoginDefs();
    void keepsLoginDefsWhereUseraddDefaultsFail();
    void failsWhereTemporaryFileIsFolder();
    void failsWhereBackupCannotBeMade();
    void failsWhereFileCannotBeWritten();
    void tellsOfTemporaryFileThatStays();
    void tellsOfItBeforeTheFailureThatFollows();
    void overwritesTemporaryFileOfEarlierFailure();
    void translatesNotice();
    void writesTheSameTwice();
    void writesWhatIsReadBack();
    void isUnderstoodByUseradd();
};

void LocalPolicyPasswordExpirationUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<UpdateTask, LocalPolicyPasswordExpirationUpdateTask>);
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

void LocalPolicyPasswordExpirationUpdateTaskTest::ownsItsArguments()
{
    auto *arguments = new QVariantMap(allArguments());
    int context = 0;
    LocalPolicyPasswordExpirationUpdateTask task(&context, arguments);

    QCOMPARE(task.context(), static_cast<void *>(&context));
    QCOMPARE(task.values(), arguments);
    QCOMPARE(task.result().state(), 0);
    QCOMPARE(task.result().message(), QString());
}

void LocalPolicyPasswordExpirationUpdateTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyPasswordExpirationUpdateTask task(nullptr, new QVariantMap);

    QCOMPARE(task.result().description(), QStringLiteral("[Update default password expiration policy]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "Update default password expiration policy"}}));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::handlersHaveTheirPatterns()
{
    const QVariantMap arguments;
    const LocalPolicyPasswordExpirationUpdateTask::LoginRewriterRegExpHandler login(&arguments);
    const LocalPolicyPasswordExpirationUpdateTask::UseraddRewriterRegExpHandler defaults(&arguments);

    QCOMPARE(login.regExp().pattern(), QStringLiteral(R"(\s*(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)\s*(-?\d+))"));
    QCOMPARE(defaults.regExp().pattern(), QStringLiteral(R"(\s*(INACTIVE|EXPIRE)\s*=\s*(\S*))"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::handlersClearTheTailTheyFill()
{
    const QVariantMap arguments = allArguments();
    LocalPolicyPasswordExpirationUpdateTask::LoginRewriterRegExpHandler login(&arguments);
    LocalPolicyPasswordExpirationUpdateTask::UseraddRewriterRegExpHandler defaults(&arguments);
    QByteArray tail = "last line";

    QVERIFY(login.appendLines(&tail));
    QCOMPARE(tail, QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
    QVERIFY(defaults.appendLines(&tail));
    QCOMPARE(tail, QByteArray("INACTIVE=30\nEXPIRE=1971-01-01"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsAgeingUnlessAllWereSeen_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QList<QByteArray>>("tail");

    const QString max = QStringLiteral("PASS_MAX_DAYS 5");
    const QString min = QStringLiteral("PASS_MIN_DAYS 6");
    const QString warn = QStringLiteral("PASS_WARN_AGE 7");
    const auto row = [](const char *name, const QStringList &lines, const QByteArray &tail) {
        QTest::newRow(name) << allArguments() << lines << QList<QByteArray>{"true", tail};
    };
    row("none", {}, "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");
    row("maximum", {max}, "PASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n");
    row("minimum", {min}, "PASS_MAX_DAYS 90\nPASS_WARN_AGE 14\n");
    row("maximum, minimum", {max, min}, "PASS_WARN_AGE 14\n");
    row("warning", {warn}, "PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\n");
    row("maximum, warning", {max, warn}, "PASS_MIN_DAYS 1\n");
    row("minimum, warning", {min, warn}, "PASS_MAX_DAYS 90\n");
    QTest::newRow("all") << allArguments() << QStringList{warn, min, max} << QList<QByteArray>{"false", "last line"};
    // a line whose argument is absent was not seen, and there is nothing to append for it
    QTest::newRow("all, without arguments")
        << QVariantMap() << QStringList{max, min, warn} << QList<QByteArray>{"true", ""};
    QTest::newRow("all, with two arguments") << QVariantMap{{key("maxInterval"), 90}, {key("minInterval"), 1}}
                                             << QStringList{max, min, warn} << QList<QByteArray>{"true", ""};
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsAgeingUnlessAllWereSeen()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QStringList, lines);
    QFETCH(QList<QByteArray>, tail);
    LocalPolicyPasswordExpirationUpdateTask::LoginRewriterRegExpHandler handler(&arguments);

    QCOMPARE(tailAfter(&handler, lines), tail);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsDefaultsUnlessBothWereSeen_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QList<QByteArray>>("tail");

    const QString inactive = QStringLiteral("INACTIVE=1");
    const QString expire = QStringLiteral("EXPIRE=");
    const auto row = [](const char *name, const QStringList &lines, const QByteArray &tail) {
        QTest::newRow(name) << allArguments() << lines << QList<QByteArray>{"true", tail};
    };
    row("none", {}, "INACTIVE=30\nEXPIRE=1971-01-01");
    row("inactivity", {inactive}, "EXPIRE=1971-01-01");
    row("date", {expire}, "INACTIVE=30\n");
    QTest::newRow("both") << allArguments() << QStringList{expire, inactive} << QList<QByteArray>{"false", "last line"};
    QTest::newRow("both, without arguments")
        << QVariantMap() << QStringList{inactive, expire} << QList<QByteArray>{"true", ""};
    QTest::newRow("both, with one argument")
        << QVariantMap{{key("inactiveInterval"), 30}} << QStringList{inactive, expire} << QList<QByteArray>{"true", ""};
}

void LocalPolicyPasswordExpirationUpdateTaskTest::appendsDefaultsUnlessBothWereSeen()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QStringList, lines);
    QFETCH(QList<QByteArray>, tail);
    LocalPolicyPasswordExpirationUpdateTask::UseraddRewriterRegExpHandler handler(&arguments);

    QCOMPARE(tailAfter(&handler, lines), tail);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesLoginDefs_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const auto row =
        [](const char *name, const QVariantMap &arguments, const QByteArray &before, const QByteArray &after) {
            QTest::newRow(name) << arguments << before << after;
        };
    const QVariantMap max{{key("maxInterval"), 90}};
    const QVariantMap all{{key("maxInterval"), 90}, {key("minInterval"), -1}, {key("warningInterval"), 0}};
    row("all in place",
        all,
        "PASS_MAX_DAYS\t5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "PASS_MAX_DAYS 90\nPASS_MIN_DAYS -1\nPASS_WARN_AGE 0\n");
    row("all in another order",
        all,
        "PASS_WARN_AGE 7\nPASS_MIN_DAYS 6\nPASS_MAX_DAYS 5\n",
        "PASS_WARN_AGE 0\nPASS_MIN_DAYS -1\nPASS_MAX_DAYS 90\n");
    row("all appended", all, "UMASK 022\n", "UMASK 022\nPASS_MAX_DAYS 90\nPASS_MIN_DAYS -1\nPASS_WARN_AGE 0\n");
    row("some appended", all, "PASS_MIN_DAYS 6\n", "PASS_MIN_DAYS -1\nPASS_MAX_DAYS 90\nPASS_WARN_AGE 0\n");
    row("appended to an empty file", max, "", "PASS_MAX_DAYS 90\n");
    row("appended to a last line without end", max, "UMASK 022", "UMASK 022PASS_MAX_DAYS 90\n");
    row("absent keys empty their lines",
        max,
        "PASS_MAX_DAYS 5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "PASS_MAX_DAYS 90\n\n\n");
    row("commented setting is appended",
        max,
        "#PASS_MAX_DAYS 5\nPASS_MIN_DAYS 6\nPASS_WARN_AGE 7\n",
        "#PASS_MAX_DAYS 5\n\n\nPASS_MAX_DAYS 90\n");
    row("no arguments", {}, "PASS_MAX_DAYS 5 # max\nUMASK 022\n", "\t# max\nUMASK 022\n");
    row("comment stays", max, "  PASS_MAX_DAYS\t5   # max  \n", "PASS_MAX_DAYS 90\t# max\n");
    row("comment that is no text",
        max,
        "PASS_MAX_DAYS 5 # \xff\xfe h\xc3\xb6"
        "chstens\n",
        "PASS_MAX_DAYS 90\t# \xff\xfe h\xc3\xb6"
        "chstens\n");
    row("comment with NUL bytes",
        max,
        QByteArray("PASS_MAX_DAYS 5 # a\0b\n", 22),
        QByteArray("PASS_MAX_DAYS 90\t# a\0b\n", 23));
    row("setting twice", max, "PASS_MAX_DAYS 5\nPASS_MAX_DAYS 6\n", "PASS_MAX_DAYS 90\nPASS_MAX_DAYS 90\n");
    row("text around a setting is lost", max, "my PASS_MAX_DAYS 5 days\n", "PASS_MAX_DAYS 90\n");
    row("line end of a replaced line", max, "PASS_MAX_DAYS 5\r\nUMASK 022\r\n", "PASS_MAX_DAYS 90\nUMASK 022\r\n");
    row("last line without end", max, "PASS_MAX_DAYS 5", "PASS_MAX_DAYS 90\n");
    row("setting without number is no setting", max, "PASS_MAX_DAYS\n", "PASS_MAX_DAYS\nPASS_MAX_DAYS 90\n");
    row("unknown keys", {{key("maxDays"), 1}, {key("PASS_MAX_DAYS"), 2}}, "UMASK 022\n", "UMASK 022\n");
    row("unclaimed bytes",
        max,
        QByteArray("\0\xff \t\r\n\n# \xfe\nPASS_MAX_DAYS 5\nend", 31),
        QByteArray("\0\xff \t\r\n\n# \xfe\nPASS_MAX_DAYS 90\nend", 32));
    const QByteArray long1 = "x" + QByteArray(1 << 20, ' ') + "PASS_MAX_DAYS" + QByteArray(1 << 20, ' ') + "y\n";
    row("megabytes of blanks", max, long1 + "PASS_MAX_DAYS 5\n", long1 + "PASS_MAX_DAYS 90\n");
    row("ten thousand lines",
        max,
        QByteArray("PASS_MAX_DAYS 5\n").repeated(10000),
        QByteArray("PASS_MAX_DAYS 90\n").repeated(10000));

    const auto converted = [&row](const char *name, const QVariant &argument, const QByteArray &text) {
        row(name, {{key("maxInterval"), argument}}, "PASS_MAX_DAYS 5\n", "PASS_MAX_DAYS " + text + "\n");
    };
    converted("bool", true, "1");
    converted("cut to 32 bits", qlonglong(3000000000), "-1294967296");
    converted("unsigned", 7U, "7");
    converted("rounded", 2.5, "3");
    converted("text with a number", QStringLiteral("12"), "12");
    converted("text without", QStringLiteral("abc"), "0");
    converted("bytes", QByteArray("8"), "8");
    converted("list", QStringList{QStringLiteral("8")}, "0");
    converted("map", QVariantMap(), "0");
    converted("date", QDate(2027, 1, 31), "0");
    converted("nothing", QVariant(), "0");
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesLoginDefs()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    writeContent(loginDefs, before);

    QCOMPARE(outcomeOf(arguments), success(arguments));

    QVERIFY2(contentOf(loginDefs) == after, contentOf(loginDefs).left(200).constData());
    QVERIFY(contentOf(backupOf(loginDefs)) == before);
    QCOMPARE(filesThere(), filesAfterSuccess);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesUseraddDefaults_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const auto row =
        [](const char *name, const QVariantMap &arguments, const QByteArray &before, const QByteArray &after) {
            QTest::newRow(name) << arguments << before << after;
        };
    const QVariantMap both{{key("inactiveInterval"), 30}, {key("expireDate"), 365}};
    row("both in place", both, "EXPIRE=\nINACTIVE=-1\n", "EXPIRE=1971-01-01\nINACTIVE=30\n");
    row("both appended", both, "SHELL=/bin/sh\n", "SHELL=/bin/sh\nINACTIVE=30\nEXPIRE=1971-01-01");
    row("number appended", both, "EXPIRE=1970-01-02\n", "EXPIRE=1971-01-01\nINACTIVE=30\n");
    row("date appended", both, "INACTIVE=1\n", "INACTIVE=30\nEXPIRE=1971-01-01");
    row("absent keys empty their lines",
        {},
        "INACTIVE=1 # days\nEXPIRE=1970-01-02\nSHELL=x\n",
        "\t# days\n\nSHELL=x\n");
    row("commented settings",
        both,
        "# INACTIVE=1\n# EXPIRE=\n",
        "# INACTIVE=1\n# EXPIRE=\nINACTIVE=30\nEXPIRE=1971-01-01");
    row("more than 32 bits",
        {{key("inactiveInterval"), qlonglong(3000000000)}},
        "INACTIVE=1\n",
        "INACTIVE=3000000000\n");
    row("negative", {{key("inactiveInterval"), -1}}, "INACTIVE=1\n", "INACTIVE=-1\n");
    row("text without a number", {{key("inactiveInterval"), QStringLiteral("x")}}, "INACTIVE=1\n", "INACTIVE=0\n");

    const auto date = [&row](const char *name, const QVariant &argument, const QByteArray &text) {
        row(name, {{key("expireDate"), argument}}, "EXPIRE=x\n", "EXPIRE=" + text + "\n");
    };
    date("day zero", 0, "1970-01-01");
    date("day before", -1, "1969-12-31");
    date("far day", 20819, "2027-01-01");
    date("text with a number", QStringLiteral("31"), "1970-02-01");
    date("date, which is no number", QDate(2027, 1, 31), "1970-01-01");
    date("rounded", 0.5, "1970-01-02");
    date("beyond the calendar", std::numeric_limits<qlonglong>::max(), "");
    date("before the calendar", std::numeric_limits<qlonglong>::min(), "");
    row("no text for an appended day",
        {{key("expireDate"), std::numeric_limits<qlonglong>::max()}},
        "SHELL=x\n",
        "SHELL=x\nEXPIRE=");
}

void LocalPolicyPasswordExpirationUpdateTaskTest::writesUseraddDefaults()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    writeContent(useradd, before);

    QCOMPARE(outcomeOf(arguments), success(arguments));

    QCOMPARE(contentOf(useradd), after);
    QCOMPARE(contentOf(backupOf(useradd)), before);
    QCOMPARE(filesThere(), filesAfterSuccess);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::keepsBackupsOfBothFiles()
{
    QCOMPARE(outcomeOf(allArguments()), success(allArguments()));

    QCOMPARE(contentOf(backupOf(loginDefs)), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(backupOf(useradd)), QByteArray("INACTIVE=1\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::replacesEarlierBackup()
{
    writeContent(backupOf(loginDefs), "old");
    writeContent(backupOf(useradd), "old");

    outcomeOf(allArguments());
    outcomeOf({});

    QCOMPARE(contentOf(backupOf(loginDefs)), QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
    QCOMPARE(contentOf(backupOf(useradd)), QByteArray("INACTIVE=30\nEXPIRE=1971-01-01"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::keepsModeAndOwner()
{
    QCOMPARE(runAs(0, QStringLiteral("chown"), {QStringLiteral("65534:65534"), loginDefs}).exitCode, 0);
    QVERIFY(QFile::setPermissions(loginDefs, QFile::Permissions(0x6640)));

    QCOMPARE(outcomeOf(allArguments()), success(allArguments()));

    QCOMPARE(QFileInfo(loginDefs).ownerId(), 65534U);
    QCOMPARE(QFileInfo(loginDefs).groupId(), 65534U);
    QCOMPARE(static_cast<int>(QFileInfo(loginDefs).permissions() & QFile::Permissions(0x7077)), 0x6040);
    QCOMPARE(QFileInfo(backupOf(loginDefs)).ownerId(), 0U);
}

void LocalPolicyPasswordExpirationUpdateTaskTest::failsWithoutLoginDefs()
{
    QVERIFY(QFile::remove(loginDefs));

    QCOMPARE(outcomeOf(allArguments()), failure(allArguments(), QStringLiteral("\"/etc/login.defs\" not exists")));

    QCOMPARE(filesThere(), QStringList{useradd});
    QCOMPARE(contentOf(useradd), QByteArray("INACTIVE=1\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::keepsLoginDefsWhereUseraddDefaultsFail()
{
    QVERIFY(QFile::remove(useradd));

    QCOMPARE(outcomeOf(allArguments()), failure(allArguments(), QStringLiteral("\"/etc/default/useradd\" not exists")));

    QCOMPARE(filesThere(), QStringList({loginDefs, backupOf(loginDefs)}));
    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::failsWhereTemporaryFileIsFolder()
{
    QVERIFY(QDir().mkpath(temporaryOf(useradd)));

    QCOMPARE(outcomeOf(allArguments()),
             failure(allArguments(), QStringLiteral("\"/etc/default/useradd.tmp\" error 5\nIs a directory")));

    QCOMPARE(filesThere(), QStringList({loginDefs, backupOf(loginDefs), useradd, temporaryOf(useradd)}));
    QCOMPARE(contentOf(useradd), QByteArray("INACTIVE=1\n"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::failsWhereBackupCannotBeMade()
{
    QVERIFY(QDir().mkpath(backupOf(useradd) + QStringLiteral("/x")));

    QCOMPARE(outcomeOf(allArguments()),
             failure(allArguments(), QStringLiteral("\"/etc/default/useradd\" error 14\nDestination file exists")));

    QCOMPARE(filesThere(),
             QStringList({loginDefs, backupOf(loginDefs), useradd, temporaryOf(useradd), backupOf(useradd)}));
    QCOMPARE(contentOf(useradd), QByteArray("INACTIVE=1\n"));
    QCOMPARE(contentOf(temporaryOf(useradd)), QByteArray("INACTIVE=30\nEXPIRE=1971-01-01"));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::failsWhereFileCannotBeWritten()
{
    const ScopedMount readOnly = ScopedMount::readOnly(loginDefs);

    QCOMPARE(
        outcomeOf(allArguments()),
        failure(
            allArguments(),
            QStringLiteral(
                "Process: \"cp --force --preserve=mode,ownership /etc/login.defs.tmp /etc/login.defs\". Exit code: 1.\n"
                "\"/usr/bin/cp: cannot remove '/etc/login.defs': Device or resource busy\"")));

    QCOMPARE(filesThere(), QStringList({loginDefs, temporaryOf(loginDefs), backupOf(loginDefs), useradd}));
    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(backupOf(loginDefs)), QByteArray("PASS_MAX_DAYS 7\n"));
    QCOMPARE(contentOf(temporaryOf(loginDefs)), QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
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
    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\nPASS_WARN_AGE 14\n"));
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
             QStringList({QStringLiteral("expireDate: qlonglong 365"),
                          QStringLiteral("inactiveInterval: int 30"),
                          QStringLiteral("maxInterval: int 90"),
                          QStringLiteral("minInterval: int 1"),
                          QStringLiteral("warningInterval: int 14")}));
}

void LocalPolicyPasswordExpirationUpdateTaskTest::isUnderstoodByUseradd()
{
    QVariantMap arguments = allArguments();
    arguments.insert(key("expireDate"), 29220); // 2050-01-01
    writeContent(loginDefs, "UID_MIN 1000\nUID_MAX 60000\nSYS_UID_MIN 100\n");
    QCOMPARE(outcomeOf(arguments), success(arguments));

    const QByteArray defaults = runAs(0, QStringLiteral("useradd"), {QStringLiteral("-D")}).standardOutput;
    QVERIFY2(defaults.contains("\nINACTIVE=30\nEXPIRE=2050-01-01\n"), defaults.constData());

    QCOMPARE(runAs(0, QStringLiteral("useradd"), {QStringLiteral("-M"), QStringLiteral("expiring")}).exitCode, 0);
    const QList<QByteArray> entries = contentOf(QStringLiteral("/etc/shadow")).split('\n');
    QByteArray ours;
    for (const QByteArray &entry : entries) {
        if (entry.startsWith("expiring:")) {
            ours = entry;
        }
    }
    // name, password, day of the last change, then minimum, maximum, warning, inactivity, expiry
    QCOMPARE(ours.split(':').mid(3), QList<QByteArray>({"1", "90", "14", "30", "29220", ""}));
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordExpirationUpdateTaskTest)
#include "LocalPolicyPasswordExpirationUpdateTaskTest.moc"
