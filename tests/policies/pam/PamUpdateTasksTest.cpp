// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the tasks that write the policies of PAM have in common, tried with each of them.

#include "tests/policies/pam/PamCases.h"
#include "tests/policies/pam/PamPolicyCases.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/SpacingTranslator.h"

#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
const QString flag = QStringLiteral("{flag}");
const QString flag2 = QStringLiteral("{flag2}");
const QString number = QStringLiteral("{number}");
const QString number2 = QStringLiteral("{number2}");
const QVariantMap five{{number, 5}};

const QByteArray head("Name: Sample\nDefault: yes\nPriority: 1024\nAuth-Type: Primary\nAuth:\n");
const QByteArray oldProfile = head + "\trequired {module} {number}=3 onerr=fail\n";
const QByteArray newProfile = head + "required {module} onerr=fail {number}=5\n";
const QByteArray oldStack("stack required {module} {number}=3 onerr=fail\nstack required pam_unix.so\n");
const QByteArray newStack("stack required {module}  onerr=fail {number}=5\nstack required pam_unix.so\n");

void writeProfile(const PamPolicyCase &policy, const QByteArray &content = oldProfile)
{
    writeContent(policy.profile(), policy.filled(content));
}

void writeStack(const PamPolicyCase &policy, const QByteArray &content = oldStack)
{
    writeContent(policy.stack(), policy.filled(content));
}

void writeBoth(const PamPolicyCase &policy)
{
    writeProfile(policy);
    writeStack(policy);
}

QStringList outcomeOfUpdate(const PamPolicyCase &policy, const QVariantMap &arguments = five)
{
    return outcomeOfRun(policy.newUpdateTask(policy.filled(arguments)).get());
}

QStringList success(const PamPolicyCase &policy, const QString &notice = QString(), const QVariantMap &arguments = five)
{
    return expectedOutcome(TaskState::Succeeded, notice, policy.filled(arguments));
}

QStringList failure(const PamPolicyCase &policy, const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, policy.filled(five));
}

/// "%1" in the names of files is the profile's name.
FolderContent profilesOf(const PamPolicyCase &policy, const FolderContent &files)
{
    FolderContent content;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        content.insert(QString(file.key()).replace(QLatin1String("%1"), policy.profileName),
                       policy.filled(file.value()));
    }
    return content;
}

FolderContent profileOf(const PamPolicyCase &policy, const QByteArray &content)
{
    return {{policy.profileName, policy.filled(content)}};
}

FolderContent stackOf(const PamPolicyCase &policy, const QByteArray &content)
{
    return {{policy.stackName, policy.filled(content)}};
}

QString temporary(const PamPolicyCase &policy)
{
    return policy.profile() + QLatin1String(".tmp");
}

/// A way in which a profile can't be rewritten, and what this leaves.
struct DiskFault {
    const char *name;
    int kilobytes;
    void (*prepare)(const PamPolicyCase &policy, std::vector<ScopedMount> *mounts);
    /// "%1" is the profile's path.
    QString message;
    FolderContent profiles;
};

QString copyFailure(const char *paths, const char *error)
{
    return QStringLiteral("Process: \"cp --force --preserve=mode,ownership ") + QLatin1String(paths)
        + QStringLiteral("\". Exit code: 1.\n\"/usr/bin/cp: ") + QLatin1String(error) + QLatin1Char('"');
}

const QVector<DiskFault> &diskFaults()
{
    const QString profile = QStringLiteral("%1");
    const QString copy = QStringLiteral("%1.tmp");
    static const QVector<DiskFault> faults{
        {"profile is a folder",
         65536,
         [](const PamPolicyCase &policy, std::vector<ScopedMount> *) {
             QFile::remove(policy.profile());
             QDir().mkdir(policy.profile());
         },
         copyFailure("%1 %1.tmp", "-r not specified; omitting directory '%1'"),
         {{QStringLiteral("%1/"), QByteArray()}}},
        {"temporary file can't be made",
         65536,
         [](const PamPolicyCase &policy, std::vector<ScopedMount> *mounts) {
             writeContent(temporary(policy), "left over\n");
             mounts->push_back(ScopedMount::readOnly(temporary(policy)));
         },
         copyFailure("%1 %1.tmp", "cannot remove '%1.tmp': Device or resource busy"),
         {{profile, oldProfile}, {copy, "left over\n"}}},
        {"temporary file is a folder",
         65536,
         [](const PamPolicyCase &policy, std::vector<ScopedMount> *) {
             QDir().mkdir(temporary(policy));
         },
         QStringLiteral("\"%1.tmp\" error 5\nIs a directory"),
         {{profile, oldProfile}, {QStringLiteral("%1.tmp/"), QByteArray()}, {QStringLiteral("%1.tmp/%1"), oldProfile}}},
        {"profile is read-only",
         65536,
         [](const PamPolicyCase &policy, std::vector<ScopedMount> *mounts) {
             mounts->push_back(ScopedMount::readOnly(policy.profile()));
         },
         copyFailure("%1.tmp %1", "cannot remove '%1': Device or resource busy"),
         {{profile, oldProfile}, {copy, newProfile}}},
        {"disk is full",
         4, // one page: the profile's own
         [](const PamPolicyCase &, std::vector<ScopedMount> *) {},
         copyFailure("%1 %1.tmp", "error copying '%1' to '%1.tmp': No space left on device"),
         {{profile, oldProfile}, {copy, QByteArray()}}},
    };
    return faults;
}

/// Adds a row for each of @p cases, with its index.
template<typename Case>
void addCases(const QVector<Case> &cases)
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases.size(); ++i) {
        QTest::newRow(cases.at(i).name) << i;
    }
}
}

class PamUpdateTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();

    void rebuildsLineOfProfile_data();
    void rebuildsLineOfProfile();
    void writesArgumentsOfEveryType_data();
    void writesArgumentsOfEveryType();
    void writesEachArgument();
    void keepsRestOfProfile_data();
    void keepsRestOfProfile();
    void failsWithoutModule_data();
    void failsWithoutModule();
    void failsIfProfileCannotBeRewritten_data();
    void failsIfProfileCannotBeRewritten();
    void failsIfToolFails_data();
    void failsIfToolFails();
    void translatesFaultsOfTool_data();
    void translatesFaultsOfTool();
    void keepsNoticesOfTool_data();
    void keepsNoticesOfTool();
    void correctsStack_data();
    void correctsStack();
    void keepsInodesModesAndOwners();
    void acceptsWhatWasRead();
    void takesStackForUtf8WhateverTheLocale();
    void losesWhatDoesNotFitOnDisk();
    void replacesLeftoverTemporaryFile();
    void reportsTemporaryFileThatStays();
    void correctsStackThatToolMade();
    void writesStackThroughSymbolicLink();
    void ignoresStackThatCannotBeCorrected();
};

void PamUpdateTasksTest::initTestCase_data()
{
    addPamPolicies();
}

void PamUpdateTasksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    // for the messages of cp, and where it is found
    qputenv("LC_ALL", "C");
    qputenv("PATH", "/usr/sbin:/usr/bin");
}

void PamUpdateTasksTest::rebuildsLineOfProfile_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    const auto row =
        [](const char *name, const QVariantMap &arguments, const QByteArray &line, const QByteArray &expected) {
            QTest::newRow(name) << arguments << line << expected;
        };
    const auto options = [&row](const char *name, const char *before, const char *after) {
        row(name, five, QByteArray("{module} ") + before, QByteArray("{module}") + after + " {number}=5");
    };
    const QVariantMap negative{{number, -1}, {number2, -2147483647 - 1}};
    const QVariantMap unknown{{QStringLiteral("onerr"), QStringLiteral("succeed")},
                              {QStringLiteral("{NUMBER}"), 7},
                              {QStringLiteral("even_{number}_account"), true},
                              {QString(), 1}};

    row("some options",
        {{number, 5}, {number2, 900}, {flag, true}},
        "auth required {module} {number}=3 onerr=fail {number2}=10",
        "auth required {module} onerr=fail {flag} {number}=5 {number2}=900");
    options("options that are not asked for go", "{flag} {number}=10 onerr=fail {number2}=-2", " onerr=fail");
    row("flags that are false", {{flag, false}, {flag2, false}}, "{module} {flag} {flag2}", "{module}");
    row("zero is written", {{number, 0}}, "{module} {number}=3", "{module} {number}=0");
    row("negative numbers", negative, "{module}", "{module} {number}=-1 {number2}=-2147483648");
    row("unknown arguments", unknown, "{module} onerr=fail", "{module} onerr=fail");
    options("names without value", "{number} {number2}=", "");
    options("names with a text", "{number}=x {number2}=-", "");
    options("names with two equals signs", "{number}==7", "");
    options("flags with values", "{flag}=1 {flag2}= {flag}=x", "");
    options("number without equals sign stays", "{number}3", " {number}3");
    options("longer names stay", "even_{number}_a x{number}=4 {flag}s", " even_{number}_a x{number}=4 {flag}s");
    options("two names in one option stay", "{flag},{flag2} {number},a=3", " {flag},{flag2} {number},a=3");
    options("name as a value stays", "x={number}", " x={number}");
    options("values without name stay", "=5 = == ===", " =5 = == ===");
    options("equals sign before a name", "={number} =={number2}=3", "");
    options("names in capitals stay", "{NUMBER}=3 {FLAG}", " {NUMBER}=3 {FLAG}");
    options("same option again", "a a", " a a");
    options("other white space", "a\rb\fc\vd", " a b c d");
    row("indentation goes, other blanks before the module stay",
        five,
        "\t  required \t\t{module}\ta  b\t",
        "required \t\t{module} a b {number}=5");
    row("control field in brackets",
        {},
        "[success=end default=ignore]\t{module}",
        "[success=end default=ignore]\t{module}");
    row("carriage return goes", five, "required {module} {number}=3\r", "required {module} {number}=5");
    row("white space beyond ASCII", five, "{module}\u00a0{number}=3\u2003a", "{module} a {number}=5");
    row("comment stays behind one tab",
        five,
        "{module} {number}=3   # {number}=4  {flag}  ",
        "{module} {number}=5\t# {number}=4  {flag}");
    row("comment that touches an option", five, "{module} {number}=3#4", "{module} {number}=5\t#4");
    row("comment with carriage return", five, "{module} # a # b\r", "{module} {number}=5\t# a # b");
    row("comment of invalid text", five, "{module} # \xff\xc3", "{module} {number}=5\t# \xff\xc3");
    row("empty comment", five, "{module} #", "{module} {number}=5\t#");
    row("invalid text is replaced", five, "\xff {module} a\xff", "\ufffd {module} a\ufffd {number}=5");
    options("text beyond ASCII", "na\u00efve=\U0001f511", " na\u00efve=\U0001f511");
    row("options before the module stay",
        five,
        "{number}=3 {flag} {module} {number}=4",
        "{number}=3 {flag} {module} {number}=5");
    options(
        "module twice: everything up to the last stays", "{number}=1 {module} {number}=2 a", " {number}=1 {module} a");
    row("text that touches the module goes", five, "{module}.old {number}=3 a", "{module} {number}=5");
    row("text that touches the module, then the module",
        five,
        "{module}.old {number}=3 {module} {number}=4 a",
        "{module}.old {number}=3 {module} a {number}=5");
}

void PamUpdateTasksTest::rebuildsLineOfProfile()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeProfile(*policy, head + line + "\nend\n");
    QCOMPARE(outcomeOfUpdate(*policy, arguments), success(*policy, QString(), arguments));
    QCOMPARE(system.profiles(), profileOf(*policy, head + expected + "\nend\n"));
}

void PamUpdateTasksTest::writesArgumentsOfEveryType_data()
{
    addCases(argumentCases());
}

void PamUpdateTasksTest::writesArgumentsOfEveryType()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(int, index);
    const ArgumentCase argument = argumentCases().at(index);
    const PamSystem system;
    writeProfile(*policy);
    writeStack(*policy, "stack required {module} {number}=99 onerr=fail\n");
    const QVariantMap arguments = policy->values(argument.value, argument.value);

    QCOMPARE(outcomeOfUpdate(*policy, arguments), success(*policy, QString(), arguments));

    const QByteArray asInt = QByteArray::number(argument.asInt);
    QCOMPARE(
        system.profiles(),
        profileOf(*policy, head + "required {module} onerr=fail" + policy->options(argument.asBool, asInt) + '\n'));
    QCOMPARE(system.stacks(), stackOf(*policy, "stack required {module}  onerr=fail {number}=" + asInt + '\n'));
}

void PamUpdateTasksTest::writesEachArgument()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    // every option is there already, in another order, with others between
    QByteArrayList old = policy->options(true, "3").trimmed().split(' ');
    std::reverse(old.begin(), old.end());
    const QByteArray others = QByteArray(" a").repeated(old.size() - 1);
    const auto written = [&](const QVariantMap &arguments) {
        writeProfile(*policy, "{module} " + old.join(" a ") + '\n');
        const bool succeeds = outcomeOfUpdate(*policy, arguments) == success(*policy, QString(), arguments);
        return succeeds ? system.profiles() : FolderContent();
    };
    const auto expected = [&](const QByteArray &options) {
        return profileOf(*policy, "{module}" + others + options + '\n');
    };
    QCOMPARE(written({}), expected(""));
    QCOMPARE(written(policy->values(true, 7)), expected(policy->options(true, "7")));
    for (const QString &name : policy->flags) {
        QCOMPARE(written({{name, 1}}), expected(' ' + name.toLatin1()));
    }
    for (const QString &name : policy->numbers) {
        QCOMPARE(written({{name, 1}}), expected(' ' + name.toLatin1() + "=1"));
    }
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall).repeated(2 + old.size()));
}

void PamUpdateTasksTest::keepsRestOfProfile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected"); // with 5 as the number

    const auto row = [](const char *name, const QByteArray &content, const QByteArray &expected) {
        QTest::newRow(name) << content << expected;
    };
    const QByteArray oldLine("\t{module} {number}=3\n");
    const QByteArray newLine("{module} {number}=5\n");
    const QByteArray megabyte(1 << 20, 'x');
    const QByteArray options = QByteArray(" onerr=fail").repeated(100000);
    row("other lines as they are",
        " \tName:  x \n\n  # note \nAuth:\r\n" + oldLine + "\r\n\t[default=die]\tpam_unix.so {number}=3 \n\t",
        " \tName:  x \n\n  # note \nAuth:\r\n" + newLine + "\r\n\t[default=die]\tpam_unix.so {number}=3 \n\t");
    row("no line end behind another line", oldLine + "end", newLine + "end");
    row("no line end behind the module's line", "a\n{module} {number}=3", "a\n{module} {number}=5\n");
    row("commented-out lines",
        "#{module} {number}=1\n" + oldLine + " # {module} {number}=1\n",
        "#{module} {number}=1\n" + newLine + " # {module} {number}=1\n");
    row("NUL bytes of other lines",
        QByteArray("a\0b\n\0\n", 6) + oldLine + QByteArray("\0 {module}\n", 11),
        QByteArray("a\0b\n\0\n", 6) + newLine + QByteArray("\0 {module}\n", 11));
    row("NUL byte ends the module's line", QByteArray("{module} a\0b c\nd\n", 17), "{module} a {number}=5\nd\n");
    row("invalid text of other lines", "\xff\xfe\n" + oldLine + "# \xc3\n", "\xff\xfe\n" + newLine + "# \xc3\n");
    row("several lines of the module",
        head + oldLine + "Auth-Initial:\n" + oldLine,
        head + newLine + "Auth-Initial:\n" + newLine);
    row("other line of a megabyte", megabyte + '\n' + oldLine, megabyte + '\n' + newLine);
    row("option of a megabyte", "{module} " + megabyte + " {number}=3\n", "{module} " + megabyte + " {number}=5\n");
    row("module at the end of a megabyte", megabyte + "{module}\n", megabyte + "{module} {number}=5\n");
    row("hundred thousand options", "{module}" + options + " {number}=3\n", "{module}" + options + " {number}=5\n");
    row("ten thousand lines of the module", oldLine.repeated(10000), newLine.repeated(10000));
}

void PamUpdateTasksTest::keepsRestOfProfile()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeProfile(*policy, content);
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));
    QCOMPARE(system.profiles().keys(), QStringList{policy->profileName});
    QVERIFY2(contentOf(policy->profile()) == policy->filled(expected),
             contentOf(policy->profile()).left(1000).constData());
}

void PamUpdateTasksTest::failsWithoutModule_data()
{
    QTest::addColumn<QByteArray>("content");

    const auto row = [](const char *name, const QByteArray &content) {
        QTest::newRow(name) << content;
    };
    row("empty profile", "");
    row("other module", "\trequired pam_unix.so {number}=3\n");
    row("module of a similar name", "\trequired {base}2.so {number}=3\n\t{base}x.so\n");
    row("any character for the dot", "\trequired {base}_so {number}=3\n");
    row("module in capitals", "\trequired {MODULE} {number}=3\n");
    row("commented-out line", "#\trequired {module} {number}=3\r\n");
    row("module behind a NUL byte", QByteArray("\0{module} {number}=3", 20));
}

void PamUpdateTasksTest::failsWithoutModule()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QByteArray, content);
    const PamSystem system;
    writeProfile(*policy, content);
    writeStack(*policy);
    // with a notice, which the failure replaces
    writeContent(temporary(*policy), "");
    const ScopedMount pinned = ScopedMount::pinned(temporary(*policy));
    const QByteArray source = policy->filled(QByteArray("\"%1\" not contain \"{base}\""));
    const RecordingTranslator translator;

    QCOMPARE(outcomeOfUpdate(*policy),
             failure(*policy, QStringLiteral("[%1]").arg(QString::fromLatin1(source).arg(policy->profile()))));

    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({policy->updateContext}));
    QCOMPARE(system.profiles(),
             profilesOf(*policy, {{QStringLiteral("%1"), content}, {QStringLiteral("%1.tmp"), content}}));
    QCOMPARE(system.stacks(), stackOf(*policy, oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamUpdateTasksTest::failsIfProfileCannotBeRewritten_data()
{
    addCases(diskFaults());
}

void PamUpdateTasksTest::failsIfProfileCannotBeRewritten()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(int, index);
    const DiskFault fault = diskFaults().at(index);
    const PamSystem system(fault.kilobytes);
    writeBoth(*policy);
    std::vector<ScopedMount> mounts;
    fault.prepare(*policy, &mounts);

    QCOMPARE(outcomeOfUpdate(*policy),
             failure(*policy, QString(fault.message).replace(QLatin1String("%1"), policy->profile())));

    QCOMPARE(system.profiles(), profilesOf(*policy, fault.profiles));
    QCOMPARE(system.stacks(), stackOf(*policy, oldStack));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamUpdateTasksTest::failsIfToolFails_data()
{
    addCases(toolFaults());
}

void PamUpdateTasksTest::failsIfToolFails()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(int, index);
    const ToolFault fault = toolFaults().at(index);
    const PamSystem system;
    writeBoth(*policy);
    fault.prepare();
    QCOMPARE(outcomeOfUpdate(*policy),
             failure(*policy,
                     QLatin1String("Process: \"/usr/sbin/pam-auth-update --force --package\". ")
                         + QLatin1String(fault.message)));
    // the profile stays as rewritten
    QCOMPARE(system.profiles(), profileOf(*policy, newProfile));
    QCOMPARE(system.stacks(), stackOf(*policy, oldStack));
}

void PamUpdateTasksTest::translatesFaultsOfTool_data()
{
    QTest::addColumn<QByteArray>("script"); // empty for no tool at all
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const char *script, const char *source, const char *message) {
        QTest::newRow(name) << QByteArray(script) << QByteArray(source) << QString::fromLatin1(message);
    };
    row("not started",
        "",
        "Process: \"%1 %2\". Error: %3.\n\"Not started\"",
        "\n\t Process: \"/usr/sbin/pam-auth-update --force --package\". "
        "Error: execvp: No such file or directory.\n\"Not started\" \t\n");
    row("not finished",
        "kill -9 $$\n",
        "Process: \"%1 %2\". Error: %3.\n\"Not finished\"",
        "\n\t Process: \"/usr/sbin/pam-auth-update --force --package\". "
        "Error: \n\t Process crashed \t\n.\n\"Not finished\" \t\n");
    // just this message is trimmed, as a whole
    row("exit code",
        "echo ' broken' >&2\nexit 7\n",
        "Process: \"%1 %2\". Exit code: %3.\n\"%4\"",
        "Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 7.\n\" broken\n\"");
}

void PamUpdateTasksTest::translatesFaultsOfTool()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const PamSystem system;
    writeBoth(*policy);
    system.setToolScript(script);
    QVERIFY(!script.isEmpty() || QFile::remove(system.tool()));
    const SpacingTranslator translator;
    QCOMPARE(outcomeOfUpdate(*policy), failure(*policy, message));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({policy->updateContext}));
}

void PamUpdateTasksTest::keepsNoticesOfTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const char *script, const QString &message) {
        QTest::newRow(name) << QByteArray(script) << message;
    };
    row("nothing", "", QString());
    row("with line end", "echo warning >&2\n", QStringLiteral("warning\n"));
    row("without line end", "printf 'two\\nlines' >&2\n", QStringLiteral("two\nlines"));
    row("blanks around", "printf ' \\n warning \\n\\n' >&2\n", QStringLiteral(" \n warning \n\n"));
    row("only a line end", "echo >&2\n", QStringLiteral("\n"));
    row("placeholders", "printf '%s' '%1 %2' >&2\n", QStringLiteral("%1 %2"));
    row("text beyond ASCII", "printf 'na\\303\\257ve' >&2\n", QStringLiteral("na\u00efve"));
    row("invalid text", "printf 'a\\377b' >&2\n", QStringLiteral("a\ufffdb"));
    row("more than a pipe holds", "head -c 200000 /dev/zero | tr '\\000' x >&2\n", QString(200000, QLatin1Char('x')));
    row("standard output, more than a pipe holds", "echo output\nhead -c 1000000 /dev/zero\n", QString());
    row("no input", "test -z \"$(timeout 0.2 cat)\" || echo input >&2\n", QString());
}

void PamUpdateTasksTest::keepsNoticesOfTool()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    writeBoth(*policy);
    system.setToolScript(script);
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy, message));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
    QCOMPARE(system.profiles(), profileOf(*policy, newProfile));
    QCOMPARE(system.stacks(), stackOf(*policy, newStack));
}

void PamUpdateTasksTest::correctsStack_data()
{
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");

    const auto row =
        [](const char *name, const QVariantMap &arguments, const QByteArray &content, const QByteArray &expected) {
            QTest::newRow(name) << arguments << content << expected;
        };
    // a line that names the module, and what stands behind it before and after
    const auto line = [&row](const char *name, const char *options, const char *expected) {
        row(name, five, QByteArray("{module} ") + options, QByteArray("{module} ") + expected);
    };
    const auto same = [&row](const char *name, const QByteArray &content, int wanted = 5) {
        row(name, {{number, wanted}}, content, content);
    };
    const auto writes = [&row](const char *name, int wanted, const QByteArray &written) {
        row(name, {{number, wanted}}, "{module} {number}=3\n", "{module}  {number}=" + written + '\n');
    };
    const auto withNuls = [](QByteArray text) {
        return text.replace('|', '\0');
    };

    row("option inside: both blanks stay",
        five,
        "stack required {module} {number}=3 onerr=fail\n",
        "stack required {module}  onerr=fail {number}=5\n");
    line("option at the end: the blank before it stays", "a {number}=3", "a  {number}=5");
    row("option at the start", five, "{number}=3 {module}", " {module} {number}=5");
    row("option before the module", five, "stack {number}=3 {module} a", "stack  {module} a {number}=5");
    row("tabs stay", five, "\t{module}\t{number}=3\ta\t", "\t{module}\t\ta\t {number}=5");
    line("carriage return stays inside", "{number}=3\r", "\r {number}=5");
    row("lone carriage return ends no line", five, "{module}\r{number}=3\n", "{module}\r {number}=5\n");
    line("two options", "{number}=3 a {number}=4 b", " a  b {number}=5");
    line("two options in a row", "{number}=3 {number}=4", "  {number}=5");
    line("right option twice", "{number}=5 {number}=5", "  {number}=5");
    line("right option first", "{number}=5 a {number}=4", " a  {number}=5");
    line("right option last", "{number}=4 a {number}=5", " a  {number}=5");
    line("right option thrice", "{number}=5 {number}=5 {number}=5 b", "   b {number}=5");
    row("commented-out line", five, "# {module} {number}=3", "# {module}  {number}=5");
    line("option in a comment", "a # {number}=3 old", "a #  old {number}=5");
    row("module in a comment", five, "pam_unix.so {number}=3 # {module}", "pam_unix.so  # {module} {number}=5");
    row("module in a longer name", five, "x{module}x {number}=3", "x{module}x  {number}=5");
    line("zeros in front", "{number}=03", " {number}=5");
    line("number too large for an int counts as 0", "{number}=99999999999", " {number}=5");
    line("hyphen before the name is a boundary", "even-{number}=3", "even- {number}=5");
    line("comma before the name is a boundary", "a,{number}=3,b", "a,,b {number}=5");
    line("hyphen behind the number is a boundary", "{number}=3-4", "-4 {number}=5");
    line("dot behind the number is a boundary", "{number}=3.4", ".4 {number}=5");
    line("equals sign behind the number is a boundary", "{number}=3=4", "=4 {number}=5");
    line("letters beyond ASCII are boundaries", "\xc3\xa9{number}=3\xc3\xa9", "\xc3\xa9\xc3\xa9 {number}=5");
    line("text beyond ASCII stays",
         "na\xc3\xafve \xf0\x9f\x94\x91 {number}=3",
         "na\xc3\xafve \xf0\x9f\x94\x91  {number}=5");
    line("other options with boundaries inside stay",
         "x{number}=3 {number}=3x {number}=3 {number}=",
         "x{number}=3 {number}=3x  {number}= {number}=5");
    row("just the number is corrected",
        {{number, 5}, {number2, 7}, {flag, true}},
        "{module} {number2}=1 {number}=3 other=2\n",
        "{module} {number2}=1  other=2 {number}=5\n");
    row("no argument", {{number2, 1}}, "{module} {number}=5\n", "{module}  {number}=0\n");
    row("no argument and 0 in place", {}, "{module} {number}=0\n", "{module} {number}=0\n");
    writes("0", 0, "0");
    writes("negative number", -7, "-7");
    writes("thousands without separator", 1234567, "1234567");
    writes("greatest int", 2147483647, "2147483647");
    writes("least int", -2147483647 - 1, "-2147483648");

    row("empty lines", five, "\n\n{module} {number}=3\n\n\n", "\n\n{module}  {number}=5\n\n\n");
    row("several lines",
        five,
        "{module} {number}=5 a\n{module}\n{module} {number}=1\npam_unix.so {number}=1\n#{module} {number}=7 b",
        "{module} {number}=5 a\n{module}\n{module}  {number}=5\npam_unix.so {number}=1\n#{module}  b {number}=5");
    row("other lines as they are",
        five,
        "a\r\n  b  \t\n{module} {number}=3\r\nc\r\n\t",
        "a\r\n  b  \t\n{module} \r {number}=5\nc\r\n\t");
    row("NUL bytes",
        five,
        withNuls("a|b\n|\n{module} | {number}=3 c|d\ne|"),
        withNuls("a|b\n|\n{module} |  c|d {number}=5\ne|"));
    row("invalid text", five, "# caf\xe9\n{module} {number}=3\n", "# caf\xef\xbf\xbd\n{module}  {number}=5\n");
    row("ten thousand lines",
        five,
        QByteArray("{module} {number}=3 a\n").repeated(10000),
        QByteArray("{module}  a {number}=5\n").repeated(10000));
    const QByteArray options = QByteArray(" retry=3").repeated(1 << 17);
    row("line of a megabyte", five, "{module}" + options + " {number}=3\n", "{module}" + options + "  {number}=5\n");
    row("hundred thousand options",
        five,
        "{module}" + QByteArray(" {number}=5").repeated(100000),
        "{module}" + QByteArray(100000, ' ') + " {number}=5");

    same("empty file", "");
    same("only line ends", "\n\n");
    same("other modules", "pam_unix.so {number}=3\n{base}2.so {number}=3\npam_faillock.so {number}=3\n");
    same("no option", "stack required {module} a\n");
    same("right option", "stack required {module} a {number}=5 b\n");
    same("right option with zeros in front", "{module} {number}=005\n");
    same("zeros in front are no octal", "{module} {number}=010\n", 10);
    same("module on another line", "{module}\n{number}=3\n");
    same("module in capitals", "{MODULE} {number}=3\n");
    same("any character for the dot", "{base}_so {number}=3\n");
    same("option in capitals", "{module} {NUMBER}=3\n");
    same("letters before the name", "{module} x{number}=3\n");
    same("underscore before the name", "{module} even_{number}=3\n");
    same("digit before the name", "{module} 1{number}=3\n");
    same("letters behind the number", "{module} {number}=3x\n");
    same("underscore behind the number", "{module} {number}=3_\n");
    same("negative number in place", "{module} {number}=-3\n");
    same("no number", "{module} {number}= {number}\n");
    same("blank before the number", "{module} {number}= 3\n");
    same("no equals sign", "{module} {number}3 {number} 3\n");
    same("two equals signs", "{module} {number}==3\n");
    same("digits beyond ASCII", "{module} {number}=\xd9\xa3\n");
    same("number too large for an int where 0 is wanted", "{module} {number}=99999999999\n", 0);
    same("greatest int in place", "{module} {number}=2147483647\n", 2147483647);
    same("invalid text in a right stack", "\xff\xfe {module} {number}=5 \xc3\n");
    same("NUL bytes in a right stack", withNuls("a|b\n{module} {number}=5|\n"));
    same("carriage returns in a right stack", "{module} {number}=5\r\n");
}

void PamUpdateTasksTest::correctsStack()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const PamSystem system;
    writeProfile(*policy);
    writeStack(*policy, content);
    makeOld(policy->stack());
    const FileIdentity before = identityOf(policy->stack());
    // a file that is never corrected
    const QString other = QStringLiteral("common-other");
    const QByteArray otherContent = policy->filled(QByteArray("{module} {number}=3\n"));
    writeContent(PamSystem::stack(other), otherContent);

    QCOMPARE(outcomeOfUpdate(*policy, arguments), success(*policy, QString(), arguments));

    QVERIFY2(contentOf(policy->stack()) == policy->filled(expected), contentOf(policy->stack()).left(1000).constData());
    QCOMPARE(identityOf(policy->stack()).modified == before.modified, expected == content);
    QCOMPARE(identityOf(policy->stack()).inode, before.inode);
    QCOMPARE(contentOf(PamSystem::stack(other)), otherContent);
    QCOMPARE(system.stacks().size(), 2);
}

void PamUpdateTasksTest::keepsInodesModesAndOwners()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    writeBoth(*policy);
    const QStringList paths{policy->profile(), policy->stack()};
    QVector<quint64> inodes;
    for (const QString &path : paths) {
        QCOMPARE(chown(qPrintable(path), 1234, 4321), 0);
        QCOMPARE(chmod(qPrintable(path), 0640), 0);
        inodes += identityOf(path).inode;
    }

    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));

    QCOMPARE(system.profiles(), profileOf(*policy, newProfile));
    QCOMPARE(system.stacks(), stackOf(*policy, newStack));
    for (const QString &path : paths) {
        const FileIdentity after = identityOf(path);
        QCOMPARE(after.inode, inodes.takeFirst());
        QCOMPARE(after.mode, quint32(S_IFREG | 0640));
        QCOMPARE(after.owner, 1234U);
        QCOMPARE(after.group, 4321U);
    }
}

void PamUpdateTasksTest::acceptsWhatWasRead()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    const QByteArray line("stack required {module} onerr=fail {flag} {flag2} {number}=3 {number2}=600\n");
    writeProfile(*policy, line);
    writeStack(*policy, line);
    const auto read = policy->newReadTask();
    read->run();
    QCOMPARE(read->values()->size(), 5);

    QCOMPARE(outcomeOfUpdate(*policy, *read->values()), success(*policy, QString(), *read->values()));

    QCOMPARE(system.profiles(), profileOf(*policy, line));
    QCOMPARE(system.stacks(), stackOf(*policy, line));
}

void PamUpdateTasksTest::takesStackForUtf8WhateverTheLocale()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    // unlike the profile
    writeProfile(*policy, "\xfc {module} x=\xe9\n");
    writeStack(*policy, "# caf\xc3\xa9, caf\xe9\n{module} {number}=4\n");
    const ScopedLatin1 locale;

    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));

    QCOMPARE(system.profiles(), profileOf(*policy, "\xfc {module} x=\xe9 {number}=5\n"));
    QCOMPARE(system.stacks(), stackOf(*policy, "# caf\xc3\xa9, caf\xef\xbf\xbd\n{module}  {number}=5\n"));
}

void PamUpdateTasksTest::losesWhatDoesNotFitOnDisk()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    // a page for the profile and one for the temporary file, one for the stack: writes are not checked
    const PamSystem system(8, 4);
    const QByteArray line = policy->filled(QByteArray("{module} {number}=3\n"));
    const QByteArray rest = QByteArray(4095 - line.size(), 'x') + '\n';
    writeProfile(*policy, line + rest);
    writeStack(*policy, line + rest);
    const QVariantMap arguments{{number, 12345}};

    QCOMPARE(outcomeOfUpdate(*policy, arguments), success(*policy, QString(), arguments));

    const QByteArray newLine = policy->filled(QByteArray("{module} {number}=12345\n"));
    QCOMPARE(system.profiles(), profileOf(*policy, (newLine + rest).left(4096)));
    QCOMPARE(system.stacks(), stackOf(*policy, (QByteArray(newLine).replace(" ", "  ") + rest).left(4096)));
}

void PamUpdateTasksTest::replacesLeftoverTemporaryFile()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    writeBoth(*policy);
    writeContent(temporary(*policy), QByteArray(10000, 'x'));
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));
    QCOMPARE(system.profiles(), profileOf(*policy, newProfile));
}

void PamUpdateTasksTest::reportsTemporaryFileThatStays()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    const QString notice = QStringLiteral("\"%1\" error 9\nDevice or resource busy").arg(temporary(*policy));
    writeContent(temporary(*policy), "left over\n");
    const ScopedMount pinned = ScopedMount::pinned(temporary(*policy));

    writeBoth(*policy);
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy, notice));
    QCOMPARE(system.profiles(),
             profilesOf(*policy, {{QStringLiteral("%1"), newProfile}, {QStringLiteral("%1.tmp"), newProfile}}));
    QCOMPARE(system.stacks(), stackOf(*policy, newStack));

    writeBoth(*policy);
    system.setToolScript("printf ' warning \\n' >&2\n");
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy, notice + QStringLiteral("\n warning \n")));
    QCOMPARE(system.stacks(), stackOf(*policy, newStack));

    // a failure of the tool says nothing of it
    system.setToolScript("exit 3\n");
    QCOMPARE(outcomeOfUpdate(*policy),
             failure(*policy,
                     QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". Exit code: 3.\n\"\"")));
}

void PamUpdateTasksTest::correctsStackThatToolMade()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    writeBoth(*policy);
    system.setToolScript("cat " + policy->profile().toLatin1() + " > /run/tmp/seen\n"
                         + policy->filled(QByteArray("echo '{module} a {number}=8 {number}=5' > "))
                         + policy->stack().toLatin1() + '\n');
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), policy->filled(newProfile));
    QCOMPARE(system.stacks(), stackOf(*policy, "{module} a   {number}=5\n"));
}

void PamUpdateTasksTest::writesStackThroughSymbolicLink()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    writeProfile(*policy);
    const QString target = QStringLiteral("/run/tmp/target");
    writeContent(target, policy->filled(oldStack));
    QVERIFY(QFile::link(target, policy->stack()));
    QCOMPARE(outcomeOfUpdate(*policy), success(*policy));
    QVERIFY(QFileInfo(policy->stack()).isSymLink());
    QCOMPARE(contentOf(target), policy->filled(newStack));
}

void PamUpdateTasksTest::ignoresStackThatCannotBeCorrected()
{
    QFETCH_GLOBAL(const PamPolicyCase *, policy);
    const PamSystem system;
    system.setToolScript("echo warning >&2\n");
    const QStringList succeeded = success(*policy, QStringLiteral("warning\n"));

    writeProfile(*policy);
    QCOMPARE(outcomeOfUpdate(*policy), succeeded);
    QCOMPARE(system.stacks(), FolderContent());

    QVERIFY(QDir().mkdir(policy->stack()));
    QCOMPARE(outcomeOfUpdate(*policy), succeeded);
    QCOMPARE(system.stacks(), FolderContent({{policy->stackName + QLatin1Char('/'), QByteArray()}}));
    QVERIFY(QDir().rmdir(policy->stack()));

    writeStack(*policy);
    const ScopedMount readOnly = ScopedMount::readOnly(policy->stack());
    QCOMPARE(outcomeOfUpdate(*policy), succeeded);
    QCOMPARE(system.stacks(), stackOf(*policy, oldStack));
    QCOMPARE(system.profiles(), profileOf(*policy, newProfile));
}

QTEST_GUILESS_MAIN(PamUpdateTasksTest)
#include "PamUpdateTasksTest.moc"
