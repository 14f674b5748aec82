// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/CommandRunner.h"

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/Texts.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{
const QString shell = QStringLiteral("sh");
const QString folder = QStringLiteral("/var/lib/commands");
const QString source = QStringLiteral("source");
const QString copy = QStringLiteral("copy");

QStringList script(const char *text)
{
    return {QStringLiteral("-c"), QString::fromUtf8(text)};
}

/// The message, behind an earlier one.
QString errorOf(const QString &program, const QStringList &arguments)
{
    QString error = QStringLiteral("x");
    return runProcess(program, arguments, &error) ? QStringLiteral("it succeeded") : error;
}

/// Who opens the file, be it to execute it, waits for its lease to be given back: here until the kernel takes it away,
/// after /proc/sys/fs/lease-break-time.
class WriteLease
{
public:
    explicit WriteLease(const QString &path) : m_file(path)
    {
        std::signal(SIGIO, SIG_IGN);
        if (!m_file.open(QIODevice::ReadOnly) || fcntl(m_file.handle(), F_SETLEASE, F_WRLCK) != 0) {
            qFatal("no lease of %s", qPrintable(path));
        }
    }

private:
    QFile m_file;
};
}

class CommandRunnerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void succeedsWithExitCodeZeroAlone_data();
    void succeedsWithExitCodeZeroAlone();
    void tellsWhatFailed_data();
    void tellsWhatFailed();
    void translatesMessagesAsQObject();
    void copiesContentModeAndOwnerIntoTheFileThatIsThere();
    void replacesFileThatCannotBeOpened();
    void reportsFailingCopy();
    void endsProgramThatHangs();
    void givesUpProgramThatDoesNotStart();
};

void CommandRunnerTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void CommandRunnerTest::init()
{
    QDir(folder).removeRecursively();
    QVERIFY(QDir().mkpath(folder) && QDir::setCurrent(folder));
}

void CommandRunnerTest::succeedsWithExitCodeZeroAlone_data()
{
    const Rows<QStringList> row("arguments");
    row("silent", script("exit 0"));
    row("writes to standard error", script("echo warning >&2"));
    row("writes much to standard output", script("head -c 3000000 /dev/zero"));
    row("writes much to standard error", script("head -c 3000000 /dev/zero >&2"));
    row("gets no input", script("test -z \"$(timeout 1 cat)\""));
    row("inherits the environment", script("test \"$INHERITED\" = 'a b'"));
    row("inherits the working directory", script("test \"$(pwd)\" = /var/lib/commands"));
}

void CommandRunnerTest::succeedsWithExitCodeZeroAlone()
{
    QFETCH(QStringList, arguments);
    const ScopedVariable inherited("INHERITED", "a b");
    QString error = QStringLiteral("x");

    QVERIFY(runProcess(shell, arguments, &error));

    QCOMPARE(error, QStringLiteral("x"));
}

void CommandRunnerTest::tellsWhatFailed_data()
{
    const Rows<RowText, QStringList, RowText> row("program", "arguments", "message");
    const auto inShell = [&row](const char *name, const char *text, const char *reason) {
        row(name,
            shell,
            script(text),
            QStringLiteral("\"sh -c %1\". %2").arg(QString::fromUtf8(text), QString::fromUtf8(reason)));
    };
    // clang-format off
    inShell("no output", "exit 3", "Exit code: 3.\n\"\"");
    inShell("trimmed output", "printf ' \\n a\\n b \\n\\n' >&2; exit 255", "Exit code: 255.\n\"a\n b\"");
    inShell("standard output does not count", "echo a; exit 1", "Exit code: 1.\n\"\"");
    inShell("text beyond ASCII", "echo größer >&2; exit 1", "Exit code: 1.\n\"größer\"");
    inShell("placeholders stay", "echo %1%2%3%4 >&2; exit 4 # %1 %3", "Exit code: 4.\n\"%1%2%3%4\"");
    inShell("killed", "echo a >&2; kill -9 $$", "Error: Process crashed.\n\"Not finished\"");
    inShell("crashed", "kill -SEGV $$", "Error: Process crashed.\n\"Not finished\"");
    row("NUL byte", shell, script("printf 'a\\0b' >&2; exit 1"),
        QStringLiteral("\"sh -c printf 'a\\0b' >&2; exit 1\". Exit code: 1.\n\"a%1b\"").arg(QChar(QChar::Null)));
    row("no arguments", "false", {}, "\"false \". Exit code: 1.\n\"\"");
    row("an empty argument", "false", texts({"", "b"}), "\"false  b\". Exit code: 1.\n\"\"");
    row("missing", "/no/such/program", texts({"a", "b"}),
        "\"/no/such/program a b\". Error: execvp: No such file or directory.\n\"Not started\"");
    row("missing in the search path", "no-such-program", {},
        "\"no-such-program \". Error: execvp: No such file or directory.\n\"Not started\"");
    row("not executable", "/etc/passwd", {},
        "\"/etc/passwd \". Error: execvp: Permission denied.\n\"Not started\"");
    // clang-format on
}

void CommandRunnerTest::tellsWhatFailed()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QCOMPARE(errorOf(program, arguments), QLatin1String("x\nProcess: ") + message);
}

void CommandRunnerTest::translatesMessagesAsQObject()
{
    const RecordingTranslator translator;

    QCOMPARE(errorOf(QStringLiteral("/no/such/program"), {}),
             QStringLiteral(
                 "x\n[Process: \"/no/such/program \". Error: execvp: No such file or directory.\n\"Not started\"]"));
    QCOMPARE(errorOf(shell, script("kill -9 $$")),
             QStringLiteral("x\n[Process: \"sh -c kill -9 $$\". Error: [Process crashed].\n\"Not finished\"]"));
    QCOMPARE(errorOf(QStringLiteral("false"), {}), QStringLiteral("x\n[Process: \"false \". Exit code: 1.\n\"\"]"));

    for (const char *text : {"Process: \"%1 %2\". Error: %3.\n\"Not started\"",
                             "Process: \"%1 %2\". Error: %3.\n\"Not finished\"",
                             "Process: \"%1 %2\". Exit code: %3.\n\"%4\""}) {
        QCOMPARE(translator.contextsOf(text), QList<QByteArray>{"QObject"});
    }
}

void CommandRunnerTest::copiesContentModeAndOwnerIntoTheFileThatIsThere()
{
    writeProgram(source, "content");
    QCOMPARE(::chown(qPrintable(source), 1234, 4321), 0);
    QString error;
    QVERIFY(copyFile(source, copy, &error));
    QCOMPARE(contentOf(copy), QByteArray("content"));
    QFile open(copy);
    QVERIFY(open.open(QIODevice::ReadOnly));
    writeContent(source, "new");

    QVERIFY(copyFile(source, copy, &error));

    // the same file as before, seen by who had it open
    QCOMPARE(open.readAll(), QByteArray("new"));
    const QFileInfo copied(copy);
    QCOMPARE(copied.ownerId(), 1234U);
    QCOMPARE(copied.groupId(), 4321U);
    QCOMPARE(copied.permissions() & QFile::Permissions(0x7077), QFile::Permissions(0x7055));
    QCOMPARE(error, QString());
}

void CommandRunnerTest::replacesFileThatCannotBeOpened()
{
    // a running program can't be written to
    writeContent(source, "new");
    QVERIFY(QFile::copy(QStringLiteral("/usr/bin/sleep"), copy));
    QProcess busy;
    busy.start(QLatin1String("./") + copy, {QStringLiteral("60")});
    QVERIFY(busy.waitForStarted());
    QString error;

    QVERIFY2(copyFile(source, copy, &error), qPrintable(error));

    QCOMPARE(contentOf(copy), QByteArray("new"));
    busy.kill();
    busy.waitForFinished();
}

void CommandRunnerTest::reportsFailingCopy()
{
    QString error;

    QVERIFY(!copyFile(QStringLiteral("/no/such file"), QStringLiteral("/var/lib/%2"), &error));

    QCOMPARE(error,
             QStringLiteral("Process: \"cp --force --preserve=mode,ownership /no/such file /var/lib/%2\". ")
                 + failureOfCp("cannot stat '/no/such file': No such file or directory"));
}

void CommandRunnerTest::endsProgramThatHangs()
{
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(errorOf(QStringLiteral("sleep"), {QStringLiteral("86399.75")}),
             QStringLiteral("x\nProcess: \"sleep 86399.75\". Error: Process operation timed out.\n\"Not finished\""));

    QVERIFY2(timer.elapsed() >= 30000 && timer.elapsed() < 45000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(runAs(root, QStringLiteral("pgrep"), texts({"-f", "86399.75"})).standardOutput, QByteArray());
}

void CommandRunnerTest::givesUpProgramThatDoesNotStart()
{
    // where a lease can be had
    const QString program = QStringLiteral("/run/tmp/leased");
    writeProgram(program, "#!/bin/sh\n");
    const WriteLease lease(program);
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(errorOf(program, {}),
             QStringLiteral("x\nProcess: \"/run/tmp/leased \". Error: Process operation timed out.\n\"Not started\""));

    QVERIFY2(timer.elapsed() >= 30000 && timer.elapsed() < 40000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(CommandRunnerTest)
#include "CommandRunnerTest.moc"
