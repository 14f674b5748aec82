// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"

#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QTest>

#include <type_traits>

namespace
{
constexpr char taskContext[] = "LocalPolicyPasswordComplexityReadTask";

const QString enforceForRoot = QStringLiteral("enforce_for_root");
const QString gecoscheck = QStringLiteral("gecoscheck");
const QString rejectUsername = QStringLiteral("reject_username");
const QString minlen = QStringLiteral("minlen");
const QString lcredit = QStringLiteral("lcredit");
const QString ucredit = QStringLiteral("ucredit");
const QString dcredit = QStringLiteral("dcredit");
const QString ocredit = QStringLiteral("ocredit");

QString commonPassword()
{
    return PamSystem::stack(QStringLiteral("common-password"));
}

/// The three flags as false, but for what @p others says.
QVariantMap values(const QVariantMap &others = {})
{
    QVariantMap values{{enforceForRoot, false}, {gecoscheck, false}, {rejectUsername, false}};
    values.insert(others);
    return values;
}

QStringList outcomeOfReading()
{
    LocalPolicyPasswordComplexityReadTask task(nullptr);
    return outcomeOfRun(&task);
}

const QString noModule = QStringLiteral("\"/etc/pam.d/common-password\" not contain \"pam_cracklib or pam_pwquality\"");
}

class LocalPolicyPasswordComplexityReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void startsEmpty();
    void translatesDescription();
    void handlerStoresFlagsAtOnce();
    void handlerSearchesForModules();
    void readsOptions_data();
    void readsOptions();
    void failsWithoutModule_data();
    void failsWithoutModule();
    void translatesMissingModule();
    void failsWithoutFile();
    void failsOnFolder();
    void translatesFileErrorsAsEngineDoes();
    void overwritesOnlyWhatItReads();
    void readsNoOtherFile();
    void changesNoFile();
};

void LocalPolicyPasswordComplexityReadTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<ReadPropertyHeavyTask, LocalPolicyPasswordComplexityReadTask>);
}

void LocalPolicyPasswordComplexityReadTaskTest::startsEmpty()
{
    int context = 0;
    LocalPolicyPasswordComplexityReadTask task(&context);
    QCOMPARE(task.context(), &context);
    QVERIFY(task.values());
    QCOMPARE(*task.values(), QVariantMap());
    QCOMPARE(task.result().state(), TaskState::NotStarted);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Read default password complexity policy"));
    QCOMPARE(task.flags(), quint64(0));
    task.cancel();
    QVERIFY(!task.isCancelRequested());
}

void LocalPolicyPasswordComplexityReadTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyPasswordComplexityReadTask task(nullptr);
    QCOMPARE(task.result().description(), QStringLiteral("[Read default password complexity policy]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "Read default password complexity policy"}}));
}

void LocalPolicyPasswordComplexityReadTaskTest::handlerStoresFlagsAtOnce()
{
    QVariantMap map{{gecoscheck, 5}, {minlen, 3}};
    LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler handler(&map);
    QCOMPARE(typedEntries(map), typedEntries(values({{minlen, 3}})));
    QVERIFY(!handler.found());
}

void LocalPolicyPasswordComplexityReadTaskTest::handlerSearchesForModules()
{
    QVariantMap map;
    LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler handler(&map);
    QCOMPARE(handler.regExp().pattern(), QStringLiteral(R"((?:.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QVERIFY(!handler.regExp().isMinimal());
    QVERIFY(handler.matches("password pam_cracklib.so minlen=4"));
    QVERIFY(handler.handleLine(nullptr));
    QVERIFY(handler.found());
    QCOMPARE(typedEntries(map), typedEntries(values({{minlen, 4}})));
}

void LocalPolicyPasswordComplexityReadTaskTest::readsOptions_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char *name, const QByteArray &content, const QVariantMap &others) {
        QTest::newRow(name) << content << values(others);
    };

    row("no options of pam_pwquality", "password requisite pam_pwquality.so", {});
    row("no options of pam_cracklib", "password requisite pam_cracklib.so\n", {});
    row("usual line",
        "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root\n",
        {{minlen, 9}, {dcredit, -1}, {enforceForRoot, true}});
    row("every option",
        "password requisite pam_pwquality.so ocredit=1 dcredit=2 ucredit=3 lcredit=4 minlen=5 reject_username "
        "gecoscheck enforce_for_root\n",
        {{enforceForRoot, true},
         {gecoscheck, true},
         {rejectUsername, true},
         {minlen, 5},
         {lcredit, 4},
         {ucredit, 3},
         {dcredit, 2},
         {ocredit, 1}});
    row("enforce_for_root", "password pam_pwquality.so enforce_for_root\n", {{enforceForRoot, true}});
    row("gecoscheck", "password pam_pwquality.so gecoscheck\n", {{gecoscheck, true}});
    row("reject_username", "password pam_pwquality.so reject_username\n", {{rejectUsername, true}});
    row("flag with a number", "password pam_pwquality.so reject_username=0\n", {{rejectUsername, true}});
    row("flag with a number and no equals sign", "password pam_pwquality.so gecoscheck0\n", {{gecoscheck, true}});
    row("minlen", "password pam_pwquality.so minlen=8\n", {{minlen, 8}});
    row("lcredit", "password pam_pwquality.so lcredit=-2\n", {{lcredit, -2}});
    row("ucredit", "password pam_pwquality.so ucredit=-3\n", {{ucredit, -3}});
    row("dcredit", "password pam_pwquality.so dcredit=-4\n", {{dcredit, -4}});
    row("ocredit", "password pam_pwquality.so ocredit=-5\n", {{ocredit, -5}});
    row("negative length", "password pam_pwquality.so minlen=-8\n", {{minlen, -8}});
    row("name without value", "password pam_pwquality.so minlen\n", {{minlen, 0}});
    row("name with empty value", "password pam_pwquality.so minlen=\n", {{minlen, 0}});
    row("minus alone", "password pam_pwquality.so lcredit=-\n", {{lcredit, 0}});
    row("two minus signs", "password pam_pwquality.so lcredit=--1\n", {{lcredit, 0}});
    row("plus", "password pam_pwquality.so ucredit=+1\n", {{ucredit, 0}});
    row("number that is none", "password pam_pwquality.so minlen=abc\n", {{minlen, 0}});
    row("two equals signs", "password pam_pwquality.so minlen==8\n", {{minlen, 0}});
    row("number without equals sign", "password pam_pwquality.so minlen8 lcredit-1\n", {{minlen, 8}, {lcredit, -1}});
    row("number with letters behind", "password pam_pwquality.so minlen=8x\n", {{minlen, 8}});
    row("greatest and least int",
        "password pam_pwquality.so minlen=2147483647 lcredit=-2147483648\n",
        {{minlen, 2147483647}, {lcredit, -2147483647 - 1}});
    row("numbers that do not fit an int",
        "password pam_pwquality.so minlen=2147483648 lcredit=-2147483649 ucredit=99999999999999999999\n",
        {{minlen, 0}, {lcredit, 0}, {ucredit, 0}});
    row("longer name", "password pam_pwquality.so minlength=3\n", {{minlen, 0}});
    row("name inside a longer one", "password pam_pwquality.so xminlen=4\n", {{minlen, 4}});
    row("value without name", "password pam_pwquality.so =5 == =\n", {});
    row("leftmost name counts", "password pam_pwquality.so minlen=4,gecoscheck\n", {{minlen, 4}});
    row("names in capitals", "password pam_pwquality.so MINLEN=4 GecosCheck\n", {});
    row("options of others", "password pam_pwquality.so retry=3 difok=3 use_authtok minclass=2\n", {});
    row("options before the module", "minlen=3 gecoscheck pam_pwquality.so\n", {});
    row("tabs and runs of blanks",
        "\tpassword\trequisite\t\t\tpam_pwquality.so \t minlen=8\t\tgecoscheck  \n",
        {{minlen, 8}, {gecoscheck, true}});
    row("later option wins", "password pam_pwquality.so minlen=8 minlen=6\n", {{minlen, 6}});
    row("later line wins", "password pam_pwquality.so minlen=8\npassword pam_pwquality.so minlen=12\n", {{minlen, 12}});
    row("lines of both modules merge",
        "password pam_pwquality.so minlen=8 gecoscheck lcredit=1\npassword pam_cracklib.so minlen=6 reject_username\n",
        {{minlen, 6}, {lcredit, 1}, {gecoscheck, true}, {rejectUsername, true}});
    row("lines of both modules merge the other way round",
        "password pam_cracklib.so minlen=6\npassword pam_pwquality.so minlen=8\n",
        {{minlen, 8}});
    row("comment behind the options", "password pam_pwquality.so minlen=8 # minlen=9 gecoscheck\n", {{minlen, 8}});
    row("commented-out line beside another", "#password pam_pwquality.so minlen=8\npassword pam_cracklib.so\n", {});
    row("carriage returns", "password pam_unix.so\r\npassword pam_pwquality.so minlen=8\r\n", {{minlen, 8}});
    row("NUL byte ends a line's text",
        QByteArray("password pam_pwquality.so minlen=8\0 minlen=9\npassword pam_pwquality.so gecoscheck\n", 82),
        {{minlen, 8}, {gecoscheck, true}});
    row("invalid text", "# \xff\n\xfe password pam_pwquality.so \xc3 minlen=8\n", {{minlen, 8}});
    row("two modules on one line: options behind the first",
        "pam_cracklib.so minlen=1 pam_pwquality.so lcredit=2\n",
        {{minlen, 1}, {lcredit, 2}});
    row("letters that touch the module", "password pam_pwquality.sox minlen=8\n", {});
    row("module in a path", "password /lib/security/pam_pwquality.so minlen=8\n", {{minlen, 8}});
    row("line of a megabyte",
        "password pam_pwquality.so" + QByteArray(" retry=3").repeated(130000) + " minlen=8\n",
        {{minlen, 8}});
    row("other line of a megabyte", QByteArray(1 << 20, 'x') + "\npassword pam_pwquality.so minlen=8\n", {{minlen, 8}});
    row("a megabyte of blanks", "password pam_pwquality.so" + QByteArray(1 << 20, ' ') + "minlen=8\n", {{minlen, 8}});
    row("ten thousand lines",
        QByteArray("password pam_cracklib.so minlen=8\n").repeated(9999) + "password pam_pwquality.so minlen=4\n",
        {{minlen, 4}});
}

void LocalPolicyPasswordComplexityReadTaskTest::readsOptions()
{
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, expected);
    const PamSystem system;
    writeContent(commonPassword(), content);
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), expected));
}

void LocalPolicyPasswordComplexityReadTaskTest::failsWithoutModule_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("blank lines") << QByteArray(" \n\t\n\n");
    QTest::newRow("other modules") << QByteArray("password pam_unix.so minlen=8 gecoscheck\n");
    QTest::newRow("modules of similar names") << QByteArray("pam_cracklib2.so minlen=8\npam_pwqualityx.so minlen=8\n");
    QTest::newRow("modules without their ending") << QByteArray("pam_cracklib minlen=8\npam_pwquality minlen=8\n");
    QTest::newRow("any character for the dot") << QByteArray("pam_cracklib_so minlen=8\npam_pwquality_so minlen=8\n");
    QTest::newRow("modules in capitals") << QByteArray("PAM_CRACKLIB.SO\nPam_pwquality.so\n");
    QTest::newRow("commented-out line") << QByteArray("# password requisite pam_cracklib.so minlen=9\n");
    QTest::newRow("module in a comment") << QByteArray("password pam_unix.so # pam_pwquality.so minlen=9\n");
    QTest::newRow("module behind a NUL byte") << QByteArray("password\0pam_pwquality.so\n", 26);
    QTest::newRow("module of the other policy") << QByteArray("auth pam_tally.so minlen=9\n");
}

void LocalPolicyPasswordComplexityReadTaskTest::failsWithoutModule()
{
    QFETCH(QByteArray, content);
    const PamSystem system;
    writeContent(commonPassword(), content);
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Failed, noModule, values()));
}

void LocalPolicyPasswordComplexityReadTaskTest::translatesMissingModule()
{
    const PamSystem system;
    writeContent(commonPassword(), "password pam_unix.so\n");
    LocalPolicyPasswordComplexityReadTask task(nullptr);
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task),
             expectedOutcome(TaskState::Failed, QLatin1Char('[') + noModule + QLatin1Char(']'), values()));
    QCOMPARE(translator.texts(),
             QList<TranslatedText>({{taskContext, "\"%1\" not contain \"pam_cracklib or pam_pwquality\""}}));
}

void LocalPolicyPasswordComplexityReadTaskTest::failsWithoutFile()
{
    const PamSystem system;
    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed, QStringLiteral("\"/etc/pam.d/common-password\" not exists"), values()));
}

void LocalPolicyPasswordComplexityReadTaskTest::failsOnFolder()
{
    const PamSystem system;
    QVERIFY(QDir().mkdir(commonPassword()));
    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed,
                             QStringLiteral("\"/etc/pam.d/common-password\" error 5\nfile to open is a directory"),
                             values()));
}

void LocalPolicyPasswordComplexityReadTaskTest::translatesFileErrorsAsEngineDoes()
{
    const PamSystem system;
    LocalPolicyPasswordComplexityReadTask task(nullptr);
    const RecordingTranslator translator;
    QCOMPARE(
        outcomeOfRun(&task),
        expectedOutcome(TaskState::Failed, QStringLiteral("[\"/etc/pam.d/common-password\" not exists]"), values()));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"QObject", "\"%1\" not exists"}}));
}

void LocalPolicyPasswordComplexityReadTaskTest::overwritesOnlyWhatItReads()
{
    const PamSystem system;
    writeContent(commonPassword(), "password pam_pwquality.so minlen=8\n");
    LocalPolicyPasswordComplexityReadTask task(nullptr);
    task.setValues(new QVariantMap{
        {gecoscheck, true}, {minlen, QStringLiteral("many")}, {lcredit, 9}, {QStringLiteral("other"), 1.5}});
    QCOMPARE(outcomeOfRun(&task),
             expectedOutcome(
                 TaskState::Succeeded, QString(), values({{minlen, 8}, {lcredit, 9}, {QStringLiteral("other"), 1.5}})));
}

void LocalPolicyPasswordComplexityReadTaskTest::readsNoOtherFile()
{
    const PamSystem system;
    writeContent(PamSystem::profile(QStringLiteral("pwquality")), "\tpam_pwquality.so minlen=9\n");
    writeContent(PamSystem::profile(QStringLiteral("cracklib")), "\tpam_cracklib.so minlen=9\n");
    writeContent(PamSystem::stack(QStringLiteral("common-auth")), "auth pam_pwquality.so minlen=9\n");
    writeContent(commonPassword(), "password pam_pwquality.so gecoscheck\n@include common-auth\n");
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), values({{gecoscheck, true}})));
}

void LocalPolicyPasswordComplexityReadTaskTest::changesNoFile()
{
    const PamSystem system;
    const QByteArray content("password pam_pwquality.so minlen=8 minlen=8\n");
    writeContent(commonPassword(), content);
    makeOld(commonPassword());
    const qint64 before = identityOf(commonPassword()).modified;

    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), values({{minlen, 8}})));

    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("common-password"), content}}));
    QCOMPARE(identityOf(commonPassword()).modified, before);
    QCOMPARE(system.profiles(), FolderContent());
    QCOMPARE(system.toolCalls(), QByteArray());
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordComplexityReadTaskTest)
#include "LocalPolicyPasswordComplexityReadTaskTest.moc"
