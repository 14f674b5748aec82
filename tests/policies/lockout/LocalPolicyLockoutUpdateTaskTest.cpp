// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "tests/policies/pam/PamCases.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace
{
constexpr char taskContext[] = "LocalPolicyLockoutUpdateTask";

const QString perUser = QStringLiteral("per_user");
const QString magicRoot = QStringLiteral("magic_root");
const QString noReset = QStringLiteral("no_reset");
const QString deny = QStringLiteral("deny");
const QString lockTime = QStringLiteral("lock_time");
const QString unlockTime = QStringLiteral("unlock_time");

const QByteArray head("Name: Lock accounts\nDefault: yes\nPriority: 1024\nAuth-Type: Primary\nAuth:\n");
const QByteArray oldProfile = head + "\trequired pam_tally.so deny=3 onerr=fail\n";
const QByteArray newProfile = head + "required pam_tally.so onerr=fail deny=5\n";
const QByteArray oldStack("auth required pam_tally.so deny=3 onerr=fail\nauth required pam_unix.so\n");
const QByteArray newStack("auth required pam_tally.so  onerr=fail deny=5\nauth required pam_unix.so\n");

QString tally()
{
    return PamSystem::profile(QStringLiteral("tally"));
}

QString temporary()
{
    return PamSystem::profile(QStringLiteral("tally.tmp"));
}

QString commonAuth()
{
    return PamSystem::stack(QStringLiteral("common-auth"));
}

QVariantMap denyFive()
{
    return {{deny, 5}};
}

QStringList outcomeOfUpdate(const QVariantMap &arguments)
{
    LocalPolicyLockoutUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList success(const QVariantMap &arguments, const QString &notice = QString())
{
    return expectedOutcome(TaskState::Succeeded, notice, arguments);
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, denyFive());
}

void writeProfileAndStack(const QByteArray &profile = oldProfile)
{
    writeContent(tally(), profile);
    writeContent(commonAuth(), oldStack);
}

FolderContent tallyOf(const QByteArray &content)
{
    return {{QStringLiteral("tally"), content}};
}

FolderContent tallyAndTemporaryOf(const QByteArray &content, const QByteArray &temporaryContent)
{
    return {{QStringLiteral("tally"), content}, {QStringLiteral("tally.tmp"), temporaryContent}};
}

FolderContent stackOf(const QByteArray &content)
{
    return {{QStringLiteral("common-auth"), content}};
}

/// Makes the real tool accept profiles of modules that Debian has retired.
void acceptRetiredModules()
{
    QByteArray script = contentOf(PamSystem::tool());
    script.replace("@invalid_modules = ('pam_tally')", "@invalid_modules = ()");
    writeProgram(PamSystem::tool(), script);
}

QList<QByteArray> linesWith(const QByteArray &text, const QByteArray &content)
{
    QList<QByteArray> lines;
    for (const QByteArray &line : content.split('\n')) {
        if (line.contains(text)) {
            lines += line;
        }
    }
    return lines;
}
}

class LocalPolicyLockoutUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void startsWithItsArguments();
    void translatesDescription();
    void handlerRebuildsLines();
    void handlerIgnoresNullLine();
    void rebuildsProfileLine_data();
    void rebuildsProfileLine();
    void writesArgumentsOfEveryType_data();
    void writesArgumentsOfEveryType();
    void writesEachArgumentAlone_data();
    void writesEachArgumentAlone();
    void keepsRestOfProfile_data();
    void keepsRestOfProfile();
    void keepsInodeModeAndOwnerOfProfile();
    void acceptsWhatWasRead();
    void runsWithoutArguments();

    void failsWithoutProfile();
    void failsWithoutModule_data();
    void failsWithoutModule();
    void failsOnFolder();
    void failsIfTemporaryFileCannotBeMade();
    void failsIfTemporaryFileIsFolder();
    void failsOnReadOnlyProfile();
    void failsOnFullDisk();
    void losesWhatDoesNotFitOnDisk();
    void replacesLeftoverTemporaryFile();
    void reportsTemporaryFileThatStays();

    void failsIfToolFails_data();
    void failsIfToolFails();
    void stopsHangingTool();
    void keepsNoticesOfTool_data();
    void keepsNoticesOfTool();

    void correctsStack_data();
    void correctsStack();
    void correctsStackThatToolMade();
    void leavesRightStackAlone();
    void keepsInodeModeAndOwnerOfStack();
    void ignoresMissingStack();
    void ignoresFolderAsStack();
    void ignoresReadOnlyStack();
    void ignoresFullDiskOfStack();

    void translatesMissingModule();
    void translatesToolFaults_data();
    void translatesToolFaults();

    void realToolLeavesRetiredModuleOut();
    void realToolPutsLineIntoStack();
};

void LocalPolicyLockoutUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<UpdateTask, LocalPolicyLockoutUpdateTask>);
    // for the messages of cp, where it is found, and so that the real tool has nobody to ask
    qputenv("LC_ALL", "C");
    qputenv("PATH", "/usr/sbin:/usr/bin");
    qputenv("DEBIAN_FRONTEND", "noninteractive");
}

void LocalPolicyLockoutUpdateTaskTest::startsWithItsArguments()
{
    int context = 0;
    auto *arguments = new QVariantMap(denyFive());
    LocalPolicyLockoutUpdateTask task(&context, arguments);
    QCOMPARE(task.context(), &context);
    QCOMPARE(task.values(), arguments);
    QCOMPARE(typedEntries(*task.values()), typedEntries(denyFive()));
    QCOMPARE(task.result().state(), TaskState::NotStarted);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Update default lockout account policy"));
    QCOMPARE(task.flags(), quint64(0));
    task.cancel();
    QVERIFY(!task.isCancelRequested());
}

void LocalPolicyLockoutUpdateTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyLockoutUpdateTask task(nullptr, new QVariantMap);
    QCOMPARE(task.result().description(), QStringLiteral("[Update default lockout account policy]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "Update default lockout account policy"}}));
}

void LocalPolicyLockoutUpdateTaskTest::handlerRebuildsLines()
{
    const QVariantMap arguments = denyFive();
    LocalPolicyLockoutUpdateTask::LoginRewriterRegExpHandler handler(&arguments);
    QCOMPARE(handler.regExp().pattern(), QStringLiteral(R"((\s*.*pam_tally\.so)((?:\s+\S+)*))"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QVERIFY(!handler.regExp().isMinimal());
    QVERIFY(!handler.found());

    QByteArray line("\tauth pam_tally.so a deny=3 # b\r\n");
    QVERIFY(handler.matches("\tauth pam_tally.so a deny=3 "));
    QVERIFY(handler.handleLine(&line));

    QCOMPARE(line, QByteArray("auth pam_tally.so a deny=5"));
    QVERIFY(handler.found());
    QByteArray tail;
    QVERIFY(!handler.appendLines(&tail));
    QCOMPARE(tail, QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::handlerIgnoresNullLine()
{
    const QVariantMap arguments = denyFive();
    LocalPolicyLockoutUpdateTask::LoginRewriterRegExpHandler handler(&arguments);
    QVERIFY(handler.matches("auth pam_tally.so deny=3"));
    QVERIFY(!handler.handleLine(nullptr));
    QVERIFY(!handler.found());
}

void LocalPolicyLockoutUpdateTaskTest::rebuildsProfileLine_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const QVariantMap &arguments, const char *line, const char *expected) {
        QTest::newRow(name) << arguments << QByteArray(line) << QByteArray(expected);
    };
    const QVariantMap all{
        {deny, 5}, {lockTime, 10}, {unlockTime, 900}, {perUser, true}, {magicRoot, true}, {noReset, true}};
    const QVariantMap none;

    row("some options",
        {{deny, 5}, {unlockTime, 900}, {perUser, true}},
        "auth required pam_tally.so deny=3 onerr=fail lock_time=10",
        "auth required pam_tally.so onerr=fail per_user deny=5 unlock_time=900");
    row("flags that are not asked for go",
        {{deny, 3}},
        "auth required pam_tally.so per_user deny=10 onerr=fail",
        "auth required pam_tally.so onerr=fail deny=3");
    row("every option in fixed order",
        all,
        "auth required pam_tally.so",
        "auth required pam_tally.so per_user magic_root no_reset deny=5 lock_time=10 unlock_time=900");
    row("every option replaced",
        all,
        "auth required pam_tally.so unlock_time=1 no_reset a lock_time=2 magic_root b deny=3 per_user",
        "auth required pam_tally.so a b per_user magic_root no_reset deny=5 lock_time=10 unlock_time=900");
    row("every option removed",
        none,
        "auth required pam_tally.so unlock_time=1 no_reset a lock_time=2 magic_root b deny=3 per_user",
        "auth required pam_tally.so a b");
    row("flags that are false",
        {{perUser, false}, {magicRoot, false}, {noReset, false}},
        "auth required pam_tally.so per_user magic_root no_reset",
        "auth required pam_tally.so");
    row("zero is written", {{deny, 0}}, "pam_tally.so deny=3", "pam_tally.so deny=0");
    row("negative numbers",
        {{deny, -1}, {lockTime, -2}, {unlockTime, -2147483647 - 1}},
        "pam_tally.so",
        "pam_tally.so deny=-1 lock_time=-2 unlock_time=-2147483648");
    row("unknown arguments",
        {{QStringLiteral("onerr"), QStringLiteral("succeed")},
         {QStringLiteral("Deny"), 7},
         {QStringLiteral("even_deny_root_account"), true},
         {QString(), 1}},
        "pam_tally.so onerr=fail",
        "pam_tally.so onerr=fail");
    row("name without value", none, "pam_tally.so deny lock_time= unlock_time=x", "pam_tally.so");
    row("flags with values", none, "pam_tally.so per_user=1 magic_root= no_reset=x", "pam_tally.so");
    row("number without equals sign stays", {{deny, 5}}, "pam_tally.so deny3", "pam_tally.so deny3 deny=5");
    row("names inside longer ones stay",
        {{deny, 5}},
        "pam_tally.so even_deny_root_account xdeny=4 deny_limit=3 per_users",
        "pam_tally.so even_deny_root_account xdeny=4 deny_limit=3 per_users deny=5");
    row("values without name stay", {{deny, 5}}, "pam_tally.so =5 = ==", "pam_tally.so =5 = == deny=5");
    row("equals sign before a name", none, "pam_tally.so =deny ==lock_time=3", "pam_tally.so");
    row("names in capitals stay", none, "pam_tally.so DENY=3 Per_User", "pam_tally.so DENY=3 Per_User");
    row("indentation goes", {{deny, 5}}, "\t  required\t\tpam_tally.so\ta  b\t", "required\t\tpam_tally.so a b deny=5");
    row("carriage return goes", {{deny, 5}}, "required pam_tally.so deny=3\r", "required pam_tally.so deny=5");
    row("comment stays behind one tab",
        {{deny, 5}},
        "required pam_tally.so deny=3   # deny=4  per_user  ",
        "required pam_tally.so deny=5\t# deny=4  per_user");
    row("comment that touches an option",
        {{deny, 5}},
        "required pam_tally.so deny=3#4",
        "required pam_tally.so deny=5\t#4");
    row("comment with carriage return",
        {{deny, 5}},
        "required pam_tally.so # a # b\r",
        "required pam_tally.so deny=5\t# a # b");
    row("comment of invalid text",
        {{deny, 5}},
        "required pam_tally.so # \xff\xc3",
        "required pam_tally.so deny=5\t# \xff\xc3");
    row("empty comment", {{deny, 5}}, "required pam_tally.so #", "required pam_tally.so deny=5\t#");
    row("invalid text among the options is replaced",
        {{deny, 5}},
        "required pam_tally.so a\xff deny=3",
        "required pam_tally.so a\xef\xbf\xbd deny=5");
    row("text beyond ASCII",
        {{deny, 5}},
        "required pam_tally.so na\xc3\xafve",
        "required pam_tally.so na\xc3\xafve deny=5");
    row("white space beyond ASCII",
        {{deny, 5}},
        "pam_tally.so\xc2\xa0"
        "deny=3\xc2\xa0"
        "a",
        "pam_tally.so a deny=5");
    row("options before the module stay", {{deny, 5}}, "deny=3 pam_tally.so deny=4", "deny=3 pam_tally.so deny=5");
    row("module twice: everything up to the last stays",
        {{deny, 5}},
        "pam_tally.so deny=1 pam_tally.so deny=2 a",
        "pam_tally.so deny=1 pam_tally.so a deny=5");
    row("text that touches the module goes", {{deny, 5}}, "pam_tally.so.old deny=3 a", "pam_tally.so deny=5");
}

void LocalPolicyLockoutUpdateTaskTest::rebuildsProfileLine()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeProfileAndStack(head + line + "\nend\n");
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.profiles(), tallyOf(head + expected + "\nend\n"));
}

void LocalPolicyLockoutUpdateTaskTest::writesArgumentsOfEveryType_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<int>("asInt");

    const QVector<ArgumentCase> cases = argumentCases();
    for (const ArgumentCase &argument : cases) {
        QTest::newRow(argument.name) << argument.value << argument.asBool << argument.asInt;
    }
}

void LocalPolicyLockoutUpdateTaskTest::writesArgumentsOfEveryType()
{
    QFETCH(QVariant, argument);
    QFETCH(bool, asBool);
    QFETCH(int, asInt);
    const PamSystem system;
    writeContent(tally(), oldProfile);
    writeContent(commonAuth(), "auth required pam_tally.so deny=99 onerr=fail\n");
    const QVariantMap arguments{{perUser, argument},
                                {magicRoot, argument},
                                {noReset, argument},
                                {deny, argument},
                                {lockTime, argument},
                                {unlockTime, argument}};

    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));

    const QByteArray number = QByteArray::number(asInt);
    const QByteArray flags = asBool ? " per_user magic_root no_reset" : "";
    QCOMPARE(system.profiles(),
             tallyOf(head + "required pam_tally.so onerr=fail" + flags + " deny=" + number + " lock_time=" + number
                     + " unlock_time=" + number + '\n'));
    QCOMPARE(system.stacks(), stackOf("auth required pam_tally.so  onerr=fail deny=" + number + '\n'));
}

void LocalPolicyLockoutUpdateTaskTest::writesEachArgumentAlone_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("option"); // for the argument 1

    QTest::newRow("per_user") << perUser << QByteArray("per_user");
    QTest::newRow("magic_root") << magicRoot << QByteArray("magic_root");
    QTest::newRow("no_reset") << noReset << QByteArray("no_reset");
    QTest::newRow("deny") << deny << QByteArray("deny=1");
    QTest::newRow("lock_time") << lockTime << QByteArray("lock_time=1");
    QTest::newRow("unlock_time") << unlockTime << QByteArray("unlock_time=1");
}

void LocalPolicyLockoutUpdateTaskTest::writesEachArgumentAlone()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, option);
    const PamSystem system;
    writeProfileAndStack();
    const QVariantMap arguments{{key, 1}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.profiles(), tallyOf(head + "required pam_tally.so onerr=fail " + option + '\n'));
}

void LocalPolicyLockoutUpdateTaskTest::keepsRestOfProfile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected"); // with "deny" = 5

    const QByteArray oldLine("\tpam_tally.so deny=3\n");
    const QByteArray newLine("pam_tally.so deny=5\n");
    QTest::newRow("other lines as they are")
        << " \tName:  x \n\n  # note \nAuth:\r\n" + oldLine + "\r\n\t[default=die]\tpam_unix.so deny=3 \n\t"
        << " \tName:  x \n\n  # note \nAuth:\r\n" + newLine + "\r\n\t[default=die]\tpam_unix.so deny=3 \n\t";
    QTest::newRow("no line end behind another line") << oldLine + "end" << newLine + "end";
    QTest::newRow("no line end behind the module's line")
        << QByteArray("a\npam_tally.so deny=3") << QByteArray("a\npam_tally.so deny=5\n");
    QTest::newRow("commented-out lines") << "#pam_tally.so deny=1\n" + oldLine + " # pam_tally.so deny=1\n"
                                         << "#pam_tally.so deny=1\n" + newLine + " # pam_tally.so deny=1\n";
    QTest::newRow("NUL bytes of other lines")
        << QByteArray("a\0b\n\0\n", 6) + oldLine + QByteArray("\0 pam_tally.so\n", 15)
        << QByteArray("a\0b\n\0\n", 6) + newLine + QByteArray("\0 pam_tally.so\n", 15);
    QTest::newRow("NUL byte ends the module's line")
        << QByteArray("pam_tally.so a\0b c\nd\n", 21) << QByteArray("pam_tally.so a deny=5\nd\n");
    QTest::newRow("invalid text of other lines") << "\xff\xfe\n" + oldLine + "# \xc3\n"
                                                 << "\xff\xfe\n" + newLine + "# \xc3\n";
    QTest::newRow("several lines of the module")
        << head + oldLine + "Auth-Initial:\n" + oldLine << head + newLine + "Auth-Initial:\n" + newLine;
    QTest::newRow("other line of a megabyte")
        << QByteArray(1 << 20, 'x') + '\n' + oldLine << QByteArray(1 << 20, 'x') + '\n' + newLine;
    QTest::newRow("module's line of a megabyte")
        << "pam_tally.so" + QByteArray(" onerr=fail").repeated(100000) + " deny=3\n"
        << "pam_tally.so" + QByteArray(" onerr=fail").repeated(100000) + " deny=5\n";
    QTest::newRow("ten thousand lines of the module") << oldLine.repeated(10000) << newLine.repeated(10000);
}

void LocalPolicyLockoutUpdateTaskTest::keepsRestOfProfile()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeProfileAndStack(content);
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.profiles().keys(), QStringList{QStringLiteral("tally")});
    QVERIFY2(contentOf(tally()) == expected, contentOf(tally()).left(1000).constData());
}

void LocalPolicyLockoutUpdateTaskTest::keepsInodeModeAndOwnerOfProfile()
{
    const PamSystem system;
    writeProfileAndStack();
    QCOMPARE(chown(qPrintable(tally()), 1234, 4321), 0);
    QCOMPARE(chmod(qPrintable(tally()), 0640), 0);
    const FileIdentity before = identityOf(tally());

    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));

    QCOMPARE(system.profiles(), tallyOf(newProfile));
    const FileIdentity after = identityOf(tally());
    QCOMPARE(after.inode, before.inode);
    QCOMPARE(after.mode, before.mode);
    QCOMPARE(after.owner, 1234U);
    QCOMPARE(after.group, 4321U);
}

void LocalPolicyLockoutUpdateTaskTest::acceptsWhatWasRead()
{
    const PamSystem system;
    const QByteArray line("auth required pam_tally.so onerr=fail per_user no_reset deny=3 unlock_time=600\n");
    writeContent(tally(), line);
    writeContent(commonAuth(), line);
    LocalPolicyLockoutReadTask read(nullptr);
    read.run();
    const QVariantMap values = *read.values();
    QCOMPARE(values.size(), 5);

    QCOMPARE(outcomeOfUpdate(values), success(values));

    QCOMPARE(system.profiles(), tallyOf(line));
    QCOMPARE(system.stacks(), stackOf(line));
}

void LocalPolicyLockoutUpdateTaskTest::runsWithoutArguments()
{
    const PamSystem system;
    writeProfileAndStack();
    QCOMPARE(outcomeOfUpdate({}), success({}));
    QCOMPARE(system.profiles(), tallyOf(head + "required pam_tally.so onerr=fail\n"));
    QCOMPARE(system.stacks(), stackOf("auth required pam_tally.so  onerr=fail deny=0\nauth required pam_unix.so\n"));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void LocalPolicyLockoutUpdateTaskTest::failsWithoutProfile()
{
    const PamSystem system;
    writeContent(commonAuth(), oldStack);
    QCOMPARE(outcomeOfUpdate(denyFive()), failure(QStringLiteral("\"/usr/share/pam-configs/tally\" not exists")));
    QCOMPARE(system.profiles(), FolderContent());
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsWithoutModule_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty profile") << QByteArray();
    QTest::newRow("other module") << QByteArray("\trequired pam_unix.so deny=3\n");
    QTest::newRow("module of a similar name") << QByteArray("\trequired pam_tally2.so deny=3\n");
    QTest::newRow("any character for the dot") << QByteArray("\trequired pam_tally_so deny=3\n");
    QTest::newRow("module in capitals") << QByteArray("\trequired PAM_TALLY.SO deny=3\n");
    QTest::newRow("commented-out line") << QByteArray("#\trequired pam_tally.so deny=3\r\n");
    QTest::newRow("module behind a NUL byte") << QByteArray("\0pam_tally.so deny=3", 20);
}

void LocalPolicyLockoutUpdateTaskTest::failsWithoutModule()
{
    QFETCH(QByteArray, content);
    const PamSystem system;
    writeProfileAndStack(content);
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("\"/usr/share/pam-configs/tally\" not contain \"pam_tally\"")));
    QCOMPARE(system.profiles(), tallyOf(content));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsOnFolder()
{
    const PamSystem system;
    writeContent(commonAuth(), oldStack);
    QVERIFY(QDir().mkdir(tally()));
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral(
                 "Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally "
                 "/usr/share/pam-configs/tally.tmp\". Exit code: 1.\n"
                 "\"/usr/bin/cp: -r not specified; omitting directory '/usr/share/pam-configs/tally'\"")));
    QCOMPARE(system.profiles(), FolderContent({{QStringLiteral("tally/"), QByteArray()}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsIfTemporaryFileCannotBeMade()
{
    const PamSystem system;
    writeProfileAndStack();
    writeContent(temporary(), "left over\n");
    const ScopedMount mounted = ScopedMount::readOnly(temporary());
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally "
                                    "/usr/share/pam-configs/tally.tmp\". Exit code: 1.\n"
                                    "\"/usr/bin/cp: cannot remove '/usr/share/pam-configs/tally.tmp': "
                                    "Device or resource busy\"")));
    QCOMPARE(system.profiles(), tallyAndTemporaryOf(oldProfile, "left over\n"));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsIfTemporaryFileIsFolder()
{
    const PamSystem system;
    writeProfileAndStack();
    QVERIFY(QDir().mkdir(temporary()));
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("\"/usr/share/pam-configs/tally.tmp\" error 5\nIs a directory")));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("tally"), oldProfile},
                            {QStringLiteral("tally.tmp/"), QByteArray()},
                            {QStringLiteral("tally.tmp/tally"), oldProfile}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsOnReadOnlyProfile()
{
    const PamSystem system;
    writeProfileAndStack();
    const ScopedMount mounted = ScopedMount::readOnly(tally());
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral(
                 "Process: \"cp --force --preserve=mode,ownership "
                 "/usr/share/pam-configs/tally.tmp /usr/share/pam-configs/tally\". Exit code: 1.\n"
                 "\"/usr/bin/cp: cannot remove '/usr/share/pam-configs/tally': Device or resource busy\"")));
    QCOMPARE(system.profiles(), tallyAndTemporaryOf(oldProfile, newProfile));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::failsOnFullDisk()
{
    // one page: the profile's own
    const PamSystem system(4);
    writeProfileAndStack();
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("Process: \"cp --force --preserve=mode,ownership /usr/share/pam-configs/tally "
                                    "/usr/share/pam-configs/tally.tmp\". Exit code: 1.\n"
                                    "\"/usr/bin/cp: error copying '/usr/share/pam-configs/tally' to "
                                    "'/usr/share/pam-configs/tally.tmp': "
                                    "No space left on device\"")));
    QCOMPARE(system.profiles(), tallyAndTemporaryOf(oldProfile, QByteArray()));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::losesWhatDoesNotFitOnDisk()
{
    // a page for the profile and one for the temporary file, both full
    const PamSystem system(8);
    const QByteArray line("pam_tally.so deny=3\n");
    const QByteArray rest = QByteArray(4095 - line.size(), 'x') + '\n';
    writeProfileAndStack(line + rest);
    const QVariantMap arguments{{deny, 12345}};
    // writes into the temporary file are not checked
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.profiles(), tallyOf(("pam_tally.so deny=12345\n" + rest).left(4096)));
}

void LocalPolicyLockoutUpdateTaskTest::replacesLeftoverTemporaryFile()
{
    const PamSystem system;
    writeProfileAndStack();
    writeContent(temporary(), QByteArray(10000, 'x'));
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.profiles(), tallyOf(newProfile));
}

void LocalPolicyLockoutUpdateTaskTest::reportsTemporaryFileThatStays()
{
    const PamSystem system;
    const QString notice = QStringLiteral("\"/usr/share/pam-configs/tally.tmp\" error 9\nDevice or resource busy");
    writeContent(temporary(), "left over\n");
    const ScopedMount mounted = ScopedMount::pinned(temporary());

    writeProfileAndStack();
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive(), notice));
    QCOMPARE(system.profiles(), tallyAndTemporaryOf(newProfile, newProfile));
    QCOMPARE(system.stacks(), stackOf(newStack));

    writeProfileAndStack();
    system.setToolScript("printf ' warning \\n' >&2\n");
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive(), notice + QStringLiteral("\n warning \n")));
    QCOMPARE(system.stacks(), stackOf(newStack));

    // a failure says nothing of it
    system.setToolScript("exit 3\n");
    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 3.\n\"\"")));
}

void LocalPolicyLockoutUpdateTaskTest::failsIfToolFails_data()
{
    QTest::addColumn<int>("index");

    const QVector<ToolFault> faults = toolFaults();
    for (int i = 0; i < faults.size(); ++i) {
        QTest::newRow(faults[i].name) << i;
    }
}

void LocalPolicyLockoutUpdateTaskTest::failsIfToolFails()
{
    QFETCH(int, index);
    const ToolFault fault = toolFaults().at(index);
    const PamSystem system;
    writeProfileAndStack();
    fault.prepare();
    QCOMPARE(outcomeOfUpdate(denyFive()), failure(fault.message));
    // the profile stays as rewritten
    QCOMPARE(system.profiles(), tallyOf(newProfile));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyLockoutUpdateTaskTest::stopsHangingTool()
{
    const PamSystem system;
    writeProfileAndStack();
    system.setToolScript("echo $$ > /run/tmp/hanging\necho slow >&2\nexec sleep 1000\n");
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(outcomeOfUpdate(denyFive()),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                    "Error: Process operation timed out.\n\"Not finished\"")));

    QVERIFY(timer.elapsed() >= 30000);
    QVERIFY(timer.elapsed() < 40000);
    const QString process =
        QStringLiteral("/proc/") + QString::fromLatin1(contentOf(QStringLiteral("/run/tmp/hanging")).trimmed());
    QVERIFY(process.size() > 6);
    QVERIFY(!QFile::exists(process));
    QCOMPARE(system.profiles(), tallyOf(newProfile));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyLockoutUpdateTaskTest::keepsNoticesOfTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing") << QByteArray() << QString();
    QTest::newRow("with line end") << QByteArray("echo warning >&2\n") << QStringLiteral("warning\n");
    QTest::newRow("without line end") << QByteArray("printf 'two\\nlines' >&2\n") << QStringLiteral("two\nlines");
    QTest::newRow("blanks around") << QByteArray("printf ' warning \\n\\n' >&2\n") << QStringLiteral(" warning \n\n");
    QTest::newRow("placeholders") << QByteArray("printf '%s' '%1 %2' >&2\n") << QStringLiteral("%1 %2");
    QTest::newRow("standard output") << QByteArray("echo output\n") << QString();
    QTest::newRow("more than a pipe holds")
        << QByteArray("head -c 200000 /dev/zero | tr '\\000' x >&2\n") << QString(200000, QLatin1Char('x'));
}

void LocalPolicyLockoutUpdateTaskTest::keepsNoticesOfTool()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    writeProfileAndStack();
    system.setToolScript(script);
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive(), message));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
    QCOMPARE(system.profiles(), tallyOf(newProfile));
    QCOMPARE(system.stacks(), stackOf(newStack));
}

void LocalPolicyLockoutUpdateTaskTest::correctsStack_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const QVariantMap &arguments, const char *content, const char *expected) {
        QTest::newRow(name) << arguments << QByteArray(content) << QByteArray(expected);
    };
    const QVariantMap five = denyFive();
    row("usual line",
        five,
        "auth required pam_tally.so deny=3 onerr=fail\n",
        "auth required pam_tally.so  onerr=fail deny=5\n");
    row("option at the end", five, "auth pam_tally.so a deny=3", "auth pam_tally.so a  deny=5");
    row("right option", five, "auth pam_tally.so deny=5 a\n", "auth pam_tally.so deny=5 a\n");
    row("right option twice", five, "auth pam_tally.so deny=5 deny=5\n", "auth pam_tally.so   deny=5\n");
    row("old and new option", five, "auth pam_tally.so a deny=5 deny=9\n", "auth pam_tally.so a   deny=5\n");
    row("no option", five, "auth pam_tally.so unlock_time=3\n", "auth pam_tally.so unlock_time=3\n");
    row("no argument", {}, "auth pam_tally.so deny=5\n", "auth pam_tally.so  deny=0\n");
    row("zero", {{deny, 0}}, "auth pam_tally.so deny=5\n", "auth pam_tally.so  deny=0\n");
    row("no argument and zero in place", {}, "auth pam_tally.so deny=0\n", "auth pam_tally.so deny=0\n");
    row("number too large for an int counts as zero",
        {},
        "auth pam_tally.so deny=99999999999\n",
        "auth pam_tally.so deny=99999999999\n");
    row("negative argument", {{deny, -1}}, "auth pam_tally.so deny=5\n", "auth pam_tally.so  deny=-1\n");
    row("only deny is corrected",
        {{deny, 5}, {lockTime, 7}, {perUser, true}},
        "auth pam_tally.so lock_time=1 deny=3 unlock_time=2\n",
        "auth pam_tally.so lock_time=1  unlock_time=2 deny=5\n");
    row("other modules",
        five,
        "auth pam_tally2.so deny=3\nauth pam_deny.so deny=3\nauth pam_cracklib.so deny=3 minlen=3\n",
        "auth pam_tally2.so deny=3\nauth pam_deny.so deny=3\nauth pam_cracklib.so deny=3 minlen=3\n");
    row("module in capitals", five, "auth PAM_TALLY.SO deny=3\n", "auth PAM_TALLY.SO deny=3\n");
    row("any character for the dot", five, "auth pam_tally_so deny=3\n", "auth pam_tally_so deny=3\n");
    row("commented-out line", five, "#auth pam_tally.so deny=3\n", "#auth pam_tally.so  deny=5\n");
    row("several lines",
        five,
        "auth pam_tally.so deny=3 a\r\n\nauth pam_tally.so deny=4\n",
        "auth pam_tally.so  a\r deny=5\n\nauth pam_tally.so  deny=5\n");
    row("longer names", five, "pam_tally.so even_deny=3 xdeny=3\n", "pam_tally.so even_deny=3 xdeny=3\n");
    row("invalid text", five, "# \xff\npam_tally.so deny=3\n", "# \xef\xbf\xbd\npam_tally.so  deny=5\n");
    QTest::newRow("NUL bytes") << five << QByteArray("a\0b\npam_tally.so \0 deny=3 c\0d\n", 30)
                               << QByteArray("a\0b\npam_tally.so \0  c\0d deny=5\n", 31);
    row("invalid text in a right stack", five, "# \xff\npam_tally.so deny=5\n", "# \xff\npam_tally.so deny=5\n");
}

void LocalPolicyLockoutUpdateTaskTest::correctsStack()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeContent(tally(), oldProfile);
    writeContent(commonAuth(), content);
    // a file that is never corrected
    writeContent(PamSystem::stack(QStringLiteral("common-password")), "auth pam_tally.so deny=3\n");

    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));

    QCOMPARE(system.stacks(),
             FolderContent({{QStringLiteral("common-auth"), expected},
                            {QStringLiteral("common-password"), "auth pam_tally.so deny=3\n"}}));
}

void LocalPolicyLockoutUpdateTaskTest::correctsStackThatToolMade()
{
    const PamSystem system;
    writeProfileAndStack();
    system.setToolScript("grep pam_tally /usr/share/pam-configs/tally > /run/tmp/seen\n"
                         "echo 'auth pam_tally.so a deny=8 deny=5' > /etc/pam.d/common-auth\n");
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), QByteArray("required pam_tally.so onerr=fail deny=5\n"));
    QCOMPARE(system.stacks(), stackOf("auth pam_tally.so a   deny=5\n"));
}

void LocalPolicyLockoutUpdateTaskTest::leavesRightStackAlone()
{
    const PamSystem system;
    writeProfileAndStack();
    writeContent(commonAuth(), newStack);
    makeOld(commonAuth());
    const FileIdentity before = identityOf(commonAuth());
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.stacks(), stackOf(newStack));
    QCOMPARE(identityOf(commonAuth()).modified, before.modified);
    QCOMPARE(identityOf(commonAuth()).inode, before.inode);
}

void LocalPolicyLockoutUpdateTaskTest::keepsInodeModeAndOwnerOfStack()
{
    const PamSystem system;
    writeProfileAndStack();
    QCOMPARE(chown(qPrintable(commonAuth()), 1234, 4321), 0);
    QCOMPARE(chmod(qPrintable(commonAuth()), 0640), 0);
    const FileIdentity before = identityOf(commonAuth());
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.stacks(), stackOf(newStack));
    const FileIdentity after = identityOf(commonAuth());
    QCOMPARE(after.inode, before.inode);
    QCOMPARE(after.mode, before.mode);
    QCOMPARE(after.owner, 1234U);
    QCOMPARE(after.group, 4321U);
}

void LocalPolicyLockoutUpdateTaskTest::ignoresMissingStack()
{
    const PamSystem system;
    writeContent(tally(), oldProfile);
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.profiles(), tallyOf(newProfile));
    QCOMPARE(system.stacks(), FolderContent());
}

void LocalPolicyLockoutUpdateTaskTest::ignoresFolderAsStack()
{
    const PamSystem system;
    writeContent(tally(), oldProfile);
    QVERIFY(QDir().mkdir(commonAuth()));
    system.setToolScript("echo warning >&2\n");
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive(), QStringLiteral("warning\n")));
    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("common-auth/"), QByteArray()}}));
}

void LocalPolicyLockoutUpdateTaskTest::ignoresReadOnlyStack()
{
    const PamSystem system;
    writeProfileAndStack();
    const ScopedMount mounted = ScopedMount::readOnly(commonAuth());
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(system.profiles(), tallyOf(newProfile));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyLockoutUpdateTaskTest::ignoresFullDiskOfStack()
{
    const PamSystem system(65536, 4);
    const QByteArray rest(4096 - 20, 'x');
    writeContent(tally(), oldProfile);
    writeContent(commonAuth(), "pam_tally.so deny=3\n" + rest);
    const QVariantMap arguments{{deny, 12345}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.stacks(), stackOf(("pam_tally.so  deny=12345\n" + rest).left(4096)));
}

void LocalPolicyLockoutUpdateTaskTest::translatesMissingModule()
{
    const PamSystem system;
    writeProfileAndStack("pam_unix.so\n");
    LocalPolicyLockoutUpdateTask task(nullptr, new QVariantMap(denyFive()));
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task),
             failure(QStringLiteral("[\"/usr/share/pam-configs/tally\" not contain \"pam_tally\"]")));
    QCOMPARE(translator.contextsOf("\"%1\" not contain \"pam_tally\""), QList<QByteArray>({taskContext}));
}

void LocalPolicyLockoutUpdateTaskTest::translatesToolFaults_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("message");

    QTest::newRow("not started") << QByteArray() << QByteArray("Process: \"%1 %2\". Error: %3.\n\"Not started\"")
                                 << QStringLiteral("[Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                                   "Error: execvp: No such file or directory.\n\"Not started\"]");
    QTest::newRow("not finished") << QByteArray("kill -9 $$\n")
                                  << QByteArray("Process: \"%1 %2\". Error: %3.\n\"Not finished\"")
                                  << QStringLiteral("[Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                                    "Error: [Process crashed].\n\"Not finished\"]");
    QTest::newRow("exit code") << QByteArray("echo broken >&2\nexit 7\n")
                               << QByteArray("Process: \"%1 %2\". Exit code: %3.\n\"%4\"")
                               << QStringLiteral("[Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                                 "Exit code: 7.\n\"broken\n\"]");
}

void LocalPolicyLockoutUpdateTaskTest::translatesToolFaults()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const PamSystem system;
    writeProfileAndStack();
    system.setToolScript(script);
    if (script.isEmpty()) {
        QVERIFY(QFile::remove(system.tool()));
    }
    LocalPolicyLockoutUpdateTask task(nullptr, new QVariantMap(denyFive()));
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task), failure(message));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({taskContext}));
}

void LocalPolicyLockoutUpdateTaskTest::realToolLeavesRetiredModuleOut()
{
    const QByteArray before = contentOf(commonAuth());
    writeContent(tally(), oldProfile);
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(contentOf(tally()), newProfile);
    QCOMPARE(contentOf(commonAuth()), before);
}

void LocalPolicyLockoutUpdateTaskTest::realToolPutsLineIntoStack()
{
    acceptRetiredModules();
    writeContent(tally(), oldProfile);
    QCOMPARE(outcomeOfUpdate(denyFive()), success(denyFive()));
    QCOMPARE(contentOf(tally()), newProfile);
    QCOMPARE(linesWith("pam_tally", contentOf(commonAuth())),
             QList<QByteArray>{"auth\trequired pam_tally.so onerr=fail deny=5"});

    // the tool merges what was edited by hand with the profile
    writeContent(commonAuth(), contentOf(commonAuth()).replace("deny=5", "deny=9"));
    const QVariantMap arguments{{deny, 7}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(linesWith("pam_tally", contentOf(commonAuth())),
             QList<QByteArray>{"auth\trequired pam_tally.so onerr=fail   deny=7"});
}

QTEST_GUILESS_MAIN(LocalPolicyLockoutUpdateTaskTest)
#include "LocalPolicyLockoutUpdateTaskTest.moc"
