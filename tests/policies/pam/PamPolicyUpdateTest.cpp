// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicyUpdate.h"

#include "policies/pam/PamOptionRewriter.h"
#include "tasks/TaskResult.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/SamplePolicy.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/SpacingTranslator.h"

#include <QDir>
#include <QTest>

namespace
{
constexpr char notStarted[] = "not started: %1, %2, %3";
constexpr char notFinished[] = "not finished: %1, %2, %3";
constexpr char exitCode[] = "exit code: %1, %2, %3, %4";

QString first()
{
    return PamSystem::profile(QStringLiteral("first"));
}

QString second()
{
    return PamSystem::profile(QStringLiteral("second"));
}

QString stack()
{
    return PamSystem::stack(QStringLiteral("sample-stack"));
}

/// Sets "speed" to 5 in the first so many profiles and in the stack.
TaskResult update(int profiles = 2)
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments{{QStringLiteral("speed"), 5}};
    PamOptionRewriter rewriter(policy, &arguments);
    TaskResult result;
    updatePamPolicy(
        {policy, policy.profiles.mid(0, profiles), {"SampleContext", notStarted, notFinished, exitCode}, &arguments},
        &rewriter,
        &result);
    return result;
}

QString leftoverMessage(const QString &profile)
{
    return QStringLiteral("\"%1.tmp\" error 9\nDevice or resource busy").arg(profile);
}

const char oldLine[] = "pam_sample.so speed=3 a\n";
const char newLine[] = "pam_sample.so a speed=5\n";
const char otherLine[] = "pam_other.so speed=3 a\n";
const char correctedLine[] = "pam_sample.so  a speed=5\n";

void writeAll(const QByteArray &firstLine, const QByteArray &secondLine)
{
    writeContent(first(), firstLine);
    writeContent(second(), secondLine);
    writeContent(stack(), oldLine);
}

FolderContent bothProfiles(const QByteArray &firstLine, const QByteArray &secondLine)
{
    return {{QStringLiteral("first"), firstLine}, {QStringLiteral("second"), secondLine}};
}
}

#define COMPARE_RESULT(result, expectedState, expectedMessage) \
    do { \
        const TaskResult actual = result; \
        QCOMPARE(actual.message(), expectedMessage); \
        QCOMPARE(actual.state(), expectedState); \
        QCOMPARE(actual.description(), QString()); \
    } while (false)

class PamPolicyUpdateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void rewritesAllProfilesThenAppliesThenCorrects();
    void appliesProfilesBeforeItCorrects();
    void appliesWithoutAnyProfile();
    void stopsAtMissingProfile();
    void keepsFirstProfileIfSecondFails();
    void stopsAtProfileWithoutModule();
    void countsModuleOfEarlierProfiles();
    void joinsNotices();
    void joinsNoticesAndFailureOfSecondProfile();
    void replacesNoticesByMissingModule();
    void keepsNoticesOfTool_data();
    void keepsNoticesOfTool();
    void saysWhyToolFailed_data();
    void saysWhyToolFailed();
    void saysWhyToolWasNotStarted();
    void keepsPlaceholdersOfToolsText();
    void looksUpTextsInTheirContext();
    void trimsJustTheMessageOfAnExitCode_data();
    void trimsJustTheMessageOfAnExitCode();
    void givesToolNoInput();
    void ignoresStandardOutput();
};

void PamPolicyUpdateTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    qputenv("LC_ALL", "C");
}

void PamPolicyUpdateTest::rewritesAllProfilesThenAppliesThenCorrects()
{
    const PamSystem system;
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(), TaskState::Succeeded, QString());
    QCOMPARE(system.profiles(), bothProfiles(newLine, newLine));
    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("sample-stack"), correctedLine}}));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void PamPolicyUpdateTest::appliesProfilesBeforeItCorrects()
{
    const PamSystem system;
    writeAll(oldLine, oldLine);
    // what the tool finds in the profiles, and what it leaves in the stack
    system.setToolScript("cat /usr/share/pam-configs/* /etc/pam.d/* > /run/tmp/seen\n"
                         "echo 'pam_sample.so speed=8 b' > /etc/pam.d/sample-stack\n");
    COMPARE_RESULT(update(), TaskState::Succeeded, QString());
    QCOMPARE(contentOf(QStringLiteral("/run/tmp/seen")), QByteArray(newLine) + newLine + oldLine);
    QCOMPARE(contentOf(stack()), QByteArray("pam_sample.so  b speed=5\n"));
}

void PamPolicyUpdateTest::appliesWithoutAnyProfile()
{
    const PamSystem system;
    COMPARE_RESULT(update(0), TaskState::Succeeded, QString());
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void PamPolicyUpdateTest::stopsAtMissingProfile()
{
    const PamSystem system;
    writeContent(second(), oldLine);
    writeContent(stack(), oldLine);
    COMPARE_RESULT(update(), TaskState::Failed, QStringLiteral("\"/usr/share/pam-configs/first\" not exists"));
    QCOMPARE(system.profiles(), FolderContent({{QStringLiteral("second"), oldLine}}));
    QCOMPARE(contentOf(stack()), QByteArray(oldLine));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::keepsFirstProfileIfSecondFails()
{
    const PamSystem system;
    writeContent(first(), oldLine);
    writeContent(stack(), oldLine);
    COMPARE_RESULT(update(), TaskState::Failed, QStringLiteral("\"/usr/share/pam-configs/second\" not exists"));
    QCOMPARE(system.profiles(), FolderContent({{QStringLiteral("first"), newLine}}));
    QCOMPARE(contentOf(stack()), QByteArray(oldLine));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::stopsAtProfileWithoutModule()
{
    const PamSystem system;
    writeAll(otherLine, oldLine);
    COMPARE_RESULT(update(), TaskState::Failed, QStringLiteral("no module in /usr/share/pam-configs/first"));
    QCOMPARE(system.profiles(), bothProfiles(otherLine, oldLine));
    QCOMPARE(contentOf(stack()), QByteArray(oldLine));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::countsModuleOfEarlierProfiles()
{
    const PamSystem system;
    writeAll(oldLine, otherLine);
    COMPARE_RESULT(update(), TaskState::Succeeded, QString());
    QCOMPARE(system.profiles(), bothProfiles(newLine, otherLine));
    QCOMPARE(contentOf(stack()), QByteArray(correctedLine));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void PamPolicyUpdateTest::joinsNotices()
{
    const PamSystem system;
    system.setToolScript("echo 'from the tool' >&2\n");
    writeAll(oldLine, oldLine);
    writeContent(first() + QStringLiteral(".tmp"), "");
    writeContent(second() + QStringLiteral(".tmp"), "");
    const ScopedMount firstPinned = ScopedMount::pinned(first() + QStringLiteral(".tmp"));
    const ScopedMount secondPinned = ScopedMount::pinned(second() + QStringLiteral(".tmp"));

    COMPARE_RESULT(update(),
                   TaskState::Succeeded,
                   leftoverMessage(first()) + QLatin1Char('\n') + leftoverMessage(second())
                       + QStringLiteral("\nfrom the tool\n"));

    QCOMPARE(system.profiles(),
             FolderContent({{QStringLiteral("first"), newLine},
                            {QStringLiteral("first.tmp"), newLine},
                            {QStringLiteral("second"), newLine},
                            {QStringLiteral("second.tmp"), newLine}}));
    QCOMPARE(contentOf(stack()), QByteArray(correctedLine));
}

void PamPolicyUpdateTest::joinsNoticesAndFailureOfSecondProfile()
{
    const PamSystem system;
    writeContent(first(), oldLine);
    writeContent(first() + QStringLiteral(".tmp"), "");
    const ScopedMount firstPinned = ScopedMount::pinned(first() + QStringLiteral(".tmp"));
    COMPARE_RESULT(update(),
                   TaskState::Failed,
                   leftoverMessage(first()) + QStringLiteral("\n\"/usr/share/pam-configs/second\" not exists"));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::replacesNoticesByMissingModule()
{
    const PamSystem system;
    writeContent(first(), otherLine);
    writeContent(first() + QStringLiteral(".tmp"), "");
    const ScopedMount firstPinned = ScopedMount::pinned(first() + QStringLiteral(".tmp"));
    COMPARE_RESULT(update(), TaskState::Failed, QStringLiteral("no module in /usr/share/pam-configs/first"));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::keepsNoticesOfTool_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing") << QByteArray() << QString();
    QTest::newRow("with line end") << QByteArray("echo warning >&2\n") << QStringLiteral("warning\n");
    QTest::newRow("without line end") << QByteArray("printf warning >&2\n") << QStringLiteral("warning");
    QTest::newRow("blanks around") << QByteArray("printf ' \\n warning \\n\\n' >&2\n")
                                   << QStringLiteral(" \n warning \n\n");
    QTest::newRow("only a line end") << QByteArray("echo >&2\n") << QStringLiteral("\n");
    QTest::newRow("text beyond ASCII") << QByteArray("printf 'na\\303\\257ve' >&2\n") << QStringLiteral("na\u00efve");
    QTest::newRow("invalid text") << QByteArray("printf 'a\\377b' >&2\n") << QStringLiteral("a\ufffdb");
}

void PamPolicyUpdateTest::keepsNoticesOfTool()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    system.setToolScript(script);
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(), TaskState::Succeeded, message);
    QCOMPARE(contentOf(stack()), QByteArray(correctedLine));
}

void PamPolicyUpdateTest::saysWhyToolFailed_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message"); // behind program and arguments

    QTest::newRow("exit code") << QByteArray("exit 7\n") << QStringLiteral("exit code: %1, 7,");
    QTest::newRow("greatest exit code") << QByteArray("exit 255\n") << QStringLiteral("exit code: %1, 255,");
    QTest::newRow("exit code and text") << QByteArray("echo broken >&2; exit 1\n")
                                        << QStringLiteral("exit code: %1, 1, broken");
    QTest::newRow("blanks before the text")
        << QByteArray("printf '  broken' >&2; exit 1\n") << QStringLiteral("exit code: %1, 1,   broken");
    QTest::newRow("signal") << QByteArray("echo broken >&2; kill -9 $$\n")
                            << QStringLiteral("not finished: %1, Process crashed");
}

void PamPolicyUpdateTest::saysWhyToolFailed()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    system.setToolScript(script);
    writeAll(oldLine, oldLine);
    writeContent(first() + QStringLiteral(".tmp"), "");
    // a notice of its own, which the failure replaces
    const ScopedMount firstPinned = ScopedMount::pinned(first() + QStringLiteral(".tmp"));

    COMPARE_RESULT(
        update(), TaskState::Failed, message.arg(QStringLiteral("/usr/sbin/pam-auth-update, --force --package")));

    QCOMPARE(contentOf(first()), QByteArray(newLine));
    QCOMPARE(contentOf(second()), QByteArray(newLine));
    QCOMPARE(contentOf(stack()), QByteArray(oldLine));
    QCOMPARE(system.toolCalls(), QByteArray(rightToolCall));
}

void PamPolicyUpdateTest::saysWhyToolWasNotStarted()
{
    const PamSystem system;
    QVERIFY(QFile::remove(system.tool()));
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(),
                   TaskState::Failed,
                   QStringLiteral("not started: /usr/sbin/pam-auth-update, --force --package, "
                                  "execvp: No such file or directory"));
    QCOMPARE(system.profiles(), bothProfiles(newLine, newLine));
    QCOMPARE(contentOf(stack()), QByteArray(oldLine));
}

void PamPolicyUpdateTest::keepsPlaceholdersOfToolsText()
{
    const PamSystem system;
    system.setToolScript("echo '%1 %2 %3 %4 %5' >&2; exit 1\n");
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(),
                   TaskState::Failed,
                   QStringLiteral("exit code: /usr/sbin/pam-auth-update, --force --package, 1, ")
                       + QStringLiteral("%1 %2 %3 %4 %5"));
}

void PamPolicyUpdateTest::looksUpTextsInTheirContext()
{
    const PamSystem system;
    system.setToolScript("echo broken >&2; exit 1\n");
    writeAll(oldLine, oldLine);
    const RecordingTranslator translator;
    COMPARE_RESULT(update(),
                   TaskState::Failed,
                   QStringLiteral("[exit code: /usr/sbin/pam-auth-update, --force --package, 1, broken\n]"));
    QCOMPARE(translator.contextsOf(exitCode), QList<QByteArray>({"SampleContext"}));
}

void PamPolicyUpdateTest::trimsJustTheMessageOfAnExitCode_data()
{
    QTest::addColumn<QByteArray>("script"); // null for no tool at all
    QTest::addColumn<QString>("message");

    const QString command = QStringLiteral("/usr/sbin/pam-auth-update, --force --package");
    QTest::newRow("exit code") << QByteArray("echo ' broken' >&2; exit 1\n")
                               << QStringLiteral("exit code: %1, 1,  broken").arg(command);
    QTest::newRow("signal") << QByteArray("kill -9 $$\n")
                            << QStringLiteral("\n\t not finished: %1, \n\t Process crashed \t\n \t\n").arg(command);
    QTest::newRow("no tool")
        << QByteArray() << QStringLiteral("\n\t not started: %1, execvp: No such file or directory \t\n").arg(command);
}

void PamPolicyUpdateTest::trimsJustTheMessageOfAnExitCode()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    const PamSystem system;
    if (script.isNull()) {
        QVERIFY(QFile::remove(system.tool()));
    } else {
        system.setToolScript(script);
    }
    writeAll(oldLine, oldLine);
    const SpacingTranslator translator;

    COMPARE_RESULT(update(), TaskState::Failed, message);
}

void PamPolicyUpdateTest::givesToolNoInput()
{
    const PamSystem system;
    system.setToolScript("test -z \"$(timeout 0.2 cat)\"\n");
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(), TaskState::Succeeded, QString());
}

void PamPolicyUpdateTest::ignoresStandardOutput()
{
    const PamSystem system;
    // more than a pipe holds
    system.setToolScript("head -c 1000000 /dev/zero\n");
    writeAll(oldLine, oldLine);
    COMPARE_RESULT(update(), TaskState::Succeeded, QString());
}

QTEST_GUILESS_MAIN(PamPolicyUpdateTest)
#include "PamPolicyUpdateTest.moc"
