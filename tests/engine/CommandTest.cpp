// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/Command.h"

#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/ScopedVariable.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <utility>

Q_DECLARE_METATYPE(CommandOutcome::End)

Q_DECLARE_METATYPE(Command)
Q_DECLARE_METATYPE(CommandOutcome)

// the names that the linker gives to the operations asked for their limits, and to those put before them
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" bool __real__ZN8QProcess14waitForStartedEi(QProcess *process, int limit);
extern "C" bool __real__ZN8QProcess15waitForFinishedEi(QProcess *process, int limit);
extern "C" bool __wrap__ZN8QProcess14waitForStartedEi(QProcess *process, int limit);
extern "C" bool __wrap__ZN8QProcess15waitForFinishedEi(QProcess *process, int limit);
// NOLINTEND(bugprone-reserved-identifier)

namespace
{
constexpr CommandFailureTexts failureTexts = {"Context", "start %1 %2 %3", "finish %1 %2 %3", "exit %1 %2 %3 %4"};

/// The waits since the last look, and their limits in milliseconds.
QStringList waits;
/// Where set, the first wait for an end is over as soon as this file is there, and in vain.
QString fileThatEndsWait;

Command shell(const char *script)
{
    return {QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromLatin1(script)}};
}

CommandOutcome outcome(CommandOutcome::End end,
                       int exitCode,
                       QProcess::ProcessError error = QProcess::UnknownError,
                       const QString &standardError = QString())
{
    return {end, exitCode, error, QString(), standardError};
}
}

bool __wrap__ZN8QProcess14waitForStartedEi(QProcess *process, int limit)
{
    waits += QStringLiteral("start %1").arg(limit);
    return __real__ZN8QProcess14waitForStartedEi(process, limit);
}

bool __wrap__ZN8QProcess15waitForFinishedEi(QProcess *process, int limit)
{
    waits += QStringLiteral("finish %1").arg(limit);
    const QString file = std::exchange(fileThatEndsWait, QString());
    while (!file.isEmpty()) {
        if (QFile::exists(file)) {
            return false;
        }
        QThread::msleep(1);
    }
    return __real__ZN8QProcess15waitForFinishedEi(process, limit);
}

class CommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsHowItEnded_data();
    void tellsHowItEnded();
    void waitsThirtySecondsForTheStartAndThirtyMoreForTheEnd();
    void takesALimitOfTheCommandsOwn();
    void endsAllOfTheGroupOfWhatDoesNotFinish_data();
    void endsAllOfTheGroupOfWhatDoesNotFinish();
    void readsErrorsInTheEncodingOfTheLocale();
    void hasTheEnvironmentOfTheCommandOrElseOfThisProcess();
    void putsFailureIntoTheCallersWords_data();
    void putsFailureIntoTheCallersWords();
};

void CommandTest::tellsHowItEnded_data()
{
    const Rows<Command, CommandOutcome> row("command", "expected");
    using End = CommandOutcome::End;
    row("success", shell("echo a >&2"), outcome(End::Exited, 0, QProcess::UnknownError, QStringLiteral("a\n")));
    row("failure", shell("echo b >&2; exit 9"), outcome(End::Exited, 9, QProcess::UnknownError, QStringLiteral("b\n")));
    row("signal", shell("echo c >&2; kill -9 $$"), outcome(End::NotFinished, 0, QProcess::Crashed));
    row("missing", {QStringLiteral("/no/such/program"), {}}, outcome(End::NotStarted, 0, QProcess::FailedToStart));
}

void CommandTest::tellsHowItEnded()
{
    QFETCH(Command, command);
    QFETCH(CommandOutcome, expected);

    const CommandOutcome actual = runCommand(command);

    QCOMPARE(int(actual.end), int(expected.end));
    QCOMPARE(actual.exitCode, expected.exitCode);
    QCOMPARE(actual.error, expected.error);
    QCOMPARE(actual.standardError, expected.standardError);
    QCOMPARE(actual.succeeded(), actual.end == CommandOutcome::End::Exited && actual.exitCode == 0);
}

void CommandTest::waitsThirtySecondsForTheStartAndThirtyMoreForTheEnd()
{
    waits.clear();

    runCommand(shell("exit 0"));

    QCOMPARE(waits, QStringList({QStringLiteral("start 30000"), QStringLiteral("finish 30000")}));
}

void CommandTest::takesALimitOfTheCommandsOwn()
{
    waits.clear();
    Command command = shell("exit 0");
    command.limit = 2000;

    runCommand(command);

    QCOMPARE(waits, QStringList({QStringLiteral("start 30000"), QStringLiteral("finish 2000")}));
}

void CommandTest::endsAllOfTheGroupOfWhatDoesNotFinish_data()
{
    const Rows<QByteArray, bool, bool> row("end", "isLate", "endsAsGroup");
    row("late", "wait", true, true);
    row("killed", "kill -9 $$", false, true);
    row("late, and alone", "wait", true, false);
}

void CommandTest::endsAllOfTheGroupOfWhatDoesNotFinish()
{
    QFETCH(const QByteArray, end);
    QFETCH(const bool, isLate);
    QFETCH(const bool, endsAsGroup);
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("child"));
    Command command = shell(QByteArray("sleep 60 & echo $! >$0.new; mv $0.new $0; " + end).constData());
    command.arguments += file;
    command.endsAsGroup = endsAsGroup;
    fileThatEndsWait = isLate ? file : QString();

    const CommandOutcome outcome = runCommand(command);

    QCOMPARE(int(outcome.end), int(CommandOutcome::End::NotFinished));
    QFile written(file);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const int child = written.readAll().trimmed().toInt();
    QVERIFY(child > 0);
    QCOMPARE(kill(child, 0) == 0, !endsAsGroup);
    kill(child, SIGKILL);
}

void CommandTest::readsErrorsInTheEncodingOfTheLocale()
{
    const ScopedLatin1 locale;

    QCOMPARE(runCommand(shell("printf '\\374' >&2")).standardError, QString(QChar(0xfc)));
}

void CommandTest::hasTheEnvironmentOfTheCommandOrElseOfThisProcess()
{
    const ScopedVariable inherited("CALLERS", "a");
    Command command{QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("echo $CALLERS $OWN >&2")}};
    QCOMPARE(runCommand(command).standardError, QStringLiteral("a\n"));

    command.environment.insert(QStringLiteral("OWN"), QStringLiteral("b"));
    QCOMPARE(runCommand(command).standardError, QStringLiteral("b\n"));
}

void CommandTest::putsFailureIntoTheCallersWords_data()
{
    const Rows<CommandOutcome, QByteArray, RowText> row("outcome", "source", "message");
    using End = CommandOutcome::End;
    row("not started", outcome(End::NotStarted, 7), failureTexts.notStarted, "[start %4 a %1 %2]");
    row("not finished", outcome(End::NotFinished, 7), failureTexts.notFinished, "[finish %4 a %1 %2]");
    row("exit code", outcome(End::Exited, 7), failureTexts.exitCode, "[exit %4 a %1 7 %3]");
}

void CommandTest::putsFailureIntoTheCallersWords()
{
    QFETCH(CommandOutcome, outcome);
    QFETCH(QByteArray, source);
    const Command command{QStringLiteral("%4"), {QStringLiteral("a"), QStringLiteral("%1")}};
    const RecordingTranslator translator;

    QTEST(commandFailureMessage(failureTexts, command, outcome, QStringLiteral("%2"), QStringLiteral("%3")), "message");
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"Context", source}}));
}

QTEST_GUILESS_MAIN(CommandTest)
#include "CommandTest.moc"
