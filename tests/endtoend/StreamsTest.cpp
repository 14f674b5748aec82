// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client with streams that are full, closed or broken.

#include "tests/endtoend/ClientFixture.h"

#include <QTest>

#include <csignal>

class StreamsTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void tellsThatOutputCannotBeWritten_data();
    void tellsThatOutputCannotBeWritten();
    void tellsThatDiskIsFull();
    void needsNoOutputToSayNothing();
    void leavesBrokenPipeUnsaid_data();
    void leavesBrokenPipeUnsaid();
    void saysNothingOfTheLocale();
    void worksWithoutStandardStreams();
    void startsNotWithoutAllStreams();
    void tellsThatInputCannotBeRead_data();
    void tellsThatInputCannotBeRead();
};

void StreamsTest::tellsThatOutputCannotBeWritten_data()
{
    QTest::addColumn<int>("exitCode");
    for (const char *words : {"--help",
                              "--version",
                              "show --help",
                              "complete sh",
                              "show",
                              "show lockout --json",
                              "export",
                              "history",
                              "doctor",
                              "user root",
                              "set expiration maxInterval=7 --dry-run",
                              "set expiration maxInterval=7",
                              "undo --dry-run",
                              "apply --dry-run /run/drift.json"}) {
        QTest::newRow(words) << 1;
    }
    QTest::newRow("check /run/drift.json") << 6;
}

void StreamsTest::tellsThatOutputCannotBeWritten()
{
    QFETCH(int, exitCode);
    const QString script = QStringLiteral("exec accountpolicyctl ") + QString::fromUtf8(QTest::currentDataTag());
    writeContent("/run/drift.json", document(R"({"maxInterval": 30})"));
    QCOMPARE(client(root, "set expiration minInterval=1").exitCode, 0); // something for the history

    QCOMPARE(shell(root, script + QStringLiteral(" >/dev/full")),
             failure(exitCode, "cannot write: No space left on device"));
    QCOMPARE(shell(root, script + QStringLiteral(" >&-")), failure(exitCode, "cannot write: Bad file descriptor"));
}

void StreamsTest::tellsThatDiskIsFull()
{
    const ScopedMount disk = fullDisk(QStringLiteral("/run/small"));

    QCOMPARE(shell(root, QStringLiteral("exec accountpolicyctl export >/run/small/policies.json")),
             failure(1, "cannot write: No space left on device"));
}

void StreamsTest::needsNoOutputToSayNothing()
{
    const QByteArray exported = client(nobody, "export").standardOutput;

    QCOMPARE(shell(nobody, QStringLiteral("exec accountpolicyctl check - >&-"), exported), success());
}

void StreamsTest::leavesBrokenPipeUnsaid_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QByteArray>("exitCode");
    QTest::newRow("from a shell") << QString() << QByteArray::number(128 + SIGPIPE);
    QTest::newRow("from a program that ignores the signal") << QStringLiteral("trap '' PIPE; ") << QByteArray("0");
}

void StreamsTest::leavesBrokenPipeUnsaid()
{
    QFETCH(QString, before);
    QFETCH(QByteArray, exitCode);
    // nobody reads from the pipe any more when the client writes
    const QString script = QStringLiteral("exec 3> >(exec true); wait $!; accountpolicyctl show >&3; echo $? >&2");

    QCOMPARE(shell(nobody, before + script), ProgramResult({0, {}, exitCode + '\n'}));
}

void StreamsTest::saysNothingOfTheLocale()
{
    const QString script = QStringLiteral("LC_ALL=%1 accountpolicyctl --version");
    for (const QString &locale : {QStringLiteral("C"), QStringLiteral("C.UTF-8"), QStringLiteral("xx_XX")}) {
        const ProgramResult result = shell(nobody, script.arg(locale));
        QCOMPARE(result.standardError, QByteArray());
        QCOMPARE(result.exitCode, 0);
    }
}

void StreamsTest::worksWithoutStandardStreams()
{
    // the first says something to the standard output, the second to the standard error, the third has to work still
    writeContent(passwordStack, "password required pam_unix.so\n");
    writeContent("/run/wanted.json",
                 R"({"version": 1, "policies": {"lockout": {"deny": 3}, "complexity": {"minlen": 12},
                     "expiration": {"maxInterval": 7}}})");

    QCOMPARE(shell(root, QStringLiteral("exec accountpolicyctl apply /run/wanted.json <&- >&- 2>&-")),
             ProgramResult({1, {}, {}}));
    QCOMPARE(contentOf(loginDefsFile), QByteArray("PASS_MAX_DAYS 7\n"));
}

void StreamsTest::startsNotWithoutAllStreams()
{
    const QString script =
        QStringLiteral("unshare --mount sh -c 'mount -t tmpfs none /dev && exec accountpolicyctl --version <&-'");

    QCOMPARE(shell(root, script), failure(1, "/dev/null cannot be opened"));
}

void StreamsTest::tellsThatInputCannotBeRead_data()
{
    QTest::addColumn<QString>("redirection");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("folder") << QStringLiteral("</") << QByteArray("Is a directory");
    QTest::newRow("closed") << QStringLiteral("<&-") << QByteArray("Bad file descriptor");
}

void StreamsTest::tellsThatInputCannotBeRead()
{
    QFETCH(QString, redirection);
    QFETCH(QByteArray, reason);

    QCOMPARE(shell(root, QStringLiteral("exec accountpolicyctl apply - ") + redirection),
             failure(1, "- cannot be read\n" + reason));
}

QTEST_GUILESS_MAIN(StreamsTest)
#include "StreamsTest.moc"
