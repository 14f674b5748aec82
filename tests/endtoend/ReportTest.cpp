// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The page that the client writes.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/ClientFixture.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QFile>
#include <QTest>

class ReportTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void writesReport();
    void tellsThatReportCannotBeWritten();
    void tellsThatReportIsIncomplete();
    void tellsThatReportIsCutOff();
    void writesReportIntoPipe_data();
    void writesReportIntoPipe();
};

void ReportTest::writesReport()
{
    const QString file = QStringLiteral("/run/report.html");
    writeContent(file, "old");

    const ProgramResult report = client(root, QStringLiteral("report /run/report.html --user policytester"));

    QCOMPARE(report.standardError, QByteArray());
    QCOMPARE(report.standardOutput, QByteArray());
    QCOMPARE(report.exitCode, 0);
    const QByteArray page = contentOf(file);
    QCOMPARE(page.count("<table>"), 4);
    QVERIFY(page.startsWith("<!DOCTYPE html>\n") && page.endsWith("</html>\n"));
    QVERIFY(page.contains("<tr><th scope=\"row\">unlock_time</th><td>900 s (15 min)</td></tr>\n"));
    QVERIFY(page.contains("<caption>Account policytester</caption>\n"));
    const ProgramResult tidy =
        runAs(nobody, QStringLiteral("tidy"), {QStringLiteral("-q"), QStringLiteral("-e")}, page);
    QCOMPARE(tidy.standardError, QByteArray());
    QCOMPARE(tidy.exitCode, 0);
}

void ReportTest::tellsThatReportCannotBeWritten()
{
    const ProgramResult report = client(root, QStringLiteral("report /nowhere/report.html"));

    QCOMPARE(report.standardError,
             complaint("/nowhere/report.html could not be written\nExport to HTML\n\"/nowhere/report.html\" error "
                       "5\nNo such file or directory"));
    QCOMPARE(report.exitCode, 1);
}

void ReportTest::tellsThatReportIsIncomplete()
{
    QVERIFY(QFile::remove(QStringLiteral("/etc/default/useradd")));

    const ProgramResult report = client(root, QStringLiteral("report /run/report.html"));

    QCOMPARE(report.standardError, complaint(unreadableExpiration));
    QCOMPARE(report.exitCode, 1);
    QVERIFY(contentOf(QStringLiteral("/run/report.html"))
                .contains("<p class=\"failure\" role=\"alert\">the expiration policy could not be read\nRead default "
                          "password expiration policy\n"
                          "&quot;/etc/default/useradd&quot; not exists</p>\n"));
}

void ReportTest::tellsThatReportIsCutOff()
{
    // /dev/full takes an open and no byte
    const ProgramResult device = client(root, QStringLiteral("report /dev/full"));
    QCOMPARE(device.standardError, complaint("/dev/full could not be written\nNo space left on device"));
    QCOMPARE(device.exitCode, 1);

    const ScopedMount disk = fullDisk(QStringLiteral("/run/small"));
    const ProgramResult file = client(root, QStringLiteral("report /run/small/report.html"));
    QCOMPARE(file.standardError, complaint("/run/small/report.html was not written completely"));
    QCOMPARE(file.exitCode, 1);
}

void ReportTest::writesReportIntoPipe_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("standard output") << QStringLiteral("timeout 20 accountpolicyctl report /dev/stdout | cat");
    QTest::newRow("named pipe") << QStringLiteral(
        "mkfifo /run/pipe; timeout 20 accountpolicyctl report /run/pipe & timeout 20 cat /run/pipe; wait $!");
}

void ReportTest::writesReportIntoPipe()
{
    QFETCH(QString, script);

    // without pipefail the pipe's status would be cat's
    const ProgramResult report = shell(root, QStringLiteral("set -o pipefail; ") + script);

    QCOMPARE(report.standardError, QByteArray());
    QCOMPARE(report.exitCode, 0);
    QVERIFY(report.standardOutput.startsWith("<!DOCTYPE html>\n"));
    QVERIFY(report.standardOutput.endsWith("</html>\n"));
}

QTEST_GUILESS_MAIN(ReportTest)
#include "ReportTest.moc"
