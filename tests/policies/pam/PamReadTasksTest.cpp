// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the tasks that read the policies of PAM have in common, tried with each of them.

#include "tests/policies/pam/PamPolicyCases.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"

#include <QDir>

namespace
{
const QString flag = QStringLiteral("{flag}");
const QString flag2 = QStringLiteral("{flag2}");
const QString number = QStringLiteral("{number}");
const QString number2 = QStringLiteral("{number2}");

void writeStack(const QByteArray &content)
{
    writeContent(testedPolicy().stack(), testedPolicy().filled(content));
}

QStringList outcomeOfReading()
{
    return outcomeOfRun(testedPolicy().newReadTask().get());
}

QStringList success(const QVariantMap &found)
{
    return expectedOutcome(TaskState::Succeeded, QString(), testedPolicy().withFlags(found));
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message.arg(testedPolicy().stack()), testedPolicy().withFlags({}));
}
}

class PamReadTasksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void init();

    void readsOptions_data();
    void readsOptions();
    void readsEachOption();
    void missesModule_data();
    void missesModule();
    void failsWithoutFile();
    void failsOnFolder();
    void overwritesOnlyWhatItReads();
    void readsThroughSymbolicLink();
    void readsAndChangesNoOtherFile();

private:
    std::unique_ptr<PamSystem> m_system;
};

void PamReadTasksTest::initTestCase_data()
{
    addPamPolicies();
}

void PamReadTasksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PamReadTasksTest::init()
{
    m_system.reset(); // of the function before
    m_system = std::make_unique<PamSystem>();
}

void PamReadTasksTest::readsOptions_data()
{
    const Rows<QByteArray, QVariantMap> row("content", "found");
    const auto line = [&row](const char *name, const QByteArray &options, const QVariantMap &found) {
        row(name, "stack required {module} " + options + '\n', found);
    };
    const auto is = [](int value) {
        return QVariantMap{{number, value}};
    };
    const QVariantMap none;
    const QVariantMap flagged{{flag, true}};
    const QByteArray megabyte(1 << 20, 'x');

    // clang-format off
    row("no options", "stack required {module}\n", none);
    line("usual line", "{number}=3 onerr=fail {number2}=600 {flag}", {{number, 3}, {number2, 600}, {flag, true}});
    line("flag with a number", "{flag}=0", flagged);
    line("flag with a number and no equals sign", "{flag}0", flagged);
    line("flag with a text", "{flag}=false", flagged);
    line("flag twice", "{flag} {flag}", flagged);
    line("flag inside a word", "dis{flag}ing", flagged);
    line("number without equals sign", "{number}5", is(5));
    line("number without value", "{number}=", is(0));
    line("name without value", "{number}", is(0));
    line("number that is none", "{number}=abc", is(0));
    line("two equals signs", "{number}==5", is(0));
    line("plus", "{number}=+5", is(0));
    line("two minuses", "{number}=--5", is(0));
    line("minus alone", "{number}=-", is(0));
    line("number with letters behind", "{number}=3x7", is(3));
    line("number with zeros in front", "{number}=0012", is(12));
    line("hexadecimal number", "{number}=0x12", is(0));
    line("digits beyond ASCII", "{number}=\xd9\xa3", is(0));
    line("greatest int", "{number2}=2147483647", {{number2, 2147483647}});
    line("number too large for an int", "{number2}=2147483648", {{number2, 0}});
    line("number of thirty digits", "{number}=123456789012345678901234567890", is(0));
    line("value without name", "=5 == =", none);
    line("name inside an option, later", "{number}=3 even_{number}_account", is(0));
    line("name inside an option, earlier", "even_{number}_account {number}=3", is(3));
    line("number at the end of a longer name", "x{number}=4", is(4));
    line("longer name", "{number}_limit=4", is(0));
    line("leftmost name counts", "{number}=4,{flag}", is(4));
    line("leftmost flag counts", "{flag},{number}=4", flagged);
    line("names in capitals", "{NUMBER}=4 {FLAG}", none);
    line("options of others", "onerr=fail retry=3 file=/var/log/faillog use_authtok unknown=3", none);
    row("options before the module", "{number}=3 {flag} {module}\n", none);
    row("tabs and runs of blanks", "\tstack\t\t{module} \t {number}=3\t\t{flag}  \n", {{number, 3}, {flag, true}});
    row("white space beyond ASCII", "{module}\xc2\xa0{number}=3\xe2\x80\x83{flag}", {{number, 3}, {flag, true}});
    line("later option wins", "{number}=3 {number}=8", is(8));
    line("later option without number wins", "{number}=3 {number}", is(0));
    row("later line wins", "{module} {number}=3 {number2}=1 {flag}\n{module} {number}=8 {flag2}\n",
        {{number, 8}, {number2, 1}, {flag, true}, {flag2, true}});
    row("earlier flag stays", "{module} {flag}\n{module}\n", flagged);
    line("comment behind the options", "{number}=5 # {number}=9 {flag}", is(5));
    line("comment that touches an option", "{number}=5#6", is(5));
    row("commented-out line beside another", "#{module} {number}=5\n{module}\n", none);
    row("no line end at the end", "# stack\n{module} {number}=3", is(3));
    row("carriage returns", "pam_unix.so\r\n{module} {number}=3 {flag}\r\n", {{number, 3}, {flag, true}});
    row("NUL byte ends a line's text",
        QByteArray("{module} {number}=3|{number}=8\n{module} {number2}=1\n").replace('|', '\0'),
        {{number, 3}, {number2, 1}});
    row("NUL byte before the module", QByteArray("a| {module} {number}=3\n{module}\n").replace('|', '\0'), none);
    row("invalid text", "# \xff\n\xfe {module} \xc3 \xff\xfe {number}=3\n", is(3));
    row("module twice: options behind the first", "{module} {number}=1 {module} {number2}=2\n",
        {{number, 1}, {number2, 2}});
    row("module with more letters, then the module", "{module}x {number}=3 {module} {flag}\n", flagged);
    row("letters that touch the module", "{module}x {number}=1\n", none);
    row("module in a path", "stack required /lib/security/{module} {number}=3\n", is(3));
    row("module behind letters", "stack required x{module} {number}=3\n", is(3));
    row("control field in brackets", "stack [success=1 default=ignore] {module} {number}=3\n", is(3));
    row("included stack", "{module} {flag}\n@include other\n", flagged);
    line("many options", QByteArray("retry=3 ").repeated(1 << 17) + "{number}=3", is(3));
    line("long option", megabyte + " {number}=3", is(3));
    line("a megabyte of blanks", QByteArray(1 << 20, ' ') + "{number}=3", is(3));
    row("module at the end of a megabyte", megabyte + "{module} {number}=3", is(3));
    row("other line of a megabyte", megabyte + "\n{module} {number}=3\n", is(3));
    row("ten thousand lines", QByteArray("{module} {number}=3\n").repeated(9999) + "{module} {number}=4\n", is(4));
    // clang-format on
}

void PamReadTasksTest::readsOptions()
{
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, found);
    writeStack(content);
    QCOMPARE(outcomeOfReading(), success(found));
}

void PamReadTasksTest::readsEachOption()
{
    const auto found = [](const QByteArray &options) {
        writeStack("{module}" + options);
        return outcomeOfReading();
    };
    QCOMPARE(found(testedPolicy().options(true, "7")), success(testedPolicy().values(true, 7)));
    for (const QString &name : testedPolicy().flags) {
        QCOMPARE(found(' ' + name.toLatin1()), success({{name, true}}));
    }
    for (const QString &name : testedPolicy().numbers) {
        QCOMPARE(found(' ' + name.toLatin1() + "=600"), success({{name, 600}}));
    }
}

void PamReadTasksTest::missesModule_data()
{
    const Rows<QByteArray> row("content");
    // clang-format off
    row("empty file", "");
    row("blank lines", " \n\t\n\n");
    row("other modules", "stack required pam_unix.so {number}=3 {flag}\nstack required pam_faillock.so {number}=3\n");
    row("module of a similar name", "stack required {base}2.so {number}=3\n{base}x.so {number}=3\n");
    row("module without its ending", "stack required {base} {number}=3\n");
    row("any character for the dot", "stack required {base}_so {number}=3\n");
    row("module in capitals", "stack required {MODULE} {number}=3\n");
    row("commented-out line", "#stack required {module} {number}=5\n");
    row("indented comment", "  # stack required {module} {number}=5\n");
    row("module in a comment", "stack required pam_unix.so # {module} {number}=5\n");
    row("module behind a NUL byte", QByteArray("stack|{module} {number}=5\n").replace('|', '\0'));
    row("line of a megabyte", QByteArray(1 << 20, 'x'));
    // clang-format on
}

void PamReadTasksTest::missesModule()
{
    QFETCH(QByteArray, content);
    writeStack(content);
    const bool lockout = testedPolicy().base == "pam_tally";
    const QByteArray source =
        lockout ? "\"%1\" not contain \"pam_tally\"" : "\"%1\" not contain \"pam_cracklib or pam_pwquality\"";
    const QByteArray context = lockout ? "LocalPolicyLockoutReadTask" : "LocalPolicyPasswordComplexityReadTask";
    const auto task = testedPolicy().newReadTask();
    const RecordingTranslator translator;

    const QString message =
        QString::fromLatin1('[' + source + ']').arg(lockout ? testedPolicy().profile() : testedPolicy().stack());
    QCOMPARE(
        outcomeOfRun(task.get()),
        expectedOutcome(lockout ? TaskState::Succeeded : TaskState::Failed, message, testedPolicy().withFlags({})));
    QCOMPARE(translator.texts(), QList<TranslatedText>({{context, source}}));
}

void PamReadTasksTest::failsWithoutFile()
{
    // the profile doesn't count
    writeContent(testedPolicy().profile(), testedPolicy().filled("{module} {number}=3"));
    const RecordingTranslator translator;

    QCOMPARE(outcomeOfReading(), failure(QStringLiteral("[\"%1\" not exists]")));
    QCOMPARE(translator.texts().last(), TranslatedText("QObject", "\"%1\" not exists"));
}

void PamReadTasksTest::failsOnFolder()
{
    QVERIFY(QDir().mkdir(testedPolicy().stack()));
    QCOMPARE(outcomeOfReading(), failure(QStringLiteral("\"%1\" error 5\nfile to open is a directory")));
}

void PamReadTasksTest::overwritesOnlyWhatItReads()
{
    writeStack("{module} {number}=3\n");
    const auto task = testedPolicy().newReadTask();
    const QString other = QStringLiteral("other");
    task->setValues(new QVariantMap(
        testedPolicy().filled({{flag, true}, {number, QStringLiteral("many")}, {number2, 9}, {other, 1.5}})));
    QCOMPARE(outcomeOfRun(task.get()), success({{number, 3}, {number2, 9}, {other, 1.5}}));
}

void PamReadTasksTest::readsThroughSymbolicLink()
{
    const QString target = QStringLiteral("/run/tmp/target");
    writeContent(target, testedPolicy().filled("{module} {number}=3\n"));
    QVERIFY(QFile::link(target, testedPolicy().stack()));
    QCOMPARE(outcomeOfReading(), success({{number, 3}}));
}

void PamReadTasksTest::readsAndChangesNoOtherFile()
{
    const QByteArray content = testedPolicy().filled("{module} {number}=3 {number}=3\n");
    const QByteArray other = testedPolicy().filled("{module} {number2}=9 {flag}\n");
    for (const PamPolicyCase &each : pamPolicyCases()) {
        writeContent(each.profile(), other);
        writeContent(each.stack(), other);
    }
    writeContent(testedPolicy().stack(), content);
    makeOld(testedPolicy().stack());
    const FolderContent profiles = PamSystem::profiles();
    const FolderContent stacks = PamSystem::stacks();
    const qint64 modified = identityOf(testedPolicy().stack()).modified;

    QCOMPARE(outcomeOfReading(), success({{number, 3}}));

    QCOMPARE(PamSystem::stacks(), stacks);
    QCOMPARE(identityOf(testedPolicy().stack()).modified, modified);
    QCOMPARE(PamSystem::profiles(), profiles);
    QCOMPARE(PamSystem::toolCalls(), QByteArray());
}

QTEST_GUILESS_MAIN(PamReadTasksTest)
#include "PamReadTasksTest.moc"
