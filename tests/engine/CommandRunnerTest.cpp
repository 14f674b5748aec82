// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "engine/CommandRunner.h"

#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <fcntl.h>

namespace
{
const QString shell = QStringLiteral("sh");

QStringList script(const char *text)
{
    return {QStringLiteral("-c"), QString::fromUtf8(text)};
}

QString errorOf(const QString &program, const QStringList &arguments, const QString &earlier = QString())
{
    QString error = earlier;
    if (runProcess(program, arguments, &error)) {
        return QStringLiteral("it succeeded");
    }
    return error;
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

    void succeedsWithExitCodeZeroAlone_data();
    void succeedsWithExitCodeZeroAlone();
    void tellsWhatFailed_data();
    void tellsWhatFailed();
    void addsMessageBehindEarlierOnes();
    void translatesMessagesAsQObject_data();
    void translatesMessagesAsQObject();
    void copiesContentModeAndOwner();
    void copiesIntoExistingFile();
    void replacesFileThatCannotBeOpened();
    void reportsFailingCopy();
    void endsProgramThatHangs();
    void givesUpProgramThatDoesNotStart();
};

void CommandRunnerTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void CommandRunnerTest::succeedsWithExitCodeZeroAlone_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("silent") << script("exit 0");
    QTest::newRow("writes to standard error") << script("echo warning >&2");
    QTest::newRow("writes much to standard output") << script("head -c 3000000 /dev/zero");
    QTest::newRow("writes much to standard error") << script("head -c 3000000 /dev/zero >&2");
    QTest::newRow("gets no input") << script("test -z \"$(timeout 1 cat)\"");
    QTest::newRow("inherits the environment") << script("test \"$INHERITED\" = 'a b'");
    QTest::newRow("inherits the working directory") << script("test \"$(pwd)\" = /usr/share");
}

void CommandRunnerTest::succeedsWithExitCodeZeroAlone()
{
    QFETCH(QStringList, arguments);
    const ScopedVariable inherited("INHERITED", "a b");
    QVERIFY(QDir::setCurrent(QStringLiteral("/usr/share")));
    QString error = QStringLiteral("x");

    QVERIFY(runProcess(shell, arguments, &error));

    QCOMPARE(error, QStringLiteral("x"));
}

void CommandRunnerTest::tellsWhatFailed_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    QTest::newRow("no output") << shell << script("exit 3")
                               << QStringLiteral("Process: \"sh -c exit 3\". Exit code: 3.\n\"\"");
    QTest::newRow("trimmed output")
        << shell << script("printf ' \\n a\\n b \\n\\n' >&2; exit 255")
        << QStringLiteral("Process: \"sh -c printf ' \\n a\\n b \\n\\n' >&2; exit 255\". Exit code: 255.\n\"a\n b\"");
    QTest::newRow("standard output does not count")
        << shell << script("echo a; exit 1")
        << QStringLiteral("Process: \"sh -c echo a; exit 1\". Exit code: 1.\n\"\"");
    QTest::newRow("text beyond ASCII") << shell << script("echo größer >&2; exit 1")
                                       << QStringLiteral(
                                              "Process: \"sh -c echo größer >&2; exit 1\". Exit code: 1.\n\"größer\"");
    QTest::newRow("NUL byte") << shell << script("printf 'a\\0b' >&2; exit 1")
                              << QStringLiteral("Process: \"sh -c printf 'a\\0b' >&2; exit 1\". Exit code: 1.\n\"a")
            + QChar(QChar::Null) + QStringLiteral("b\"");
    QTest::newRow("placeholders stay")
        << shell << script("echo %1%2%3%4 >&2; exit 4 # %1 %3")
        << QStringLiteral("Process: \"sh -c echo %1%2%3%4 >&2; exit 4 # %1 %3\". Exit code: 4.\n\"%1%2%3%4\"");
    QTest::newRow("no arguments") << QStringLiteral("false") << QStringList()
                                  << QStringLiteral("Process: \"false \". Exit code: 1.\n\"\"");
    QTest::newRow("an empty argument") << QStringLiteral("false") << QStringList{QString(), QStringLiteral("b")}
                                       << QStringLiteral("Process: \"false  b\". Exit code: 1.\n\"\"");
    QTest::newRow("killed")
        << shell << script("echo a >&2; kill -9 $$")
        << QStringLiteral("Process: \"sh -c echo a >&2; kill -9 $$\". Error: Process crashed.\n\"Not finished\"");
    QTest::newRow("crashed") << shell << script("kill -SEGV $$")
                             << QStringLiteral(
                                    "Process: \"sh -c kill -SEGV $$\". Error: Process crashed.\n\"Not finished\"");
    QTest::newRow("missing")
        << QStringLiteral("/no/such/program") << QStringList{QStringLiteral("a"), QStringLiteral("b")}
        << QStringLiteral(
               "Process: \"/no/such/program a b\". Error: execvp: No such file or directory.\n\"Not started\"");
    QTest::newRow("missing in the search path")
        << QStringLiteral("no-such-program") << QStringList()
        << QStringLiteral("Process: \"no-such-program \". Error: execvp: No such file or directory.\n\"Not started\"");
    QTest::newRow("not executable")
        << QStringLiteral("/etc/passwd") << QStringList()
        << QStringLiteral("Process: \"/etc/passwd \". Error: execvp: Permission denied.\n\"Not started\"");
}

void CommandRunnerTest::tellsWhatFailed()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);

    QCOMPARE(errorOf(program, arguments), message);
}

void CommandRunnerTest::addsMessageBehindEarlierOnes()
{
    QCOMPARE(errorOf(QStringLiteral("false"), {}, QStringLiteral("x")),
             QStringLiteral("x\nProcess: \"false \". Exit code: 1.\n\"\""));
}

void CommandRunnerTest::translatesMessagesAsQObject_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("source");

    QTest::newRow("not started") << QStringLiteral("/no/such/program") << QStringList()
                                 << QByteArray("Process: \"%1 %2\". Error: %3.\n\"Not started\"");
    QTest::newRow("not finished") << shell << script("kill -9 $$")
                                  << QByteArray("Process: \"%1 %2\". Error: %3.\n\"Not finished\"");
    QTest::newRow("exit code") << shell << script("exit 1") << QByteArray("Process: \"%1 %2\". Exit code: %3.\n\"%4\"");
}

void CommandRunnerTest::translatesMessagesAsQObject()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, source);
    const RecordingTranslator translator;

    const QString error = errorOf(program, arguments);

    QCOMPARE(translator.contextsOf(source), QList<QByteArray>{"QObject"});
    QVERIFY2(error.startsWith(QLatin1String("[Process: ")) && error.endsWith(QLatin1String("\"]")), qPrintable(error));
}

void CommandRunnerTest::copiesContentModeAndOwner()
{
    writeProgram(QStringLiteral("/var/lib/source"), "content");
    QCOMPARE(
        runAs(0, QStringLiteral("chown"), {QStringLiteral("1234:4321"), QStringLiteral("/var/lib/source")}).exitCode,
        0);
    QString error;

    QVERIFY(copyFile(QStringLiteral("/var/lib/source"), QStringLiteral("/var/lib/copy"), &error));

    const QFileInfo copy(QStringLiteral("/var/lib/copy"));
    QCOMPARE(contentOf(copy.filePath()), QByteArray("content"));
    QCOMPARE(copy.ownerId(), 1234U);
    QCOMPARE(copy.groupId(), 4321U);
    QCOMPARE(copy.permissions() & QFile::Permissions(0x7077), QFile::Permissions(0x7055));
    QCOMPARE(error, QString());
}

void CommandRunnerTest::copiesIntoExistingFile()
{
    writeContent(QStringLiteral("/var/lib/source"), "new");
    writeContent(QStringLiteral("/var/lib/copy"), "former and longer");
    QFile open(QStringLiteral("/var/lib/copy"));
    QVERIFY(open.open(QIODevice::ReadOnly));
    QString error;

    QVERIFY(copyFile(QStringLiteral("/var/lib/source"), QStringLiteral("/var/lib/copy"), &error));

    // the same file as before, seen by who had it open
    QCOMPARE(open.readAll(), QByteArray("new"));
}

void CommandRunnerTest::replacesFileThatCannotBeOpened()
{
    // a running program can't be written to
    writeContent(QStringLiteral("/var/lib/source"), "new");
    QVERIFY(QFile::copy(QStringLiteral("/usr/bin/sleep"), QStringLiteral("/var/lib/busy")));
    QProcess busy;
    busy.start(QStringLiteral("/var/lib/busy"), {QStringLiteral("60")});
    QVERIFY(busy.waitForStarted());
    QString error;

    QVERIFY2(copyFile(QStringLiteral("/var/lib/source"), QStringLiteral("/var/lib/busy"), &error), qPrintable(error));

    QCOMPARE(contentOf(QStringLiteral("/var/lib/busy")), QByteArray("new"));
    busy.kill();
    busy.waitForFinished();
}

void CommandRunnerTest::reportsFailingCopy()
{
    QString error;

    QVERIFY(!copyFile(QStringLiteral("/no/such file"), QStringLiteral("/var/lib/%2"), &error));

    QCOMPARE(
        error,
        QStringLiteral("Process: \"cp --force --preserve=mode,ownership /no/such file /var/lib/%2\". Exit code: 1.\n"
                       "\"/usr/bin/cp: cannot stat '/no/such file': No such file or directory\""));
}

void CommandRunnerTest::endsProgramThatHangs()
{
    QElapsedTimer timer;
    timer.start();

    const QString error = errorOf(QStringLiteral("sleep"), {QStringLiteral("86399.75")});

    QCOMPARE(error,
             QStringLiteral("Process: \"sleep 86399.75\". Error: Process operation timed out.\n\"Not finished\""));
    QVERIFY2(timer.elapsed() >= 30000 && timer.elapsed() < 45000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(runAs(0, QStringLiteral("pgrep"), {QStringLiteral("-f"), QStringLiteral("86399.75")}).standardOutput,
             QByteArray());
}

void CommandRunnerTest::givesUpProgramThatDoesNotStart()
{
    const QString program = QStringLiteral("/run/tmp/leased");
    writeProgram(program, "#!/bin/sh\n");
    const WriteLease lease(program);
    QElapsedTimer timer;
    timer.start();

    const QString error = errorOf(program, {});

    QCOMPARE(error,
             QStringLiteral("Process: \"/run/tmp/leased \". Error: Process operation timed out.\n\"Not started\""));
    QVERIFY2(timer.elapsed() >= 30000 && timer.elapsed() < 40000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(CommandRunnerTest)
#include "CommandRunnerTest.moc"
