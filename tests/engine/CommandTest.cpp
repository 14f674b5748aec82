// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/Command.h"

#include "tests/support/RecordingTranslator.h"
#include "tests/support/ScopedLatin1.h"

#include <QTest>

Q_DECLARE_METATYPE(CommandOutcome::End)

namespace
{
constexpr CommandFailureTexts texts = {"Context", "start %1 %2 %3", "finish %1 %2 %3", "exit %1 %2 %3 %4"};

Command shell(const char *script)
{
    return {QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromLatin1(script)}};
}

CommandOutcome outcomeWith(CommandOutcome::End end, int exitCode)
{
    CommandOutcome outcome;
    outcome.end = end;
    outcome.exitCode = exitCode;
    return outcome;
}
}

class CommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsHowItEnded_data();
    void tellsHowItEnded();
    void readsErrorsInTheEncodingOfTheLocale();
    void succeedsByExitCodeZeroAlone_data();
    void succeedsByExitCodeZeroAlone();
    void putsFailureIntoTheCallersWords_data();
    void putsFailureIntoTheCallersWords();
};

void CommandTest::tellsHowItEnded_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<CommandOutcome::End>("end");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("standardError");

    const auto row = [](const char *name,
                        const Command &command,
                        CommandOutcome::End end,
                        int exitCode,
                        QProcess::ProcessError error,
                        const QString &text) {
        QTest::newRow(name) << command.program << command.arguments << end << exitCode << static_cast<int>(error)
                            << text;
    };
    using End = CommandOutcome::End;
    row("success", shell("echo a >&2"), End::Exited, 0, QProcess::UnknownError, QStringLiteral("a\n"));
    row("failure", shell("echo b >&2; exit 9"), End::Exited, 9, QProcess::UnknownError, QStringLiteral("b\n"));
    row("signal", shell("echo c >&2; kill -9 $$"), End::NotFinished, 0, QProcess::Crashed, QString());
    row("missing", {QStringLiteral("/no/such/program"), {}}, End::NotStarted, 0, QProcess::FailedToStart, QString());
}

void CommandTest::tellsHowItEnded()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(CommandOutcome::End, end);
    QFETCH(int, exitCode);
    QFETCH(int, error);
    QFETCH(QString, standardError);

    const CommandOutcome outcome = runCommand({program, arguments});

    QCOMPARE(outcome.end, end);
    QCOMPARE(outcome.exitCode, exitCode);
    QCOMPARE(static_cast<int>(outcome.error), error);
    QCOMPARE(outcome.standardError, standardError);
    QCOMPARE(outcome.succeeded(), end == CommandOutcome::End::Exited && exitCode == 0);
}

void CommandTest::readsErrorsInTheEncodingOfTheLocale()
{
    const ScopedLatin1 locale;

    QCOMPARE(runCommand(shell("printf '\\374' >&2")).standardError, QString(QChar(0xfc)));
}

void CommandTest::succeedsByExitCodeZeroAlone_data()
{
    QTest::addColumn<CommandOutcome::End>("end");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("succeeded");

    QTest::newRow("exit code 0") << CommandOutcome::End::Exited << 0 << true;
    QTest::newRow("exit code 1") << CommandOutcome::End::Exited << 1 << false;
    QTest::newRow("not finished") << CommandOutcome::End::NotFinished << 0 << false;
    QTest::newRow("not started") << CommandOutcome::End::NotStarted << 0 << false;
}

void CommandTest::succeedsByExitCodeZeroAlone()
{
    QFETCH(CommandOutcome::End, end);
    QFETCH(int, exitCode);
    QFETCH(bool, succeeded);

    QCOMPARE(outcomeWith(end, exitCode).succeeded(), succeeded);
}

void CommandTest::putsFailureIntoTheCallersWords_data()
{
    QTest::addColumn<CommandOutcome::End>("end");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("message");

    QTest::newRow("not started") << CommandOutcome::End::NotStarted << QByteArray(texts.notStarted)
                                 << QStringLiteral("[start %4 a %1 %2]");
    QTest::newRow("not finished") << CommandOutcome::End::NotFinished << QByteArray(texts.notFinished)
                                  << QStringLiteral("[finish %4 a %1 %2]");
    QTest::newRow("exit code") << CommandOutcome::End::Exited << QByteArray(texts.exitCode)
                               << QStringLiteral("[exit %4 a %1 7 %3]");
}

void CommandTest::putsFailureIntoTheCallersWords()
{
    QFETCH(CommandOutcome::End, end);
    QFETCH(QByteArray, source);
    QFETCH(QString, message);
    const Command command{QStringLiteral("%4"), {QStringLiteral("a"), QStringLiteral("%1")}};
    const RecordingTranslator translator;

    const QString said =
        commandFailureMessage(texts, command, outcomeWith(end, 7), QStringLiteral("%2"), QStringLiteral("%3"));

    QCOMPARE(said, message);
    QCOMPARE(translator.texts(), QList<TranslatedText>({{"Context", source}}));
}

QTEST_GUILESS_MAIN(CommandTest)
#include "CommandTest.moc"
