// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"

#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <type_traits>

namespace
{
const QString loginDefs = QStringLiteral("/etc/login.defs");
const QString useradd = QStringLiteral("/etc/default/useradd");

QVariantMap value(const char *key, int number)
{
    return {{QString::fromLatin1(key), number}};
}

QVariantMap expireDate(qlonglong days)
{
    return {{QStringLiteral("expireDate"), days}};
}

QStringList outcomeOfReading()
{
    LocalPolicyPasswordExpirationReadTask task(nullptr);
    return outcomeOfRun(&task);
}
}

class LocalPolicyPasswordExpirationReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void startsEmpty();
    void translatesDescription();
    void handlersHaveTheirPatterns();
    void readsLoginDefs_data();
    void readsLoginDefs();
    void readsUseraddDefaults_data();
    void readsUseraddDefaults();
    void failsWithoutLoginDefs();
    void keepsLoginDefsWhereUseraddDefaultsAreMissing();
    void failsOnFolder_data();
    void failsOnFolder();
    void leavesTranslationOfFileErrorsToTheEngine();
    void changesNoFile();
};

void LocalPolicyPasswordExpirationReadTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<ReadPropertyHeavyTask, LocalPolicyPasswordExpirationReadTask>);
}

void LocalPolicyPasswordExpirationReadTaskTest::init()
{
    QDir(loginDefs).removeRecursively();
    QDir(useradd).removeRecursively();
    writeContent(loginDefs, "");
    writeContent(useradd, "");
}

void LocalPolicyPasswordExpirationReadTaskTest::startsEmpty()
{
    int context = 0;
    LocalPolicyPasswordExpirationReadTask task(&context);

    QCOMPARE(task.context(), static_cast<void *>(&context));
    QVERIFY(task.values());
    QCOMPARE(typedEntries(*task.values()), QStringList());
    QCOMPARE(task.result().state(), 0);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Read default password expiration policy"));
}

void LocalPolicyPasswordExpirationReadTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyPasswordExpirationReadTask task(nullptr);

    QCOMPARE(task.result().description(), QStringLiteral("[Read default password expiration policy]"));
    QCOMPARE(
        translator.texts(),
        QList<TranslatedText>({{"LocalPolicyPasswordExpirationReadTask", "Read default password expiration policy"}}));
}

void LocalPolicyPasswordExpirationReadTaskTest::handlersHaveTheirPatterns()
{
    QVariantMap values;
    LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler login(&values);
    LocalPolicyPasswordExpirationReadTask::UseraddReaderRegExpHandler defaults(&values);

    QCOMPARE(login.regExp().pattern(), QStringLiteral(R"(\s*(PASS_MAX_DAYS|PASS_MIN_DAYS|PASS_WARN_AGE)\s*(-?\d+))"));
    QCOMPARE(defaults.regExp().pattern(), QStringLiteral(R"(\s*(INACTIVE|EXPIRE)\s*=\s*(\S*))"));
    QVERIFY(login.matches("PASS_MIN_DAYS 3"));
    QVERIFY(login.handleLine(nullptr));
    QVERIFY(defaults.matches("INACTIVE=x"));
    QVERIFY(defaults.handleLine(nullptr));
    QCOMPARE(typedEntries(values),
             QStringList({QStringLiteral("inactiveInterval: int 0"), QStringLiteral("minInterval: int 3")}));
}

void LocalPolicyPasswordExpirationReadTaskTest::readsLoginDefs_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char *name, const QByteArray &content, const QVariantMap &expected) {
        QTest::newRow(name) << content << expected;
    };
    row("empty", "", {});
    row("all",
        "PASS_MAX_DAYS\t5\nPASS_MIN_DAYS 2\nPASS_WARN_AGE -1\n",
        {{QStringLiteral("maxInterval"), 5},
         {QStringLiteral("minInterval"), 2},
         {QStringLiteral("warningInterval"), -1}});
    row("tab", "PASS_MAX_DAYS\t5", value("maxInterval", 5));
    row("negative", "PASS_WARN_AGE -1\n", value("warningInterval", -1));
    row("no blank", "PASS_MIN_DAYS7\n", value("minInterval", 7));
    row("no blank but a minus", "PASS_MIN_DAYS-7\n", value("minInterval", -7));
    row("commented out", "# PASS_MIN_DAYS 7\n  #PASS_MAX_DAYS 10\n", {});
    row("comment behind", "PASS_MAX_DAYS 10 # PASS_MIN_DAYS 3\n", value("maxInterval", 10));
    row("later line wins", "PASS_MAX_DAYS 1\nPASS_MAX_DAYS 2\n", value("maxInterval", 2));
    row("first of a line counts", "PASS_MAX_DAYS 1 PASS_MIN_DAYS 2\n", value("maxInterval", 1));
    row("without number", "PASS_MAX_DAYS\nPASS_MIN_DAYS x\n", {});
    row("number behind text", "PASS_MAX_DAYS x 3\n", {});
    row("number with text", "PASS_MAX_DAYS 3x\n", value("maxInterval", 3));
    row("inside other text",
        "my PASS_MAX_DAYS 3\nXPASS_MIN_DAYS 4\n",
        {{QStringLiteral("maxInterval"), 3}, {QStringLiteral("minInterval"), 4}});
    row("failing name first", "PASS_MAX_DAYS PASS_MIN_DAYS 4\n", value("minInterval", 4));
    row("other case", "pass_max_days 3\n", {});
    row("largest int", "PASS_MAX_DAYS 2147483647\n", value("maxInterval", 2147483647));
    row("beyond an int", "PASS_MAX_DAYS 2147483648\n", value("maxInterval", 0));
    row("leading zeros", "PASS_MAX_DAYS 0099\n", value("maxInterval", 99));
    row("digits of another script", "PASS_MAX_DAYS \xd9\xa3\n", value("maxInterval", 0));
    row("carriage returns",
        "PASS_MAX_DAYS 3\r\nPASS_MIN_DAYS 4\r\n",
        {{QStringLiteral("maxInterval"), 3}, {QStringLiteral("minInterval"), 4}});
    row("behind a NUL byte", QByteArray("PASS_MAX_DAYS\0 3\nPASS_MIN_DAYS 4\0 5\n", 37), value("minInterval", 4));
    row("no-break space",
        "PASS_MAX_DAYS\xc2\xa0"
        "6\n",
        value("maxInterval", 6));
    row("bytes that are no text", "\xff\xfe\nPASS_MAX_DAYS 5 \xc3\n", value("maxInterval", 5));
    row("a megabyte of blanks before", "x" + QByteArray(1 << 20, ' ') + "PASS_MAX_DAYS 5", value("maxInterval", 5));
    row("a megabyte of blanks without number",
        "PASS_MAX_DAYS" + QByteArray(1 << 20, ' ') + "x\nPASS_MIN_DAYS 1",
        value("minInterval", 1));
    row("a megabyte of names",
        QByteArray("PASS_MAX_DAYS ").repeated(75000) + "\nPASS_MIN_DAYS 1",
        value("minInterval", 1));
    row("a megabyte of digits", "PASS_MAX_DAYS " + QByteArray(1 << 20, '9') + "\n", value("maxInterval", 0));
    row("ten thousand lines", QByteArray("PASS_MAX_DAYS 5\n").repeated(10000), value("maxInterval", 5));
}

void LocalPolicyPasswordExpirationReadTaskTest::readsLoginDefs()
{
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, expected);
    writeContent(loginDefs, content);

    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), expected));
}

void LocalPolicyPasswordExpirationReadTaskTest::readsUseraddDefaults_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char *name, const QByteArray &content, const QVariantMap &expected) {
        QTest::newRow(name) << content << expected;
    };
    row("both",
        "INACTIVE=30\nEXPIRE=1970-01-02\n",
        {{QStringLiteral("inactiveInterval"), 30}, {QStringLiteral("expireDate"), qlonglong(1)}});
    row("minus one", "INACTIVE=-1\n", value("inactiveInterval", -1));
    row("empty number", "INACTIVE=\n", value("inactiveInterval", 0));
    row("no number", "INACTIVE=never\n", value("inactiveInterval", 0));
    row("number with text", "INACTIVE=3x\n", value("inactiveInterval", 0));
    row("beyond an int", "INACTIVE=2147483648\n", value("inactiveInterval", 0));
    row("blanks", "  INACTIVE \t= 7 8\n", value("inactiveInterval", 7));
    row("without equals sign", "INACTIVE 7\nEXPIRE\n", {});
    row("empty date", "EXPIRE=\n", {});
    row("day zero", "EXPIRE=1970-01-01\n", expireDate(0));
    row("before day zero", "EXPIRE=1969-12-31\n", expireDate(-1));
    row("leap day", "EXPIRE=2028-02-29 # leap\n", expireDate(21243));
    row("no such day", "EXPIRE=1970-02-30\n", {});
    row("a number", "EXPIRE=-1\n", {});
    row("short form", "EXPIRE=1970-1-2\n", {});
    row("text behind the date", "EXPIRE=1970-01-02x\n", {});
    row("quotes", "EXPIRE=\"1970-01-02\"\n", {});
    row("invalid date after a valid one", "EXPIRE=1970-01-05\nEXPIRE=never\n", expireDate(4));
    row("later line wins",
        "EXPIRE=1970-01-05\nEXPIRE=1970-01-03\nINACTIVE=1\nINACTIVE=2\n",
        {{QStringLiteral("inactiveInterval"), 2}, {QStringLiteral("expireDate"), qlonglong(2)}});
    row("commented out", "# INACTIVE=1\n#EXPIRE=1970-01-03\n", {});
    row("inside other text", "XINACTIVE=4\n", value("inactiveInterval", 4));
    row("other case", "inactive=4\n", {});
}

void LocalPolicyPasswordExpirationReadTaskTest::readsUseraddDefaults()
{
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, expected);
    writeContent(useradd, content);

    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), expected));
}

void LocalPolicyPasswordExpirationReadTaskTest::failsWithoutLoginDefs()
{
    QVERIFY(QFile::remove(loginDefs));
    writeContent(useradd, "INACTIVE=3\n");

    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed, QStringLiteral("\"/etc/login.defs\" not exists"), {}));
}

void LocalPolicyPasswordExpirationReadTaskTest::keepsLoginDefsWhereUseraddDefaultsAreMissing()
{
    writeContent(loginDefs, "PASS_MAX_DAYS 3\nPASS_MIN_DAYS 2\nPASS_WARN_AGE 1\n");
    QVERIFY(QFile::remove(useradd));

    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed,
                             QStringLiteral("\"/etc/default/useradd\" not exists"),
                             {{QStringLiteral("maxInterval"), 3},
                              {QStringLiteral("minInterval"), 2},
                              {QStringLiteral("warningInterval"), 1}}));
}

void LocalPolicyPasswordExpirationReadTaskTest::failsOnFolder_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("login.defs") << loginDefs;
    QTest::newRow("useradd's defaults") << useradd;
}

void LocalPolicyPasswordExpirationReadTaskTest::failsOnFolder()
{
    QFETCH(QString, path);
    QVERIFY(QFile::remove(path));
    QVERIFY(QDir().mkpath(path));

    const QStringList outcome = outcomeOfReading();

    QVERIFY(QDir().rmdir(path));
    QCOMPARE(outcome,
             expectedOutcome(
                 TaskState::Failed, QStringLiteral("\"%1\" error 5\nfile to open is a directory").arg(path), {}));
}

void LocalPolicyPasswordExpirationReadTaskTest::leavesTranslationOfFileErrorsToTheEngine()
{
    QVERIFY(QFile::remove(loginDefs));
    LocalPolicyPasswordExpirationReadTask task(nullptr);
    const RecordingTranslator translator;
    task.run();

    QCOMPARE(translator.texts(), QList<TranslatedText>({{"QObject", "\"%1\" not exists"}}));
    QCOMPARE(task.result().message(), QStringLiteral("[\"/etc/login.defs\" not exists]"));
}

void LocalPolicyPasswordExpirationReadTaskTest::changesNoFile()
{
    writeContent(loginDefs, "PASS_MAX_DAYS\t3 \r\n");
    writeContent(useradd, "EXPIRE=never");

    outcomeOfReading();

    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS\t3 \r\n"));
    QCOMPARE(contentOf(useradd), QByteArray("EXPIRE=never"));
    QVERIFY(!QFile::exists(loginDefs + QStringLiteral(".tmp")));
    QVERIFY(!QFile::exists(loginDefs + QStringLiteral(".bak")));
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordExpirationReadTaskTest)
#include "LocalPolicyPasswordExpirationReadTaskTest.moc"
