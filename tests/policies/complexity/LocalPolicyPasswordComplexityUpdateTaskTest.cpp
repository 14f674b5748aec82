// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
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
constexpr char taskContext[] = "LocalPolicyPasswordComplexityUpdateTask";

const QString enforceForRoot = QStringLiteral("enforce_for_root");
const QString gecoscheck = QStringLiteral("gecoscheck");
const QString rejectUsername = QStringLiteral("reject_username");
const QString minlen = QStringLiteral("minlen");
const QString lcredit = QStringLiteral("lcredit");
const QString ucredit = QStringLiteral("ucredit");
const QString dcredit = QStringLiteral("dcredit");
const QString ocredit = QStringLiteral("ocredit");

const QByteArray head("Name: Password strength\nDefault: yes\nPriority: 1024\nPassword-Type: Primary\nPassword:\n");
const QByteArray oldCracklib = head + "\trequisite pam_cracklib.so retry=3 minlen=8 difok=3\n";
const QByteArray newCracklib = head + "requisite pam_cracklib.so retry=3 difok=3 minlen=12\n";
const QByteArray oldPwquality = head + "\trequisite pam_pwquality.so retry=3 minlen=8\n";
const QByteArray newPwquality = head + "requisite pam_pwquality.so retry=3 minlen=12\n";
const QByteArray oldStack("password requisite pam_pwquality.so retry=3 minlen=8 difok=3\npassword pam_unix.so\n");
const QByteArray newStack("password requisite pam_pwquality.so retry=3  difok=3 minlen=12\npassword pam_unix.so\n");

QString cracklib()
{
    return PamSystem::profile(QStringLiteral("cracklib"));
}

QString pwquality()
{
    return PamSystem::profile(QStringLiteral("pwquality"));
}

QString commonPassword()
{
    return PamSystem::stack(QStringLiteral("common-password"));
}

QVariantMap minlenTwelve()
{
    return {{minlen, 12}};
}

QStringList outcomeOfUpdate(const QVariantMap &arguments)
{
    LocalPolicyPasswordComplexityUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList success(const QVariantMap &arguments, const QString &notice = QString())
{
    return expectedOutcome(TaskState::Succeeded, notice, arguments);
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, minlenTwelve());
}

/// Null content means that there is no such profile.
void writeFiles(const QByteArray &cracklibContent = oldCracklib, const QByteArray &pwqualityContent = oldPwquality)
{
    if (!cracklibContent.isNull()) {
        writeContent(cracklib(), cracklibContent);
    }
    if (!pwqualityContent.isNull()) {
        writeContent(pwquality(), pwqualityContent);
    }
    writeContent(commonPassword(), oldStack);
}

FolderContent cracklibOf(const QByteArray &content)
{
    return {{QStringLiteral("cracklib"), content}};
}

FolderContent pwqualityOf(const QByteArray &content)
{
    return {{QStringLiteral("pwquality"), content}};
}

FolderContent bothOf(const QByteArray &cracklibContent, const QByteArray &pwqualityContent)
{
    return {{QStringLiteral("cracklib"), cracklibContent}, {QStringLiteral("pwquality"), pwqualityContent}};
}

FolderContent stackOf(const QByteArray &content)
{
    return {{QStringLiteral("common-password"), content}};
}

QString copyFailure(const QString &source, const QString &destination, const QString &error)
{
    return QStringLiteral("Process: \"cp --force --preserve=mode,ownership %1 %2\". Exit code: 1.\n\"/usr/bin/cp: %3\"")
        .arg(source, destination, error);
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

class LocalPolicyPasswordComplexityUpdateTaskTest : public QObject
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
    void keepsInodeModeAndOwnerOfProfiles();
    void acceptsWhatWasRead();

    void rewritesProfilesThatExist_data();
    void rewritesProfilesThatExist();
    void failsWithoutProfiles();
    void failsWithoutModule_data();
    void failsWithoutModule();
    void failsOnFolder();
    void failsIfTemporaryFileCannotBeMade();
    void failsIfTemporaryFileIsFolder();
    void failsOnReadOnlyProfile();
    void failsOnFullDisk();
    void keepsFirstProfileIfSecondFails();
    void findsProfilesBeforeItWrites();
    void replacesLeftoverTemporaryFiles();
    void reportsTemporaryFilesThatStay();
    void failureOfSecondProfileFollowsNoticeOfFirst();

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

    void translatesOwnFaults_data();
    void translatesOwnFaults();
    void translatesToolFaults_data();
    void translatesToolFaults();

    void realToolPutsOptionsIntoStack();
};

void LocalPolicyPasswordComplexityUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    static_assert(std::is_base_of_v<UpdateTask, LocalPolicyPasswordComplexityUpdateTask>);
    // for the messages of cp, where it is found, and so that the real tool has nobody to ask
    qputenv("LC_ALL", "C");
    qputenv("PATH", "/usr/sbin:/usr/bin");
    qputenv("DEBIAN_FRONTEND", "noninteractive");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::startsWithItsArguments()
{
    int context = 0;
    auto *arguments = new QVariantMap(minlenTwelve());
    LocalPolicyPasswordComplexityUpdateTask task(&context, arguments);
    QCOMPARE(task.context(), &context);
    QCOMPARE(task.values(), arguments);
    QCOMPARE(typedEntries(*task.values()), typedEntries(minlenTwelve()));
    QCOMPARE(task.result().state(), TaskState::NotStarted);
    QCOMPARE(task.result().message(), QString());
    QCOMPARE(task.result().description(), QStringLiteral("Update default password complexity policy"));
    QCOMPARE(task.flags(), quint64(0));
    task.cancel();
    QVERIFY(!task.isCancelRequested());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::translatesDescription()
{
    const RecordingTranslator translator;
    LocalPolicyPasswordComplexityUpdateTask task(nullptr, new QVariantMap);
    QCOMPARE(task.result().description(), QStringLiteral("[Update default password complexity policy]"));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{taskContext, "Update default password complexity policy"}}));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::handlerRebuildsLines()
{
    const QVariantMap arguments = minlenTwelve();
    LocalPolicyPasswordComplexityUpdateTask::LoginRewriterRegExpHandler handler(&arguments);
    QCOMPARE(handler.regExp().pattern(), QStringLiteral(R"((.*(pam_cracklib|pam_pwquality)\.so)((?:\s+\S+)*))"));
    QCOMPARE(handler.regExp().caseSensitivity(), Qt::CaseSensitive);
    QCOMPARE(handler.regExp().patternSyntax(), QRegExp::RegExp);
    QVERIFY(!handler.regExp().isMinimal());
    QVERIFY(!handler.found());

    QByteArray line("\trequisite pam_cracklib.so a minlen=8 # b\r\n");
    QVERIFY(handler.matches("\trequisite pam_cracklib.so a minlen=8 "));
    QVERIFY(handler.handleLine(&line));

    QCOMPARE(line, QByteArray("requisite pam_cracklib.so a minlen=12"));
    QVERIFY(handler.found());
    QByteArray tail;
    QVERIFY(!handler.appendLines(&tail));
    QCOMPARE(tail, QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::handlerIgnoresNullLine()
{
    const QVariantMap arguments = minlenTwelve();
    LocalPolicyPasswordComplexityUpdateTask::LoginRewriterRegExpHandler handler(&arguments);
    QVERIFY(handler.matches("requisite pam_pwquality.so minlen=8"));
    QVERIFY(!handler.handleLine(nullptr));
    QVERIFY(!handler.found());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rebuildsProfileLine_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const QVariantMap &arguments, const char *line, const char *expected) {
        QTest::newRow(name) << arguments << QByteArray(line) << QByteArray(expected);
    };
    const QVariantMap all{{minlen, 12},
                          {lcredit, -1},
                          {ucredit, -2},
                          {dcredit, -3},
                          {ocredit, -4},
                          {gecoscheck, true},
                          {enforceForRoot, true},
                          {rejectUsername, true}};
    const QVariantMap none;
    const QVariantMap twelve = minlenTwelve();

    row("some options",
        {{minlen, 12}, {dcredit, -1}, {enforceForRoot, true}, {gecoscheck, false}},
        "\trequisite pam_cracklib.so retry=3 minlen=8 difok=3 gecoscheck",
        "requisite pam_cracklib.so retry=3 difok=3 enforce_for_root minlen=12 dcredit=-1");
    row("absent option goes", twelve, "pam_cracklib.so lcredit=-2 a", "pam_cracklib.so a minlen=12");
    row("every option in fixed order",
        all,
        "pam_pwquality.so",
        "pam_pwquality.so gecoscheck enforce_for_root reject_username minlen=12 lcredit=-1 ucredit=-2 dcredit=-3 "
        "ocredit=-4");
    row("every option replaced",
        all,
        "pam_cracklib.so ocredit=1 a dcredit=1 ucredit=1 lcredit=1 minlen=1 b reject_username enforce_for_root "
        "gecoscheck",
        "pam_cracklib.so a b gecoscheck enforce_for_root reject_username minlen=12 lcredit=-1 ucredit=-2 dcredit=-3 "
        "ocredit=-4");
    row("every option removed",
        none,
        "pam_cracklib.so ocredit=1 a dcredit=1 ucredit=1 lcredit=1 minlen=1 b reject_username enforce_for_root "
        "gecoscheck",
        "pam_cracklib.so a b");
    row("flags that are false",
        {{gecoscheck, false}, {enforceForRoot, false}, {rejectUsername, false}},
        "pam_cracklib.so gecoscheck enforce_for_root reject_username",
        "pam_cracklib.so");
    row("zero is written", {{minlen, 0}, {ocredit, 0}}, "pam_pwquality.so", "pam_pwquality.so minlen=0 ocredit=0");
    row("unknown arguments",
        {{QStringLiteral("retry"), 5}, {QStringLiteral("Minlen"), 7}, {QStringLiteral("difok"), true}, {QString(), 1}},
        "pam_pwquality.so retry=3",
        "pam_pwquality.so retry=3");
    row("names without value", none, "pam_pwquality.so minlen lcredit= ucredit=x dcredit=-", "pam_pwquality.so");
    row("flags with values",
        none,
        "pam_pwquality.so gecoscheck=1 enforce_for_root= reject_username=x",
        "pam_pwquality.so");
    row("negative numbers", none, "pam_pwquality.so lcredit=-1 ocredit=--1", "pam_pwquality.so");
    row("number without equals sign stays", twelve, "pam_pwquality.so minlen8", "pam_pwquality.so minlen8 minlen=12");
    row("names inside longer ones stay",
        twelve,
        "pam_pwquality.so minlength=3 xminlen=4 gecoscheck_not local_users_only",
        "pam_pwquality.so minlength=3 xminlen=4 gecoscheck_not local_users_only minlen=12");
    row("values without name stay", twelve, "pam_pwquality.so =5 = ==", "pam_pwquality.so =5 = == minlen=12");
    row("equals sign before a name", none, "pam_pwquality.so =minlen ==lcredit=3", "pam_pwquality.so");
    row("names in capitals stay", none, "pam_pwquality.so MINLEN=3 GecosCheck", "pam_pwquality.so MINLEN=3 GecosCheck");
    row("blanks before the module stay",
        twelve,
        "\t requisite\t\t\tpam_pwquality.so\ta  b\t",
        "requisite\t\t\tpam_pwquality.so a b minlen=12");
    row("carriage return goes", twelve, "requisite pam_pwquality.so a\r", "requisite pam_pwquality.so a minlen=12");
    row("comment stays behind one tab",
        twelve,
        "pam_pwquality.so minlen=8   # minlen=9  gecoscheck  ",
        "pam_pwquality.so minlen=12\t# minlen=9  gecoscheck");
    row("comment of invalid text", twelve, "pam_pwquality.so # \xff\xc3", "pam_pwquality.so minlen=12\t# \xff\xc3");
    row("invalid text among the options is replaced",
        twelve,
        "pam_pwquality.so a\xff",
        "pam_pwquality.so a\xef\xbf\xbd minlen=12");
    row("text beyond ASCII", twelve, "pam_pwquality.so na\xc3\xafve", "pam_pwquality.so na\xc3\xafve minlen=12");
    row("options before the module stay",
        twelve,
        "minlen=3 pam_pwquality.so minlen=4",
        "minlen=3 pam_pwquality.so minlen=12");
    row("two modules on one line: everything up to the last stays",
        twelve,
        "pam_pwquality.so minlen=1 pam_cracklib.so minlen=2 a",
        "pam_pwquality.so minlen=1 pam_cracklib.so a minlen=12");
    row("text that touches the module goes", twelve, "pam_pwquality.so.old minlen=3 a", "pam_pwquality.so minlen=12");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rebuildsProfileLine()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    // the line's module is not asked to be the profile's own
    writeFiles(head + line + "\nend\n", line + '\n');
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.profiles(), bothOf(head + expected + "\nend\n", expected + '\n'));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::writesArgumentsOfEveryType_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<int>("asInt");

    const QVector<ArgumentCase> cases = argumentCases();
    for (const ArgumentCase &argument : cases) {
        QTest::newRow(argument.name) << argument.value << argument.asBool << argument.asInt;
    }
}

void LocalPolicyPasswordComplexityUpdateTaskTest::writesArgumentsOfEveryType()
{
    QFETCH(QVariant, argument);
    QFETCH(bool, asBool);
    QFETCH(int, asInt);
    const PamSystem system;
    writeContent(pwquality(), oldPwquality);
    writeContent(commonPassword(), "password pam_pwquality.so minlen=99 a\n");
    const QVariantMap arguments{{gecoscheck, argument},
                                {enforceForRoot, argument},
                                {rejectUsername, argument},
                                {minlen, argument},
                                {lcredit, argument},
                                {ucredit, argument},
                                {dcredit, argument},
                                {ocredit, argument}};

    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));

    const QByteArray number = QByteArray::number(asInt);
    const QByteArray flags = asBool ? " gecoscheck enforce_for_root reject_username" : "";
    QCOMPARE(system.profiles(),
             pwqualityOf(head + "requisite pam_pwquality.so retry=3" + flags + " minlen=" + number + " lcredit="
                         + number + " ucredit=" + number + " dcredit=" + number + " ocredit=" + number + '\n'));
    QCOMPARE(system.stacks(), stackOf("password pam_pwquality.so  a minlen=" + number + '\n'));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::writesEachArgumentAlone_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("option"); // for the argument 1

    QTest::newRow("gecoscheck") << gecoscheck << QByteArray("gecoscheck");
    QTest::newRow("enforce_for_root") << enforceForRoot << QByteArray("enforce_for_root");
    QTest::newRow("reject_username") << rejectUsername << QByteArray("reject_username");
    QTest::newRow("minlen") << minlen << QByteArray("minlen=1");
    QTest::newRow("lcredit") << lcredit << QByteArray("lcredit=1");
    QTest::newRow("ucredit") << ucredit << QByteArray("ucredit=1");
    QTest::newRow("dcredit") << dcredit << QByteArray("dcredit=1");
    QTest::newRow("ocredit") << ocredit << QByteArray("ocredit=1");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::writesEachArgumentAlone()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, option);
    const PamSystem system;
    writeFiles();
    const QVariantMap arguments{{key, 1}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.profiles(),
             bothOf(head + "requisite pam_cracklib.so retry=3 difok=3 " + option + '\n',
                    head + "requisite pam_pwquality.so retry=3 " + option + '\n'));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsRestOfProfile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected"); // with "minlen" = 12

    const QByteArray oldLine("\tpam_pwquality.so minlen=8\n");
    const QByteArray newLine("pam_pwquality.so minlen=12\n");
    QTest::newRow("other lines as they are")
        << " \tName:  x \n\n  # note \nPassword:\r\n" + oldLine + "\r\n\t[default=die]\tpam_unix.so minlen=8 \n\t"
        << " \tName:  x \n\n  # note \nPassword:\r\n" + newLine + "\r\n\t[default=die]\tpam_unix.so minlen=8 \n\t";
    QTest::newRow("no line end behind another line") << oldLine + "end" << newLine + "end";
    QTest::newRow("no line end behind the module's line")
        << QByteArray("a\npam_pwquality.so minlen=8") << QByteArray("a\npam_pwquality.so minlen=12\n");
    QTest::newRow("commented-out lines") << "#pam_cracklib.so minlen=1\n" + oldLine + " # pam_pwquality.so minlen=1\n"
                                         << "#pam_cracklib.so minlen=1\n" + newLine + " # pam_pwquality.so minlen=1\n";
    QTest::newRow("NUL bytes") << QByteArray("a\0b\n\0\n", 6) + oldLine + QByteArray("pam_pwquality.so a\0b\n", 21)
                               << QByteArray("a\0b\n\0\n", 6) + newLine + "pam_pwquality.so a minlen=12\n";
    QTest::newRow("invalid text of other lines") << "\xff\xfe\n" + oldLine + "# \xc3\n"
                                                 << "\xff\xfe\n" + newLine + "# \xc3\n";
    QTest::newRow("lines under both headings") << "Password:\n" + oldLine + "Password-Initial:\n" + oldLine
                                               << "Password:\n" + newLine + "Password-Initial:\n" + newLine;
    QTest::newRow("lines of both modules") << oldLine + "\tpam_cracklib.so minlen=8\n"
                                           << newLine + "pam_cracklib.so minlen=12\n";
    QTest::newRow("other line of a megabyte")
        << QByteArray(1 << 20, 'x') + '\n' + oldLine << QByteArray(1 << 20, 'x') + '\n' + newLine;
    QTest::newRow("module's line of a megabyte")
        << "pam_pwquality.so" + QByteArray(" retry=3").repeated(130000) + " minlen=8\n"
        << "pam_pwquality.so" + QByteArray(" retry=3").repeated(130000) + " minlen=12\n";
    QTest::newRow("ten thousand lines of the module") << oldLine.repeated(10000) << newLine.repeated(10000);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsRestOfProfile()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeFiles(content, content);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.profiles().keys(), QStringList({QStringLiteral("cracklib"), QStringLiteral("pwquality")}));
    QVERIFY2(contentOf(cracklib()) == expected, contentOf(cracklib()).left(1000).constData());
    QVERIFY2(contentOf(pwquality()) == expected, contentOf(pwquality()).left(1000).constData());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsInodeModeAndOwnerOfProfiles()
{
    const PamSystem system;
    writeFiles();
    for (const QString &path : {cracklib(), pwquality()}) {
        QCOMPARE(chown(qPrintable(path), 1234, 4321), 0);
        QCOMPARE(chmod(qPrintable(path), 0640), 0);
    }
    const quint64 inodes[] = {identityOf(cracklib()).inode, identityOf(pwquality()).inode};

    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));

    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
    QCOMPARE(identityOf(cracklib()).inode, inodes[0]);
    QCOMPARE(identityOf(pwquality()).inode, inodes[1]);
    for (const QString &path : {cracklib(), pwquality()}) {
        const FileIdentity after = identityOf(path);
        QCOMPARE(after.mode, quint32(S_IFREG | 0640));
        QCOMPARE(after.owner, 1234U);
        QCOMPARE(after.group, 4321U);
    }
}

void LocalPolicyPasswordComplexityUpdateTaskTest::acceptsWhatWasRead()
{
    const PamSystem system;
    const QByteArray line(
        "password requisite pam_pwquality.so retry=3 gecoscheck reject_username minlen=8 dcredit=-1\n");
    writeContent(pwquality(), line);
    writeContent(commonPassword(), line);
    LocalPolicyPasswordComplexityReadTask read(nullptr);
    read.run();
    const QVariantMap values = *read.values();
    QCOMPARE(values.size(), 5);

    QCOMPARE(outcomeOfUpdate(values), success(values));

    QCOMPARE(system.profiles(), pwqualityOf(line));
    QCOMPARE(system.stacks(), stackOf(line));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rewritesProfilesThatExist_data()
{
    QTest::addColumn<QByteArray>("oldFirst"); // cracklib
    QTest::addColumn<QByteArray>("oldSecond"); // pwquality
    QTest::addColumn<FolderContent>("profiles");

    const QByteArray none;
    const QByteArray empty("");
    const QByteArray other = head + "\trequisite pam_unix.so minlen=8\n";
    QTest::newRow("both") << oldCracklib << oldPwquality << bothOf(newCracklib, newPwquality);
    QTest::newRow("only cracklib") << oldCracklib << none << cracklibOf(newCracklib);
    QTest::newRow("only pwquality") << none << oldPwquality << pwqualityOf(newPwquality);
    QTest::newRow("module only in the first") << oldCracklib << other << bothOf(newCracklib, other);
    QTest::newRow("second is empty") << oldCracklib << empty << bothOf(newCracklib, empty);
    QTest::newRow("each with the other's module") << oldPwquality << oldCracklib << bothOf(newPwquality, newCracklib);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::rewritesProfilesThatExist()
{
    QFETCH(QByteArray, oldFirst);
    QFETCH(QByteArray, oldSecond);
    QFETCH(FolderContent, profiles);
    const PamSystem system;
    writeFiles(oldFirst, oldSecond);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.profiles(), profiles);
    QCOMPARE(system.stacks(), stackOf(newStack));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsWithoutProfiles()
{
    const PamSystem system;
    writeFiles(QByteArray(), QByteArray());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(QStringLiteral("Both profiles of supported PAM modules do not exist "
                                    "(/usr/share/pam-configs/cracklib, /usr/share/pam-configs/pwquality)")));
    QCOMPARE(system.profiles(), FolderContent());
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsWithoutModule_data()
{
    QTest::addColumn<QByteArray>("first"); // cracklib
    QTest::addColumn<QByteArray>("second"); // pwquality
    QTest::addColumn<QString>("message");
    QTest::addColumn<FolderContent>("profiles");

    const QByteArray none;
    const QByteArray empty("");
    const QByteArray other = head + "\trequisite pam_unix.so minlen=8\r\n#pam_cracklib.so\n#pam_pwquality.so\n";
    const QByteArray similar("pam_cracklib_so\npam_pwqualityx.so\nPAM_CRACKLIB.so\n");
    const QString firstMessage = QStringLiteral("\"/usr/share/pam-configs/cracklib\" not contain \"pam_cracklib\"");
    const QString secondMessage = QStringLiteral("\"/usr/share/pam-configs/pwquality\" not contain \"pam_pwquality\"");
    QTest::newRow("only pwquality") << none << other << secondMessage << pwqualityOf(other);
    QTest::newRow("only pwquality, empty") << none << empty << secondMessage << pwqualityOf(empty);
    QTest::newRow("only pwquality, similar names") << none << similar << secondMessage << pwqualityOf(similar);
    QTest::newRow("only cracklib") << other << none << firstMessage << cracklibOf(other);
    QTest::newRow("only cracklib, similar names") << similar << none << firstMessage << cracklibOf(similar);
    QTest::newRow("neither") << other << other << firstMessage << bothOf(other, other);
    QTest::newRow("not in the first of both") << other << oldPwquality << firstMessage << bothOf(other, oldPwquality);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsWithoutModule()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QString, message);
    QFETCH(FolderContent, profiles);
    const PamSystem system;
    writeFiles(first, second);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), failure(message));
    QCOMPARE(system.profiles(), profiles);
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsOnFolder()
{
    const PamSystem system;
    writeFiles(QByteArray(), oldPwquality);
    QVERIFY(QDir().mkdir(cracklib()));
    QCOMPARE(
        outcomeOfUpdate(minlenTwelve()),
        failure(copyFailure(cracklib(),
                            cracklib() + QStringLiteral(".tmp"),
                            QStringLiteral("-r not specified; omitting directory '/usr/share/pam-configs/cracklib'"))));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("cracklib/"), QByteArray()}, {QStringLiteral("pwquality"), oldPwquality}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsIfTemporaryFileCannotBeMade()
{
    const PamSystem system;
    writeFiles(oldCracklib, QByteArray());
    const QString temporary = cracklib() + QStringLiteral(".tmp");
    writeContent(temporary, "left over\n");
    const ScopedMount mounted = ScopedMount::readOnly(temporary);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(copyFailure(
                 cracklib(),
                 temporary,
                 QStringLiteral("cannot remove '/usr/share/pam-configs/cracklib.tmp': Device or resource busy"))));
    QCOMPARE(
        system.profiles(),
        FolderContent({{QStringLiteral("cracklib"), oldCracklib}, {QStringLiteral("cracklib.tmp"), "left over\n"}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsIfTemporaryFileIsFolder()
{
    const PamSystem system;
    writeFiles(QByteArray(), oldPwquality);
    QVERIFY(QDir().mkdir(pwquality() + QStringLiteral(".tmp")));
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(QStringLiteral("\"/usr/share/pam-configs/pwquality.tmp\" error 5\nIs a directory")));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("pwquality"), oldPwquality},
                            {QStringLiteral("pwquality.tmp/"), QByteArray()},
                            {QStringLiteral("pwquality.tmp/pwquality"), oldPwquality}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsOnReadOnlyProfile()
{
    const PamSystem system;
    writeFiles();
    const ScopedMount mounted = ScopedMount::readOnly(cracklib());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(copyFailure(
                 cracklib() + QStringLiteral(".tmp"),
                 cracklib(),
                 QStringLiteral("cannot remove '/usr/share/pam-configs/cracklib': Device or resource busy"))));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("cracklib"), oldCracklib},
                            {QStringLiteral("cracklib.tmp"), newCracklib},
                            {QStringLiteral("pwquality"), oldPwquality}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsOnFullDisk()
{
    // two pages: the profiles' own
    const PamSystem system(8);
    writeFiles();
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(copyFailure(cracklib(),
                                 cracklib() + QStringLiteral(".tmp"),
                                 QStringLiteral("error copying '/usr/share/pam-configs/cracklib' to "
                                                "'/usr/share/pam-configs/cracklib.tmp': No space left on device"))));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("cracklib"), oldCracklib},
                            {QStringLiteral("cracklib.tmp"), QByteArray()},
                            {QStringLiteral("pwquality"), oldPwquality}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsFirstProfileIfSecondFails()
{
    const PamSystem system;
    writeFiles();
    const ScopedMount mounted = ScopedMount::readOnly(pwquality());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(copyFailure(
                 pwquality() + QStringLiteral(".tmp"),
                 pwquality(),
                 QStringLiteral("cannot remove '/usr/share/pam-configs/pwquality': Device or resource busy"))));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("cracklib"), newCracklib},
                            {QStringLiteral("pwquality"), oldPwquality},
                            {QStringLiteral("pwquality.tmp"), newPwquality}}));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::findsProfilesBeforeItWrites()
{
    const PamSystem system;
    writeFiles();
    // a cp that takes the second profile away while the first is being rewritten
    const QByteArray path = qgetenv("PATH");
    writeProgram(QStringLiteral("/run/tmp/bin/cp"),
                 "#!/bin/sh\nrm -f /usr/share/pam-configs/pwquality\nexec /usr/bin/cp \"$@\"\n");
    qputenv("PATH", "/run/tmp/bin:" + path);
    const QStringList outcome = outcomeOfUpdate(minlenTwelve());
    qputenv("PATH", path);
    QCOMPARE(outcome, failure(QStringLiteral("\"/usr/share/pam-configs/pwquality\" not exists")));
    QCOMPARE(system.profiles(), cracklibOf(newCracklib));
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::replacesLeftoverTemporaryFiles()
{
    const PamSystem system;
    writeFiles();
    writeContent(cracklib() + QStringLiteral(".tmp"), QByteArray(10000, 'x'));
    writeContent(pwquality() + QStringLiteral(".tmp"), QByteArray(10000, 'x'));
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::reportsTemporaryFilesThatStay()
{
    const PamSystem system;
    const QString notices = QStringLiteral("\"/usr/share/pam-configs/cracklib.tmp\" error 9\nDevice or resource busy\n"
                                           "\"/usr/share/pam-configs/pwquality.tmp\" error 9\nDevice or resource busy");
    writeContent(cracklib() + QStringLiteral(".tmp"), "");
    writeContent(pwquality() + QStringLiteral(".tmp"), "");
    const ScopedMount firstPinned = ScopedMount::pinned(cracklib() + QStringLiteral(".tmp"));
    const ScopedMount secondPinned = ScopedMount::pinned(pwquality() + QStringLiteral(".tmp"));

    writeFiles();
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve(), notices));
    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("cracklib"), newCracklib},
                            {QStringLiteral("cracklib.tmp"), newCracklib},
                            {QStringLiteral("pwquality"), newPwquality},
                            {QStringLiteral("pwquality.tmp"), newPwquality}}));
    QCOMPARE(system.stacks(), stackOf(newStack));

    writeFiles();
    system.setToolScript("printf ' warning \\n' >&2\n");
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve(), notices + QStringLiteral("\n warning \n")));
    QCOMPARE(system.stacks(), stackOf(newStack));

    // a failure of the tool says nothing of them
    system.setToolScript("exit 3\n");
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 3.\n\"\"")));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failureOfSecondProfileFollowsNoticeOfFirst()
{
    const PamSystem system;
    writeFiles();
    writeContent(cracklib() + QStringLiteral(".tmp"), "");
    const ScopedMount pinned = ScopedMount::pinned(cracklib() + QStringLiteral(".tmp"));
    QVERIFY(QDir().mkdir(pwquality() + QStringLiteral(".tmp")));
    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(QStringLiteral("\"/usr/share/pam-configs/cracklib.tmp\" error 9\nDevice or resource busy\n"
                                    "\"/usr/share/pam-configs/pwquality.tmp\" error 5\nIs a directory")));
    QCOMPARE(contentOf(cracklib()), newCracklib);
    QCOMPARE(contentOf(pwquality()), oldPwquality);
    QCOMPARE(system.stacks(), stackOf(oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsIfToolFails_data()
{
    QTest::addColumn<int>("index");

    const QVector<ToolFault> faults = toolFaults();
    for (int i = 0; i < faults.size(); ++i) {
        QTest::newRow(faults[i].name) << i;
    }
}

void LocalPolicyPasswordComplexityUpdateTaskTest::failsIfToolFails()
{
    QFETCH(int, index);
    const ToolFault fault = toolFaults().at(index);
    const PamSystem system;
    writeFiles();
    fault.prepare();
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), failure(fault.message));
    // the profiles stay as rewritten
    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::stopsHangingTool()
{
    const PamSystem system;
    writeFiles();
    system.setToolScript("echo $$ > /run/tmp/hanging\necho slow >&2\nexec sleep 1000\n");
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(outcomeOfUpdate(minlenTwelve()),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                    "Error: Process operation timed out.\n\"Not finished\"")));

    QVERIFY(timer.elapsed() >= 30000);
    QVERIFY(timer.elapsed() < 40000);
    const QByteArray process = contentOf(QStringLiteral("/run/tmp/hanging")).trimmed();
    QVERIFY(!process.isEmpty());
    QVERIFY(!QFile::exists(QStringLiteral("/proc/") + QString::fromLatin1(process)));
    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsNoticesOfTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing") << QByteArray() << QString();
    QTest::newRow("with line end") << QByteArray("echo warning >&2\n") << QStringLiteral("warning\n");
    QTest::newRow("without line end") << QByteArray("printf 'two\\nlines' >&2\n") << QStringLiteral("two\nlines");
    QTest::newRow("blanks around") << QByteArray("printf ' warning \\n\\n' >&2\n") << QStringLiteral(" warning \n\n");
    QTest::newRow("placeholders") << QByteArray("printf '%s' '%1 %2' >&2\n") << QStringLiteral("%1 %2");
    QTest::newRow("standard output") << QByteArray("echo output\n") << QString();
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsNoticesOfTool()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    writeFiles();
    system.setToolScript(script);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve(), message));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
    QCOMPARE(system.stacks(), stackOf(newStack));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::correctsStack_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const QVariantMap &arguments, const char *content, const char *expected) {
        QTest::newRow(name) << arguments << QByteArray(content) << QByteArray(expected);
    };
    const QVariantMap twelve = minlenTwelve();
    row("option inside",
        twelve,
        "password requisite pam_pwquality.so retry=3 minlen=8 difok=3\n",
        "password requisite pam_pwquality.so retry=3  difok=3 minlen=12\n");
    row("option at the end",
        twelve,
        "password requisite pam_pwquality.so retry=3 minlen=8\n",
        "password requisite pam_pwquality.so retry=3  minlen=12\n");
    row("other module", twelve, "password pam_cracklib.so minlen=8 a\n", "password pam_cracklib.so  a minlen=12\n");
    row("both modules",
        twelve,
        "password pam_cracklib.so minlen=8 a\npassword pam_pwquality.so minlen=9\n",
        "password pam_cracklib.so  a minlen=12\npassword pam_pwquality.so  minlen=12\n");
    row("right option", twelve, "password pam_pwquality.so minlen=12 a", "password pam_pwquality.so minlen=12 a");
    row("right option twice",
        twelve,
        "password pam_pwquality.so minlen=12 minlen=12\n",
        "password pam_pwquality.so   minlen=12\n");
    row("old and new option", twelve, "pam_pwquality.so minlen=12 minlen=8 a\n", "pam_pwquality.so   a minlen=12\n");
    row("no option", twelve, "password pam_pwquality.so retry=3\n", "password pam_pwquality.so retry=3\n");
    row("no argument", {{lcredit, 1}}, "password pam_pwquality.so minlen=8\n", "password pam_pwquality.so  minlen=0\n");
    row("no argument and zero in place",
        {},
        "password pam_pwquality.so minlen=0\n",
        "password pam_pwquality.so minlen=0\n");
    row("number too large for an int counts as zero",
        {},
        "password pam_pwquality.so minlen=99999999999\n",
        "password pam_pwquality.so minlen=99999999999\n");
    row("negative argument", {{minlen, -1}}, "pam_pwquality.so minlen=8\n", "pam_pwquality.so  minlen=-1\n");
    row("negative number", twelve, "pam_pwquality.so minlen=-8\n", "pam_pwquality.so minlen=-8\n");
    row("only minlen is corrected",
        {{minlen, 12}, {lcredit, 7}, {gecoscheck, true}},
        "pam_pwquality.so lcredit=1 minlen=8 deny=2\n",
        "pam_pwquality.so lcredit=1  deny=2 minlen=12\n");
    row("other modules",
        twelve,
        "password pam_unix.so minlen=8\npassword pam_tally.so deny=3 minlen=8\n",
        "password pam_unix.so minlen=8\npassword pam_tally.so deny=3 minlen=8\n");
    row("any character for the dot", twelve, "pam_pwquality_so minlen=8\n", "pam_pwquality_so minlen=8\n");
    row("modules in capitals", twelve, "PAM_PWQUALITY.SO minlen=8\n", "PAM_PWQUALITY.SO minlen=8\n");
    row("commented-out line",
        twelve,
        "# password requisite pam_cracklib.so minlen=8\n",
        "# password requisite pam_cracklib.so  minlen=12\n");
    row("several lines",
        twelve,
        "a\r\n\npam_pwquality.so minlen=8 a\r\n\npam_cracklib.so minlen=4",
        "a\r\n\npam_pwquality.so  a\r minlen=12\n\npam_cracklib.so  minlen=12");
    row("longer names",
        twelve,
        "pam_pwquality.so xminlen=8 minlen=8x minlength=8\n",
        "pam_pwquality.so xminlen=8 minlen=8x minlength=8\n");
    row("invalid text", twelve, "# \xff\npam_pwquality.so minlen=8\n", "# \xef\xbf\xbd\npam_pwquality.so  minlen=12\n");
    QTest::newRow("NUL bytes") << twelve << QByteArray("a\0b\npam_pwquality.so \0 minlen=8 c\0d\n", 36)
                               << QByteArray("a\0b\npam_pwquality.so \0  c\0d minlen=12\n", 38);
    row("invalid text in a right stack",
        twelve,
        "# \xff\npam_pwquality.so minlen=12\n",
        "# \xff\npam_pwquality.so minlen=12\n");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::correctsStack()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeFiles();
    writeContent(commonPassword(), content);
    // a file that is never corrected
    writeContent(PamSystem::stack(QStringLiteral("common-auth")), "pam_pwquality.so minlen=8\n");

    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));

    QCOMPARE(system.stacks(),
             FolderContent({{QStringLiteral("common-password"), expected},
                            {QStringLiteral("common-auth"), "pam_pwquality.so minlen=8\n"}}));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::correctsStackThatToolMade()
{
    const PamSystem system;
    writeFiles();
    system.setToolScript("cat /usr/share/pam-configs/* > /run/tmp/seen\n"
                         "echo 'pam_pwquality.so a minlen=8 minlen=12' > /etc/pam.d/common-password\n");
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), newCracklib + newPwquality);
    QCOMPARE(system.stacks(), stackOf("pam_pwquality.so a   minlen=12\n"));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::leavesRightStackAlone()
{
    const PamSystem system;
    writeFiles();
    writeContent(commonPassword(), newStack);
    makeOld(commonPassword());
    const FileIdentity before = identityOf(commonPassword());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.stacks(), stackOf(newStack));
    QCOMPARE(identityOf(commonPassword()).modified, before.modified);
    QCOMPARE(identityOf(commonPassword()).inode, before.inode);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::keepsInodeModeAndOwnerOfStack()
{
    const PamSystem system;
    writeFiles();
    QCOMPARE(chown(qPrintable(commonPassword()), 1234, 4321), 0);
    QCOMPARE(chmod(qPrintable(commonPassword()), 0640), 0);
    const FileIdentity before = identityOf(commonPassword());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.stacks(), stackOf(newStack));
    const FileIdentity after = identityOf(commonPassword());
    QCOMPARE(after.inode, before.inode);
    QCOMPARE(after.mode, before.mode);
    QCOMPARE(after.owner, 1234U);
    QCOMPARE(after.group, 4321U);
}

void LocalPolicyPasswordComplexityUpdateTaskTest::ignoresMissingStack()
{
    const PamSystem system;
    writeContent(cracklib(), oldCracklib);
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.profiles(), cracklibOf(newCracklib));
    QCOMPARE(system.stacks(), FolderContent());
}

void LocalPolicyPasswordComplexityUpdateTaskTest::ignoresFolderAsStack()
{
    const PamSystem system;
    writeContent(cracklib(), oldCracklib);
    QVERIFY(QDir().mkdir(commonPassword()));
    system.setToolScript("echo warning >&2\n");
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve(), QStringLiteral("warning\n")));
    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("common-password/"), QByteArray()}}));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::ignoresReadOnlyStack()
{
    const PamSystem system;
    writeFiles();
    const ScopedMount mounted = ScopedMount::readOnly(commonPassword());
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(system.profiles(), bothOf(newCracklib, newPwquality));
    QCOMPARE(system.stacks(), stackOf(oldStack));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::ignoresFullDiskOfStack()
{
    const PamSystem system(65536, 4);
    const QByteArray line("pam_cracklib.so minlen=8\n");
    const QByteArray rest(4096 - line.size(), 'x');
    writeContent(cracklib(), oldCracklib);
    writeContent(commonPassword(), line + rest);
    const QVariantMap arguments{{minlen, 12345}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(system.stacks(), stackOf(("pam_cracklib.so  minlen=12345\n" + rest).left(4096)));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::translatesOwnFaults_data()
{
    QTest::addColumn<QByteArray>("first"); // cracklib
    QTest::addColumn<QByteArray>("second"); // pwquality
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("message");

    const QByteArray none;
    const QByteArray other("pam_unix.so\n");
    QTest::newRow("no profile") << none << none
                                << QByteArray("Both profiles of supported PAM modules do not exist (%1, %2)")
                                << QStringLiteral(
                                       "[Both profiles of supported PAM modules do not exist "
                                       "(/usr/share/pam-configs/cracklib, /usr/share/pam-configs/pwquality)]");
    QTest::newRow("no module in cracklib")
        << other << none << QByteArray("\"%1\" not contain \"pam_cracklib\"")
        << QStringLiteral("[\"/usr/share/pam-configs/cracklib\" not contain \"pam_cracklib\"]");
    QTest::newRow("no module in pwquality")
        << none << other << QByteArray("\"%1\" not contain \"pam_pwquality\"")
        << QStringLiteral("[\"/usr/share/pam-configs/pwquality\" not contain \"pam_pwquality\"]");
}

void LocalPolicyPasswordComplexityUpdateTaskTest::translatesOwnFaults()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const PamSystem system;
    writeFiles(first, second);
    LocalPolicyPasswordComplexityUpdateTask task(nullptr, new QVariantMap(minlenTwelve()));
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task), failure(message));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({taskContext}));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::translatesToolFaults_data()
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

void LocalPolicyPasswordComplexityUpdateTaskTest::translatesToolFaults()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const PamSystem system;
    writeFiles();
    system.setToolScript(script);
    if (script.isEmpty()) {
        QVERIFY(QFile::remove(system.tool()));
    }
    LocalPolicyPasswordComplexityUpdateTask task(nullptr, new QVariantMap(minlenTwelve()));
    const RecordingTranslator translator;
    QCOMPARE(outcomeOfRun(&task), failure(message));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({taskContext}));
}

void LocalPolicyPasswordComplexityUpdateTaskTest::realToolPutsOptionsIntoStack()
{
    QVERIFY(!QFile::exists(cracklib()));
    QCOMPARE(
        linesWith("pam_pwquality", contentOf(pwquality())),
        QList<QByteArray>({"\trequisite\t\t\tpam_pwquality.so retry=3", "\trequisite\t\t\tpam_pwquality.so retry=3"}));
    const QVariantMap arguments{{minlen, 12}, {dcredit, -1}, {gecoscheck, true}};
    QCOMPARE(outcomeOfUpdate(arguments), success(arguments));
    QCOMPARE(linesWith("pam_pwquality", contentOf(pwquality())),
             QList<QByteArray>({"requisite\t\t\tpam_pwquality.so retry=3 gecoscheck minlen=12 dcredit=-1",
                                "requisite\t\t\tpam_pwquality.so retry=3 gecoscheck minlen=12 dcredit=-1"}));
    QCOMPARE(linesWith("pam_pwquality", contentOf(commonPassword())),
             QList<QByteArray>{"password\trequisite\t\t\tpam_pwquality.so retry=3 gecoscheck minlen=12 dcredit=-1"});

    // the tool merges what was edited by hand with the profile
    writeContent(commonPassword(), contentOf(commonPassword()).replace("minlen=12", "minlen=9"));
    QCOMPARE(outcomeOfUpdate(minlenTwelve()), success(minlenTwelve()));
    QCOMPARE(linesWith("pam_pwquality", contentOf(commonPassword())),
             QList<QByteArray>{"password\trequisite\t\t\tpam_pwquality.so retry=3  minlen=12"});
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordComplexityUpdateTaskTest)
#include "LocalPolicyPasswordComplexityUpdateTaskTest.moc"
