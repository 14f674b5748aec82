// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

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
constexpr char taskContext[] = "LocalPolicyLockoutReadTask";

QString commonAuth()
{
    return PamSystem::stack(QStringLiteral("common-auth"));
}

QVariantMap flags(bool perUser, bool magicRoot, bool noReset)
{
    return {{QStringLiteral("per_user"), perUser},
            {QStringLiteral("magic_root"), magicRoot},
            {QStringLiteral("no_reset"), noReset}};
}

/// The three flags as false, and these numbers.
QVariantMap numbers(const QVariantMap &numbers)
{
    QVariantMap values = flags(false, false, false);
    values.insert(numbers);
    return values;
}

QVariantMap deny(int value)
{
    return numbers({{QStringLiteral("deny"), value}});
}

QStringList outcomeOfReading()
{
    LocalPolicyLockoutReadTask task(nullptr);
    return outcomeOfRun(&task);
}

const QString noModule = QStringLiteral("\"/usr/share/pam-configs/tally\" not contain \"pam_tally\"");
}

class LocalPolicyLockoutReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void startsEmpty();
    void translatesDescription();
    void cancelsNothing();
    void handlerStoresFlagsAtOnce();
    void handlerSearchesForModule();
    void readsOptions_data();
    void readsOptions();
    void succeedsWithoutModule_data();
    void succeedsWithoutModule();
    void translatesMissingModule();
    void failsWithoutFile();
    void failsOnFolder();
    void translatesFileErrorsAsEngineDoes();
    void overwritesOnlyWhatItReads();
    void readsThroughSymbolicLink();
    void readsNoOtherFile();
    void changesNoFile();
};

void LocalPolicyLockoutReadTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<ReadPropertyHeavyTask, LocalPolicyLockoutReadTask>);
}

void LocalPolicyLockoutReadTaskTest::startsEmpty()
{
    int context = 0;
    LocalPolicyLockoutReadTask task(&context);
    QCOMPARE(task.context(), &context);
    QVERIFY(task.values());
    QCOMPARE(*task.values(), QVariantMap());
    QCOMPARE(task.result().state(), TaskState::NotStarted);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Read default lockout account policy"));
    QCOMPARE(task.flags(), quint64(0));
    QVERIFY(!task.isCancelRequested());
}

void LocalPolicyLockoutReadTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyLockoutReadTask task(nullptr);
    QCOMPARE(task.result().description(), QStringLiteral("[Read default lockout account policy]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "Read default lockout account policy"}}));
}

void LocalPolicyLockoutReadTaskTest::cancelsNothing()
{
    const PamSystem system;
    writeContent(commonAuth(), "auth required pam_tally.so deny=3\n");
    LocalPolicyLockoutReadTask task(nullptr);
    task.cancel();
    QVERIFY(!task.requestCancel());
    QCOMPARE(outcomeOfRun(&task), expectedOutcome(TaskState::Succeeded, QString(), deny(3)));
    QCOMPARE(task.result().description(), QStringLiteral("Read default lockout account policy"));
}

void LocalPolicyLockoutReadTaskTest::handlerStoresFlagsAtOnce()
{
    QVariantMap values{{QStringLiteral("per_user"), 5}, {QStringLiteral("deny"), 3}};
    LocalPolicyLockoutReadTask::LoginReaderRegExpHandler handler(&values);
    QCOMPARE(typedEntries(values), typedEntries(deny(3)));
    QVERIFY(!handler.found());
}

void LocalPolicyLockoutReadTaskTest::handlerSearchesForModule()
{
    QVariantMap values;
    LocalPolicyLockoutReadTask::LoginReaderRegExpHandler handler(&values);
    QCOMPARE(handler.regExp().pattern(), QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QVERIFY(!handler.regExp().isMinimal());
    QVERIFY(handler.matches("auth pam_tally.so deny=4"));
    QVERIFY(handler.handleLine(nullptr));
    QVERIFY(handler.found());
    QCOMPARE(typedEntries(values), typedEntries(deny(4)));
}

void LocalPolicyLockoutReadTaskTest::readsOptions_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QVariantMap>("values");

    const auto row = [](const char *name, const QByteArray &content, const QVariantMap &values) {
        QTest::newRow(name) << content << values;
    };
    const QString denyKey = QStringLiteral("deny");
    const QString lockTime = QStringLiteral("lock_time");
    const QString unlockTime = QStringLiteral("unlock_time");
    const QVariantMap none = flags(false, false, false);

    row("no options", "auth required pam_tally.so\n", none);
    row("usual line",
        "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail\n",
        {{QStringLiteral("per_user"), true},
         {QStringLiteral("magic_root"), false},
         {QStringLiteral("no_reset"), false},
         {denyKey, 3},
         {unlockTime, 600}});
    row("every option",
        "auth required pam_tally.so no_reset unlock_time=1 magic_root lock_time=2 per_user deny=3\n",
        {{QStringLiteral("per_user"), true},
         {QStringLiteral("magic_root"), true},
         {QStringLiteral("no_reset"), true},
         {denyKey, 3},
         {lockTime, 2},
         {unlockTime, 1}});
    row("per_user", "auth required pam_tally.so per_user\n", flags(true, false, false));
    row("magic_root", "auth required pam_tally.so magic_root\n", flags(false, true, false));
    row("no_reset", "auth required pam_tally.so no_reset\n", flags(false, false, true));
    row("flag with a value", "auth required pam_tally.so no_reset=0\n", flags(false, false, true));
    row("deny", "auth required pam_tally.so deny=3\n", deny(3));
    row("lock_time", "auth required pam_tally.so lock_time=5\n", numbers({{lockTime, 5}}));
    row("unlock_time alone", "auth required pam_tally.so unlock_time=600\n", numbers({{unlockTime, 600}}));
    row("number without equals sign", "auth required pam_tally.so deny5\n", deny(5));
    row("number without value", "auth required pam_tally.so deny=\n", deny(0));
    row("name without value", "auth required pam_tally.so lock_time\n", numbers({{lockTime, 0}}));
    row("number that is none", "auth required pam_tally.so deny=abc\n", deny(0));
    row("negative number", "auth required pam_tally.so deny=-3\n", deny(0));
    row("number with letters behind", "auth required pam_tally.so deny=3x\n", deny(3));
    row("number with zeros in front", "auth required pam_tally.so deny=007\n", deny(7));
    row("greatest int", "auth required pam_tally.so unlock_time=2147483647\n", numbers({{unlockTime, 2147483647}}));
    row("number too large for an int",
        "auth required pam_tally.so unlock_time=2147483648\n",
        numbers({{unlockTime, 0}}));
    row("two equals signs", "auth required pam_tally.so deny==5\n", deny(0));
    row("value without name", "auth required pam_tally.so =5 == =\n", none);
    row("name inside an option", "auth required pam_tally.so even_deny_root_account\n", deny(0));
    row("name inside an option, later", "auth required pam_tally.so deny=3 even_deny_root_account\n", deny(0));
    row("name inside an option, earlier", "auth required pam_tally.so even_deny_root_account deny=3\n", deny(3));
    row("number at the end of a longer name", "auth required pam_tally.so xdeny=4\n", deny(4));
    row("longer name", "auth required pam_tally.so deny_limit=4\n", deny(0));
    row("leftmost name counts", "auth required pam_tally.so deny=4,per_user\n", deny(4));
    row("names in capitals", "auth required pam_tally.so DENY=4 Per_User\n", none);
    row("options of others", "auth required pam_tally.so onerr=fail file=/var/log/faillog\n", none);
    row("options before the module", "deny=3 per_user pam_tally.so\n", none);
    row("tabs and runs of blanks",
        "\tauth\t\tpam_tally.so \t deny=3\t\tper_user  \n",
        {{QStringLiteral("per_user"), true},
         {QStringLiteral("magic_root"), false},
         {QStringLiteral("no_reset"), false},
         {denyKey, 3}});
    row("later option wins", "auth required pam_tally.so deny=3 deny=8\n", deny(8));
    row("later line wins",
        "auth required pam_tally.so deny=3 lock_time=1 per_user\nauth required pam_tally.so deny=8 no_reset\n",
        {{QStringLiteral("per_user"), true},
         {QStringLiteral("magic_root"), false},
         {QStringLiteral("no_reset"), true},
         {denyKey, 8},
         {lockTime, 1}});
    row("comment behind the options", "auth required pam_tally.so deny=5 # deny=9 per_user\n", deny(5));
    row("comment that touches an option", "auth required pam_tally.so deny=5#6\n", deny(5));
    row("commented-out line beside another", "#auth required pam_tally.so deny=5\nauth required pam_tally.so\n", none);
    row("no line end at the end", "# stack\nauth required pam_tally.so deny=3", deny(3));
    row("carriage returns", "auth required pam_unix.so\r\nauth required pam_tally.so deny=3\r\n", deny(3));
    row("NUL byte ends a line's text",
        QByteArray("auth required pam_tally.so deny=3\0 deny=8\nauth required pam_tally.so lock_time=1\n", 81),
        numbers({{denyKey, 3}, {lockTime, 1}}));
    row("NUL byte before the module", QByteArray("a\0 pam_tally.so deny=3\nauth pam_tally.so\n", 41), none);
    row("invalid text", "# \xff\n\xfe auth pam_tally.so \xc3 deny=3\n", deny(3));
    row("module twice: options behind the first",
        "auth pam_tally.so deny=1 pam_tally.so lock_time=2\n",
        numbers({{denyKey, 1}, {lockTime, 2}}));
    row("letters that touch the module", "auth pam_tally.sox deny=1\n", none);
    row("module in a path", "auth required /lib/security/pam_tally.so deny=3\n", deny(3));
    row("module behind letters", "auth required xpam_tally.so deny=3\n", deny(3));
    row("control field in brackets", "auth [success=1 default=ignore] pam_tally.so deny=3\n", deny(3));
    row("line of a megabyte", "auth pam_tally.so" + QByteArray(" onerr=fail").repeated(100000) + " deny=3\n", deny(3));
    row("other line of a megabyte", QByteArray(1 << 20, 'x') + "\nauth pam_tally.so deny=3\n", deny(3));
    row("a megabyte of blanks", "auth pam_tally.so" + QByteArray(1 << 20, ' ') + "deny=3\n", deny(3));
    row("ten thousand lines",
        QByteArray("auth pam_tally.so deny=3\n").repeated(9999) + "auth pam_tally.so deny=4\n",
        deny(4));
}

void LocalPolicyLockoutReadTaskTest::readsOptions()
{
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, values);
    const PamSystem system;
    writeContent(commonAuth(), content);
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), values));
}

void LocalPolicyLockoutReadTaskTest::succeedsWithoutModule_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("blank lines") << QByteArray(" \n\t\n\n");
    QTest::newRow("other modules") << QByteArray("auth required pam_unix.so deny=3 per_user\n");
    QTest::newRow("module of a similar name") << QByteArray("auth required pam_tally2.so deny=3\n");
    QTest::newRow("module without its ending") << QByteArray("auth required pam_tally deny=3\n");
    QTest::newRow("any character for the dot") << QByteArray("auth required pam_tally_so deny=3\n");
    QTest::newRow("module in capitals") << QByteArray("auth required PAM_TALLY.SO deny=3\n");
    QTest::newRow("commented-out line") << QByteArray("#auth required pam_tally.so deny=5\n");
    QTest::newRow("indented comment") << QByteArray("  # auth required pam_tally.so deny=5\n");
    QTest::newRow("module in a comment") << QByteArray("auth required pam_unix.so # pam_tally.so deny=5\n");
    QTest::newRow("module behind a NUL byte") << QByteArray("auth\0pam_tally.so deny=5\n", 25);
}

void LocalPolicyLockoutReadTaskTest::succeedsWithoutModule()
{
    QFETCH(QByteArray, content);
    const PamSystem system;
    writeContent(commonAuth(), content);
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, noModule, flags(false, false, false)));
}

void LocalPolicyLockoutReadTaskTest::translatesMissingModule()
{
    const PamSystem system;
    writeContent(commonAuth(), "auth required pam_unix.so\n");
    LocalPolicyLockoutReadTask task(nullptr);
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task),
             expectedOutcome(
                 TaskState::Succeeded, QLatin1Char('[') + noModule + QLatin1Char(']'), flags(false, false, false)));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "\"%1\" not contain \"pam_tally\""}}));
}

void LocalPolicyLockoutReadTaskTest::failsWithoutFile()
{
    const PamSystem system;
    // what other files of the folder say doesn't count
    writeContent(PamSystem::profile(QStringLiteral("tally")), "\trequired pam_tally.so deny=3\n");
    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed,
                             QStringLiteral("\"/etc/pam.d/common-auth\" not exists"),
                             flags(false, false, false)));
}

void LocalPolicyLockoutReadTaskTest::failsOnFolder()
{
    const PamSystem system;
    QVERIFY(QDir().mkdir(commonAuth()));
    QCOMPARE(outcomeOfReading(),
             expectedOutcome(TaskState::Failed,
                             QStringLiteral("\"/etc/pam.d/common-auth\" error 5\nfile to open is a directory"),
                             flags(false, false, false)));
}

void LocalPolicyLockoutReadTaskTest::translatesFileErrorsAsEngineDoes()
{
    const PamSystem system;
    LocalPolicyLockoutReadTask task(nullptr);
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task),
             expectedOutcome(TaskState::Failed,
                             QStringLiteral("[\"/etc/pam.d/common-auth\" not exists]"),
                             flags(false, false, false)));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"QObject", "\"%1\" not exists"}}));
}

void LocalPolicyLockoutReadTaskTest::overwritesOnlyWhatItReads()
{
    const PamSystem system;
    writeContent(commonAuth(), "auth required pam_tally.so deny=3\n");
    LocalPolicyLockoutReadTask task(nullptr);
    task.setValues(new QVariantMap{{QStringLiteral("per_user"), true},
                                   {QStringLiteral("deny"), QStringLiteral("many")},
                                   {QStringLiteral("lock_time"), 9},
                                   {QStringLiteral("other"), 1.5}});
    QCOMPARE(
        outcomeOfRun(&task),
        expectedOutcome(
            TaskState::Succeeded,
            QString(),
            numbers({{QStringLiteral("deny"), 3}, {QStringLiteral("lock_time"), 9}, {QStringLiteral("other"), 1.5}})));
}

void LocalPolicyLockoutReadTaskTest::readsThroughSymbolicLink()
{
    const PamSystem system;
    const QString real = QStringLiteral("/run/tmp/common-auth");
    writeContent(real, "auth required pam_tally.so deny=3\n");
    QVERIFY(QFile::link(real, commonAuth()));
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), deny(3)));
}

void LocalPolicyLockoutReadTaskTest::readsNoOtherFile()
{
    const PamSystem system;
    writeContent(PamSystem::profile(QStringLiteral("tally")), "\trequired pam_tally.so deny=8\n");
    writeContent(PamSystem::stack(QStringLiteral("common-password")), "auth required pam_tally.so deny=9\n");
    writeContent(commonAuth(), "auth required pam_tally.so per_user\n@include common-password\n");
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), flags(true, false, false)));
}

void LocalPolicyLockoutReadTaskTest::changesNoFile()
{
    const PamSystem system;
    const QByteArray content("auth required pam_tally.so deny=3 deny=3\n");
    writeContent(commonAuth(), content);
    makeOld(commonAuth());
    const qint64 before = identityOf(commonAuth()).modified;

    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), deny(3)));

    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("common-auth"), content}}));
    QCOMPARE(identityOf(commonAuth()).modified, before);
    QCOMPARE(system.profiles(), FolderContent());
    QCOMPARE(system.toolCalls(), QByteArray());
}

QTEST_GUILESS_MAIN(LocalPolicyLockoutReadTaskTest)
#include "LocalPolicyLockoutReadTaskTest.moc"
