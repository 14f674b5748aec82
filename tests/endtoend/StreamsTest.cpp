// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client with streams that are full, closed or broken.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/ClientFixture.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

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
    void worksWithoutStandardStreams();
    void startsNotWithoutAllStreams();
    void tellsThatInputCannotBeRead_data();
    void tellsThatInputCannotBeRead();
};

void StreamsTest::tellsThatOutputCannotBeWritten_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("exitCode");
    const QString drift = QStringLiteral("/run/drift.json");
    const QStringList succeeding{QStringLiteral("--help"),
                                 QStringLiteral("--version"),
                                 QStringLiteral("show --help"),
                                 QStringLiteral("complete sh"),
                                 QStringLiteral("show"),
                                 QStringLiteral("show lockout --json"),
                                 QStringLiteral("export"),
                                 QStringLiteral("history"),
                                 QStringLiteral("doctor"),
                                 QStringLiteral("user root"),
                                 QStringLiteral("set expiration maxInterval=7 --dry-run"),
                                 QStringLiteral("set expiration maxInterval=7"),
                                 QStringLiteral("undo --dry-run"),
                                 QStringLiteral("apply --dry-run ") + drift};
    for (const QString &words : succeeding) {
        QTest::newRow(qPrintable(words)) << words << 1;
    }
    QTest::newRow("check with drift") << QStringLiteral("check ") + drift << 6;
}

void StreamsTest::tellsThatOutputCannotBeWritten()
{
    QFETCH(QString, words);
    QFETCH(int, exitCode);
    writeContent(QStringLiteral("/run/drift.json"), document(R"({"maxInterval": 30})"));
    QCOMPARE(client(root, QStringLiteral("set expiration minInterval=1")).exitCode, 0); // something for the history

    const ProgramResult full = shell(root, QStringLiteral("exec accountpolicyctl %1 >/dev/full").arg(words));
    QCOMPARE(full.standardError, complaint("cannot write: No space left on device"));
    QCOMPARE(full.exitCode, exitCode);

    const ProgramResult closed = shell(root, QStringLiteral("exec accountpolicyctl %1 >&-").arg(words));
    QCOMPARE(closed.standardError, complaint("cannot write: Bad file descriptor"));
    QCOMPARE(closed.exitCode, exitCode);
}

void StreamsTest::tellsThatDiskIsFull()
{
    const ScopedMount disk = fullDisk(QStringLiteral("/run/small"));

    const ProgramResult result = shell(root, QStringLiteral("exec accountpolicyctl export >/run/small/policies.json"));

    QCOMPARE(result.standardError, complaint("cannot write: No space left on device"));
    QCOMPARE(result.exitCode, 1);
}

void StreamsTest::needsNoOutputToSayNothing()
{
    const ProgramResult check = shell(nobody, QStringLiteral("exec accountpolicyctl check - >&-"), fullDocument);

    QCOMPARE(check.standardError, QByteArray());
    QCOMPARE(check.exitCode, 0);
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
    const QString script = QStringLiteral("{ sleep 1; accountpolicyctl show; echo $? >&2; } | exec true");

    const ProgramResult show = shell(nobody, before + script);

    QCOMPARE(show.standardError, exitCode + '\n');
}

void StreamsTest::worksWithoutStandardStreams()
{
    // the first says something to the standard output, the second to the standard error, the third has to work still
    writeContent(QStringLiteral("/etc/pam.d/common-password"), "password required pam_unix.so\n");
    writeContent(QStringLiteral("/run/wanted.json"),
                 R"({"version": 1, "policies": {"lockout": {"deny": 3}, "complexity": {"minlen": 12},
                     "expiration": {"maxInterval": 7}}})");

    const ProgramResult apply =
        shell(root, QStringLiteral("exec accountpolicyctl apply /run/wanted.json <&- >&- 2>&-"));

    QCOMPARE(apply.exitCode, 1);
    QCOMPARE(contentOf(QStringLiteral("/etc/login.defs")), QByteArray("PASS_MAX_DAYS 7\n"));
}

void StreamsTest::startsNotWithoutAllStreams()
{
    const QString script =
        QStringLiteral("unshare --mount sh -c 'mount -t tmpfs none /dev && exec accountpolicyctl --version <&-'");

    const ProgramResult version = shell(root, script);

    QCOMPARE(version.standardError, complaint("/dev/null cannot be opened"));
    QCOMPARE(version.standardOutput, QByteArray());
    QCOMPARE(version.exitCode, 1);
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

    const ProgramResult apply = shell(root, QStringLiteral("exec accountpolicyctl apply - ") + redirection);

    QCOMPARE(apply.standardError, complaint("- cannot be read\n" + reason));
    QCOMPARE(apply.exitCode, 1);
}

QTEST_GUILESS_MAIN(StreamsTest)
#include "StreamsTest.moc"
