// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the tasks that write the policies of PAM have in common, tried with each of them.

#include "tests/policies/pam/PamCases.h"
#include "tests/policies/pam/PamPolicyCases.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
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

void writeProfile(const QByteArray &content = oldProfile)
{
    writeContent(testedPolicy().profile(), testedPolicy().filled(content));
}

void writeStack(const QByteArray &content = oldStack)
{
    writeContent(testedPolicy().stack(), testedPolicy().filled(content));
}

QStringList outcomeOfUpdate(const QVariantMap &arguments = five)
{
    return outcomeOfRun(testedPolicy().newUpdateTask(testedPolicy().filled(arguments)).get());
}

QStringList success(const QString &notice = QString(), const QVariantMap &arguments = five)
{
    return expectedOutcome(TaskState::Succeeded, notice, testedPolicy().filled(arguments));
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, testedPolicy().filled(five));
}

/// "%1" in the names of files is the profile's name.
FolderContent profilesOf(const FolderContent &files)
{
    FolderContent content;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        content.insert(QString(file.key()).replace(QLatin1String("%1"), testedPolicy().profileName),
                       testedPolicy().filled(file.value()));
    }
    return content;
}

FolderContent profileOf(const QByteArray &content)
{
    return profilesOf({{QStringLiteral("%1"), content}});
}

FolderContent stackOf(const QByteArray &content)
{
    return {{testedPolicy().stackName, testedPolicy().filled(content)}};
}

QString folderOf(const QString &path)
{
    return QFileInfo(path).path();
}

QString temporary()
{
    return testedPolicy().profile() + QLatin1String(".tmp");
}

QString copyFailure(const char *paths, const char *error)
{
    return QStringLiteral("Process: \"cp --force --preserve=mode,ownership ") + QLatin1String(paths)
        + QStringLiteral("\". ") + failureOfCp(error);
}

/// A way in which a profile can't be rewritten, and what this leaves.
struct DiskFault {
    const char *name;
    void (*prepare)(std::vector<ScopedMount> *mounts);
    /// "%1" is the profile's path.
    QString message;
    FolderContent profiles;
};

const QVector<DiskFault> &diskFaults()
{
    using Mounts = std::vector<ScopedMount>;
    const QString profile = QStringLiteral("%1");
    const QString copy = QStringLiteral("%1.tmp");
    // clang-format off
    static const QVector<DiskFault> faults{
        {"profile is a folder", [](Mounts *) {
             QFile::remove(testedPolicy().profile());
             QDir().mkdir(testedPolicy().profile());
         },
         copyFailure("%1 %1.tmp", "-r not specified; omitting directory '%1'"),
         {{QStringLiteral("%1/"), QByteArray()}}},
        {"temporary file can't be made", [](Mounts *mounts) {
             writeContent(temporary(), "left over\n");
             mounts->push_back(ScopedMount::readOnly(temporary()));
         },
         copyFailure("%1 %1.tmp", "cannot remove '%1.tmp': Device or resource busy"),
         {{profile, oldProfile}, {copy, "left over\n"}}},
        {"temporary file is a folder", [](Mounts *) { QDir().mkdir(temporary()); },
         QStringLiteral("\"%1.tmp\" error 5\nIs a directory"),
         {{profile, oldProfile}, {QStringLiteral("%1.tmp/"), QByteArray()}, {QStringLiteral("%1.tmp/%1"), oldProfile}}},
        {"profile is read-only", [](Mounts *mounts) {
             mounts->push_back(ScopedMount::readOnly(testedPolicy().profile()));
         },
         copyFailure("%1.tmp %1", "cannot remove '%1': Device or resource busy"),
         {{profile, oldProfile}, {copy, newProfile}}},
        {"disk is full", [](Mounts *mounts) {
             // one page: the profile's own
             mounts->push_back(ScopedMount::smallDisk(folderOf(testedPolicy().profile()), 4));
             writeProfile();
         },
         copyFailure("%1 %1.tmp", "error copying '%1' to '%1.tmp': No space left on device"),
         {{profile, oldProfile}, {copy, QByteArray()}}},
    };
    // clang-format on
    return faults;
}

/// Adds a row for each of @p cases, with its index.
template<typename Case>
void addCases(const QVector<Case> &cases)
{
    const Rows<int> row("index");
    for (int i = 0; i < cases.size(); ++i) {
        row(cases.at(i).name, i);
    }
}

const QString toolCommand = QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". ");

using UpdateRows = Rows<QVariantMap, QByteArray, QByteArray>;
}

class PamUpdateTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void init();

    void handlerRebuildsLines();
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

private:
    std::unique_ptr<PamSystem> m_system;
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

void PamUpdateTasksTest::init()
{
    m_system.reset(); // of the function before
    m_system = std::make_unique<PamSystem>();
    writeProfile();
    writeStack();
}

void PamUpdateTasksTest::handlerRebuildsLines()
{
    const QVariantMap arguments = testedPolicy().filled(five);
    const auto handler = testedPolicy().newRewriter(&arguments);
    QCOMPARE(handler->regExp(), QRegExp(testedPolicy().patterns.at(1)));

    QVERIFY(handler->matches(testedPolicy().filled("\tauth {module} a {number}=3 ")));
    QVERIFY(!handler->handleLine(nullptr));
    QVERIFY(!handler->found());

    QByteArray line = testedPolicy().filled("\tauth {module} a {number}=3 # b\r\n");
    QVERIFY(handler->handleLine(&line));
    QCOMPARE(line, testedPolicy().filled("auth {module} a {number}=5"));
    QVERIFY(handler->found());
    QByteArray tail("untouched");
    QVERIFY(!handler->appendLines(&tail));
    QCOMPARE(tail, QByteArray("untouched"));
}

void PamUpdateTasksTest::rebuildsLineOfProfile_data()
{
    const UpdateRows row("arguments", "line", "expected");
    const auto options = [&row](const char *name, const char *before, const char *after) {
        row(name, five, QByteArray("{module} ") + before, QByteArray("{module}") + after + " {number}=5");
    };
    const QVariantMap negative{{number, -1}, {number2, -2147483647 - 1}};
    const QVariantMap unknown{{QStringLiteral("onerr"), QStringLiteral("succeed")},
                              {QStringLiteral("{NUMBER}"), 7},
                              {QStringLiteral("even_{number}_account"), true},
                              {QString(), 1}};

    // clang-format off
    row("some options", {{number, 5}, {number2, 900}, {flag, true}},
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
    row("indentation goes, other blanks before the module stay", five, "\t  required \t\t{module}\ta  b\t",
        "required \t\t{module} a b {number}=5");
    row("control field in brackets", {}, "[success=end default=ignore]\t{module}",
        "[success=end default=ignore]\t{module}");
    row("carriage return goes", five, "required {module} {number}=3\r", "required {module} {number}=5");
    row("white space beyond ASCII", five, "{module}\u00a0{number}=3\u2003a", "{module} a {number}=5");
    row("comment stays behind one tab", five, "{module} {number}=3   # {number}=4  {flag}  ",
        "{module} {number}=5\t# {number}=4  {flag}");
    row("comment that touches an option", five, "{module} {number}=3#4", "{module} {number}=5\t#4");
    row("comment with carriage return", five, "{module} # a # b\r", "{module} {number}=5\t# a # b");
    row("comment of invalid text", five, "{module} # \xff\xc3", "{module} {number}=5\t# \xff\xc3");
    row("empty comment", five, "{module} #", "{module} {number}=5\t#");
    row("invalid text is replaced", five, "\xff {module} a\xff", "\ufffd {module} a\ufffd {number}=5");
    options("text beyond ASCII", "na\u00efve=\U0001f511", " na\u00efve=\U0001f511");
    row("options before the module stay", five, "{number}=3 {flag} {module} {number}=4",
        "{number}=3 {flag} {module} {number}=5");
    options("module twice: everything up to the last stays", "{number}=1 {module} {number}=2 a",
        " {number}=1 {module} a");
    row("text that touches the module goes", five, "{module}.old {number}=3 a", "{module} {number}=5");
    row("text that touches the module, then the module", five, "{module}.old {number}=3 {module} {number}=4 a",
        "{module}.old {number}=3 {module} a {number}=5");
    // clang-format on
}

void PamUpdateTasksTest::rebuildsLineOfProfile()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    writeProfile(head + line + "\nend\n");
    QCOMPARE(outcomeOfUpdate(arguments), success(QString(), arguments));
    QCOMPARE(PamSystem::profiles(), profileOf(head + expected + "\nend\n"));
}

void PamUpdateTasksTest::writesArgumentsOfEveryType_data()
{
    addCases(argumentCases());
}

void PamUpdateTasksTest::writesArgumentsOfEveryType()
{
    QFETCH(int, index);
    const ArgumentCase argument = argumentCases().at(index);
    writeStack("stack required {module} {number}=99 onerr=fail\n");
    const QVariantMap arguments = testedPolicy().values(argument.value, argument.value);

    QCOMPARE(outcomeOfUpdate(arguments), success(QString(), arguments));

    const QByteArray asInt = QByteArray::number(argument.asInt);
    QCOMPARE(PamSystem::profiles(),
             profileOf(head + "required {module} onerr=fail" + testedPolicy().options(argument.asBool, asInt) + '\n'));
    QCOMPARE(PamSystem::stacks(), stackOf("stack required {module}  onerr=fail {number}=" + asInt + '\n'));
}

void PamUpdateTasksTest::writesEachArgument()
{
    // every option is there already, in another order, with others between
    QByteArrayList old = testedPolicy().options(true, "3").trimmed().split(' ');
    std::reverse(old.begin(), old.end());
    const QByteArray others = QByteArray(" a").repeated(old.size() - 1);
    const auto written = [&](const QVariantMap &arguments) {
        writeProfile("{module} " + old.join(" a ") + '\n');
        const bool succeeds = outcomeOfUpdate(arguments) == success(QString(), arguments);
        return succeeds ? PamSystem::profiles() : FolderContent();
    };
    const auto expected = [&](const QByteArray &options) {
        return profileOf("{module}" + others + options + '\n');
    };
    QCOMPARE(written({}), expected(""));
    QCOMPARE(written(testedPolicy().values(true, 7)), expected(testedPolicy().options(true, "7")));
    for (const QString &name : testedPolicy().flags) {
        QCOMPARE(written({{name, 1}}), expected(' ' + name.toLatin1()));
    }
    for (const QString &name : testedPolicy().numbers) {
        QCOMPARE(written({{name, 1}}), expected(' ' + name.toLatin1() + "=1"));
    }
    QCOMPARE(PamSystem::toolCalls(), QByteArray(rightToolCall).repeated(2 + old.size()));
}

void PamUpdateTasksTest::keepsRestOfProfile_data()
{
    // expected with 5 as the number
    const Rows<QByteArray, QByteArray> row("content", "expected");
    const QByteArray oldLine("\t{module} {number}=3\n");
    const QByteArray newLine("{module} {number}=5\n");
    const QByteArray megabyte(1 << 20, 'x');
    const QByteArray options = QByteArray(" onerr=fail").repeated(100000);
    // clang-format off
    row("other lines as they are",
        " \tName:  x \n\n  # note \nAuth:\r\n" + oldLine + "\r\n\t[default=die]\tpam_unix.so {number}=3 \n\t",
        " \tName:  x \n\n  # note \nAuth:\r\n" + newLine + "\r\n\t[default=die]\tpam_unix.so {number}=3 \n\t");
    row("no line end behind another line", oldLine + "end", newLine + "end");
    row("no line end behind the module's line", "a\n{module} {number}=3", "a\n{module} {number}=5\n");
    row("commented-out lines", "#{module} {number}=1\n" + oldLine + " # {module} {number}=1\n",
        "#{module} {number}=1\n" + newLine + " # {module} {number}=1\n");
    row("NUL bytes of other lines", QByteArray("a\0b\n\0\n", 6) + oldLine + QByteArray("\0 {module}\n", 11),
        QByteArray("a\0b\n\0\n", 6) + newLine + QByteArray("\0 {module}\n", 11));
    row("NUL byte ends the module's line", QByteArray("{module} a\0b c\nd\n", 17), "{module} a {number}=5\nd\n");
    row("invalid text of other lines", "\xff\xfe\n" + oldLine + "# \xc3\n", "\xff\xfe\n" + newLine + "# \xc3\n");
    row("several lines of the module", head + oldLine + "Auth-Initial:\n" + oldLine,
        head + newLine + "Auth-Initial:\n" + newLine);
    row("other line of a megabyte", megabyte + '\n' + oldLine, megabyte + '\n' + newLine);
    row("option of a megabyte", "{module} " + megabyte + " {number}=3\n", "{module} " + megabyte + " {number}=5\n");
    row("module at the end of a megabyte", megabyte + "{module}\n", megabyte + "{module} {number}=5\n");
    row("hundred thousand options", "{module}" + options + " {number}=3\n", "{module}" + options + " {number}=5\n");
    row("ten thousand lines of the module", oldLine.repeated(10000), newLine.repeated(10000));
    // clang-format on
}

void PamUpdateTasksTest::keepsRestOfProfile()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    writeProfile(content);
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(PamSystem::profiles().keys(), QStringList{testedPolicy().profileName});
    QVERIFY2(contentOf(testedPolicy().profile()) == testedPolicy().filled(expected),
             contentOf(testedPolicy().profile()).left(1000).constData());
}

void PamUpdateTasksTest::failsWithoutModule_data()
{
    const Rows<QByteArray> row("content");
    // clang-format off
    row("empty profile", "");
    row("other module", "\trequired pam_unix.so {number}=3\n");
    row("module of a similar name", "\trequired {base}2.so {number}=3\n\t{base}x.so\n");
    row("any character for the dot", "\trequired {base}_so {number}=3\n");
    row("module in capitals", "\trequired {MODULE} {number}=3\n");
    row("commented-out line", "#\trequired {module} {number}=3\r\n");
    row("module behind a NUL byte", QByteArray("\0{module} {number}=3", 20));
    // clang-format on
}

void PamUpdateTasksTest::failsWithoutModule()
{
    QFETCH(QByteArray, content);
    writeProfile(content);
    // with a notice, which the failure replaces
    writeContent(temporary(), "");
    const ScopedMount pinned = ScopedMount::pinned(temporary());
    const QByteArray source = testedPolicy().filled("\"%1\" not contain \"{base}\"");
    const RecordingTranslator translator;

    QCOMPARE(outcomeOfUpdate(),
             failure(QStringLiteral("[%1]").arg(QString::fromLatin1(source).arg(testedPolicy().profile()))));

    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({testedPolicy().updateContext}));
    QCOMPARE(PamSystem::profiles(), profilesOf({{QStringLiteral("%1"), content}, {QStringLiteral("%1.tmp"), content}}));
    QCOMPARE(PamSystem::stacks(), stackOf(oldStack));
    QCOMPARE(PamSystem::toolCalls(), QByteArray());
}

void PamUpdateTasksTest::failsIfProfileCannotBeRewritten_data()
{
    addCases(diskFaults());
}

void PamUpdateTasksTest::failsIfProfileCannotBeRewritten()
{
    QFETCH(int, index);
    const DiskFault fault = diskFaults().at(index);
    std::vector<ScopedMount> mounts;
    fault.prepare(&mounts);

    QCOMPARE(outcomeOfUpdate(), failure(QString(fault.message).replace(QLatin1String("%1"), testedPolicy().profile())));

    QCOMPARE(PamSystem::profiles(), profilesOf(fault.profiles));
    QCOMPARE(PamSystem::stacks(), stackOf(oldStack));
    QCOMPARE(PamSystem::toolCalls(), QByteArray());
}

void PamUpdateTasksTest::failsIfToolFails_data()
{
    addCases(toolFaults());
}

void PamUpdateTasksTest::failsIfToolFails()
{
    QFETCH(int, index);
    const ToolFault fault = toolFaults().at(index);
    fault.prepare();
    QString message = toolCommand + QLatin1String(fault.message);
    QCOMPARE(outcomeOfUpdate(), failure(message));
    // the profile stays as rewritten
    QCOMPARE(PamSystem::profiles(), profileOf(newProfile));
    QCOMPARE(PamSystem::stacks(), stackOf(oldStack));

    const SpacingTranslator translator;
    QByteArray source = "Process: \"%1 %2\". Exit code: %3.\n\"%4\"";
    // this message alone is trimmed, as a whole
    if (!message.contains(QLatin1String("Exit code"))) {
        source = "Process: \"%1 %2\". Error: %3.\n" + message.section(QLatin1Char('\n'), 1).toLatin1();
        message.replace(QLatin1String("Process crashed"), QLatin1String("\n\t Process crashed \t\n"));
        message = QLatin1String("\n\t ") + message + QLatin1String(" \t\n");
    }
    QCOMPARE(outcomeOfUpdate(), failure(message));
    QCOMPARE(translator.contextsOf(source), QList<QByteArray>({testedPolicy().updateContext}));
}

void PamUpdateTasksTest::keepsNoticesOfTool_data()
{
    const Rows<QByteArray, RowText> row("script", "message");
    // clang-format off
    row("nothing", "", QString());
    row("with line end", "echo warning >&2\n", "warning\n");
    row("without line end", "printf 'two\\nlines' >&2\n", "two\nlines");
    row("blanks around", "printf ' \\n warning \\n\\n' >&2\n", " \n warning \n\n");
    row("only a line end", "echo >&2\n", "\n");
    row("placeholders", "printf '%s' '%1 %2' >&2\n", "%1 %2");
    row("text beyond ASCII", "printf 'na\\303\\257ve' >&2\n", "na\u00efve");
    row("invalid text", "printf 'a\\377b' >&2\n", "a\ufffdb");
    row("more behind a NUL byte", "printf 'a\\000b' >&2\n", QString::fromLatin1("a\0b", 3));
    row("more than a pipe holds", "head -c 200000 /dev/zero | tr '\\000' x >&2\n", QString(200000, QLatin1Char('x')));
    row("standard output, more than a pipe holds", "echo output\nhead -c 1000000 /dev/zero\n", QString());
    row("no input", "test -z \"$(timeout 0.2 cat)\" || echo input >&2\n", QString());
    // clang-format on
}

void PamUpdateTasksTest::keepsNoticesOfTool()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    PamSystem::setToolScript(script);
    QCOMPARE(outcomeOfUpdate(), success(message));
    QCOMPARE(PamSystem::toolCalls(), QByteArray(rightToolCall));
    QCOMPARE(PamSystem::profiles(), profileOf(newProfile));
    QCOMPARE(PamSystem::stacks(), stackOf(newStack));
}

void PamUpdateTasksTest::correctsStack_data()
{
    const UpdateRows row("arguments", "content", "expected");
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

    // clang-format off
    row("option inside: both blanks stay", five, "stack required {module} {number}=3 onerr=fail\n",
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
    line("text beyond ASCII stays", "na\xc3\xafve \xf0\x9f\x94\x91 {number}=3",
        "na\xc3\xafve \xf0\x9f\x94\x91  {number}=5");
    line("other options with boundaries inside stay", "x{number}=3 {number}=3x {number}=3 {number}=",
        "x{number}=3 {number}=3x  {number}= {number}=5");
    row("just the number is corrected", {{number, 5}, {number2, 7}, {flag, true}},
        "{module} {number2}=1 {number}=3 other=2\n", "{module} {number2}=1  other=2 {number}=5\n");
    row("no argument", {{number2, 1}}, "{module} {number}=5\n", "{module}  {number}=0\n");
    row("no argument and 0 in place", {}, "{module} {number}=0\n", "{module} {number}=0\n");
    writes("0", 0, "0");
    writes("negative number", -7, "-7");
    writes("thousands without separator", 1234567, "1234567");
    writes("greatest int", 2147483647, "2147483647");
    writes("least int", -2147483647 - 1, "-2147483648");

    row("empty lines", five, "\n\n{module} {number}=3\n\n\n", "\n\n{module}  {number}=5\n\n\n");
    row("several lines", five,
        "{module} {number}=5 a\n{module}\n{module} {number}=1\npam_unix.so {number}=1\n#{module} {number}=7 b",
        "{module} {number}=5 a\n{module}\n{module}  {number}=5\npam_unix.so {number}=1\n#{module}  b {number}=5");
    row("other lines as they are", five, "a\r\n  b  \t\n{module} {number}=3\r\nc\r\n\t",
        "a\r\n  b  \t\n{module} \r {number}=5\nc\r\n\t");
    row("NUL bytes", five, withNuls("a|b\n|\n{module} | {number}=3 c|d\ne|"),
        withNuls("a|b\n|\n{module} |  c|d {number}=5\ne|"));
    row("invalid text", five, "# caf\xe9\n{module} {number}=3\n", "# caf\xef\xbf\xbd\n{module}  {number}=5\n");
    row("ten thousand lines", five, QByteArray("{module} {number}=3 a\n").repeated(10000),
        QByteArray("{module}  a {number}=5\n").repeated(10000));
    const QByteArray options = QByteArray(" retry=3").repeated(1 << 17);
    row("line of a megabyte", five, "{module}" + options + " {number}=3\n", "{module}" + options + "  {number}=5\n");
    row("hundred thousand options", five, "{module}" + QByteArray(" {number}=5").repeated(100000),
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
    // clang-format on
}

void PamUpdateTasksTest::correctsStack()
{
    QFETCH(QVariantMap, arguments);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    writeStack(content);
    makeOld(testedPolicy().stack());
    const FileIdentity before = identityOf(testedPolicy().stack());
    // a file that is never corrected
    const QString other = QStringLiteral("common-other");
    const QByteArray otherContent = testedPolicy().filled("{module} {number}=3\n");
    writeContent(PamSystem::stack(other), otherContent);

    QCOMPARE(outcomeOfUpdate(arguments), success(QString(), arguments));

    QVERIFY2(contentOf(testedPolicy().stack()) == testedPolicy().filled(expected),
             contentOf(testedPolicy().stack()).left(1000).constData());
    QCOMPARE(identityOf(testedPolicy().stack()).modified == before.modified, expected == content);
    QCOMPARE(identityOf(testedPolicy().stack()).inode, before.inode);
    QCOMPARE(contentOf(PamSystem::stack(other)), otherContent);
    QCOMPARE(PamSystem::stacks().size(), 2);
}

void PamUpdateTasksTest::keepsInodesModesAndOwners()
{
    const QStringList paths{testedPolicy().profile(), testedPolicy().stack()};
    QVector<quint64> inodes;
    for (const QString &path : paths) {
        QCOMPARE(chown(qPrintable(path), 1234, 4321), 0);
        QCOMPARE(chmod(qPrintable(path), 0640), 0);
        inodes += identityOf(path).inode;
    }

    QCOMPARE(outcomeOfUpdate(), success());

    QCOMPARE(PamSystem::profiles(), profileOf(newProfile));
    QCOMPARE(PamSystem::stacks(), stackOf(newStack));
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
    const QByteArray line("stack required {module} onerr=fail {flag} {flag2} {number}=3 {number2}=600\n");
    writeProfile(line);
    writeStack(line);
    const auto read = testedPolicy().newReadTask();
    read->run();
    QCOMPARE(read->values()->size(), 5);

    QCOMPARE(outcomeOfUpdate(*read->values()), success(QString(), *read->values()));

    QCOMPARE(PamSystem::profiles(), profileOf(line));
    QCOMPARE(PamSystem::stacks(), stackOf(line));
}

void PamUpdateTasksTest::takesStackForUtf8WhateverTheLocale()
{
    // unlike the profile
    writeProfile("\xfc {module} x=\xe9\n");
    writeStack("# caf\xc3\xa9, caf\xe9\n{module} {number}=4\n");
    const ScopedLatin1 locale;

    QCOMPARE(outcomeOfUpdate(), success());

    QCOMPARE(PamSystem::profiles(), profileOf("\xfc {module} x=\xe9 {number}=5\n"));
    QCOMPARE(PamSystem::stacks(), stackOf("# caf\xc3\xa9, caf\xef\xbf\xbd\n{module}  {number}=5\n"));
}

void PamUpdateTasksTest::losesWhatDoesNotFitOnDisk()
{
    // a page for the profile and one for the temporary file, one for the stack: writes are not checked
    const ScopedMount profiles = ScopedMount::smallDisk(folderOf(testedPolicy().profile()), 8);
    const ScopedMount stacks = ScopedMount::smallDisk(folderOf(testedPolicy().stack()), 4);
    const QByteArray line = testedPolicy().filled("{module} {number}=3\n");
    const QByteArray rest = QByteArray(4095 - line.size(), 'x') + '\n';
    writeProfile(line + rest);
    writeStack(line + rest);
    const QVariantMap arguments{{number, 12345}};

    QCOMPARE(outcomeOfUpdate(arguments), success(QString(), arguments));

    const QByteArray newLine = testedPolicy().filled("{module} {number}=12345\n");
    QCOMPARE(PamSystem::profiles(), profileOf((newLine + rest).left(4096)));
    QCOMPARE(PamSystem::stacks(), stackOf((QByteArray(newLine).replace(" ", "  ") + rest).left(4096)));
}

void PamUpdateTasksTest::replacesLeftoverTemporaryFile()
{
    writeContent(temporary(), QByteArray(10000, 'x'));
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(PamSystem::profiles(), profileOf(newProfile));
}

void PamUpdateTasksTest::reportsTemporaryFileThatStays()
{
    const QString notice = QStringLiteral("\"%1\" error 9\nDevice or resource busy").arg(temporary());
    writeContent(temporary(), "left over\n");
    const ScopedMount pinned = ScopedMount::pinned(temporary());

    QCOMPARE(outcomeOfUpdate(), success(notice));
    QCOMPARE(PamSystem::profiles(),
             profilesOf({{QStringLiteral("%1"), newProfile}, {QStringLiteral("%1.tmp"), newProfile}}));
    QCOMPARE(PamSystem::stacks(), stackOf(newStack));

    writeProfile();
    writeStack();
    PamSystem::setToolScript("printf ' warning \\n' >&2\n");
    QCOMPARE(outcomeOfUpdate(), success(notice + QStringLiteral("\n warning \n")));
    QCOMPARE(PamSystem::stacks(), stackOf(newStack));

    // a failure of the tool says nothing of it
    PamSystem::setToolScript("exit 3\n");
    QCOMPARE(outcomeOfUpdate(), failure(toolCommand + QStringLiteral("Exit code: 3.\n\"\"")));
}

void PamUpdateTasksTest::correctsStackThatToolMade()
{
    PamSystem::setToolScript("cat " + testedPolicy().profile().toLatin1() + " > /run/tmp/seen\n"
                             + testedPolicy().filled("echo '{module} a {number}=8 {number}=5' > ")
                             + testedPolicy().stack().toLatin1() + '\n');
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), testedPolicy().filled(newProfile));
    QCOMPARE(PamSystem::stacks(), stackOf("{module} a   {number}=5\n"));
}

void PamUpdateTasksTest::writesStackThroughSymbolicLink()
{
    const QString target = QStringLiteral("/run/tmp/target");
    writeContent(target, testedPolicy().filled(oldStack));
    QVERIFY(QFile::remove(testedPolicy().stack()) && QFile::link(target, testedPolicy().stack()));
    QCOMPARE(outcomeOfUpdate(), success());
    QVERIFY(QFileInfo(testedPolicy().stack()).isSymLink());
    QCOMPARE(contentOf(target), testedPolicy().filled(newStack));
}

void PamUpdateTasksTest::ignoresStackThatCannotBeCorrected()
{
    PamSystem::setToolScript("echo warning >&2\n");
    const QStringList succeeded = success(QStringLiteral("warning\n"));

    QVERIFY(QFile::remove(testedPolicy().stack()));
    QCOMPARE(outcomeOfUpdate(), succeeded);
    QCOMPARE(PamSystem::stacks(), FolderContent());

    QVERIFY(QDir().mkdir(testedPolicy().stack()));
    QCOMPARE(outcomeOfUpdate(), succeeded);
    QCOMPARE(PamSystem::stacks(), FolderContent({{testedPolicy().stackName + QLatin1Char('/'), QByteArray()}}));
    QVERIFY(QDir().rmdir(testedPolicy().stack()));

    writeStack();
    const ScopedMount readOnly = ScopedMount::readOnly(testedPolicy().stack());
    QCOMPARE(outcomeOfUpdate(), succeeded);
    QCOMPARE(PamSystem::stacks(), stackOf(oldStack));
    QCOMPARE(PamSystem::profiles(), profileOf(newProfile));
}

QTEST_GUILESS_MAIN(PamUpdateTasksTest)
#include "PamUpdateTasksTest.moc"
