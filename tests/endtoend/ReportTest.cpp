// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The page that the client writes.

#include "tests/endtoend/ClientFixture.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace
{
const char unreadableExpiration[] = "the expiration policy could not be read\n"
                                    "Read default password expiration policy\n"
                                    "\"/etc/default/useradd\" not exists";

QString withoutTime(const QByteArray &page)
{
    return QString::fromUtf8(page).remove(QRegularExpression(QStringLiteral("<time .*</time>")));
}
}

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
    writeContent("/run/report.html", "old");

    QCOMPARE(client(root, "report /run/report.html --user policytester"), success());
    const QByteArray page = contentOf("/run/report.html");
    QCOMPARE(page.count("<table>"), 4);
    QVERIFY(page.startsWith("<!DOCTYPE html>\n") && page.endsWith("</html>\n"));
    QVERIFY(page.contains(
        "<tr><th scope=\"row\">unlock_time</th><td>900 s (15 min)</td><td>/etc/pam.d/common-auth</td></tr>\n"));
    QVERIFY(page.contains("<tr><th scope=\"row\">enforcing</th><td>1</td><td>default</td></tr>\n"));
    QVERIFY(page.contains("<caption>Account policytester</caption>\n"));
    QCOMPARE(runAs(nobody, "tidy -q -e", page), success());
}

void ReportTest::tellsThatReportCannotBeWritten()
{
    QCOMPARE(client(root, "report /nowhere/report.html"),
             failure(1,
                     "/nowhere/report.html could not be written\nExport to HTML\n\"/nowhere/report.html\" error 5\n"
                     "No such file or directory"));
}

void ReportTest::tellsThatReportIsIncomplete()
{
    QVERIFY(QFile::remove(QString::fromLatin1(useraddFile)));

    QCOMPARE(client(root, "report /run/report.html"), failure(1, unreadableExpiration));
    QVERIFY(contentOf("/run/report.html")
                .contains("<p class=\"failure\" role=\"alert\">"
                          + QByteArray(unreadableExpiration).replace('"', "&quot;") + "</p>\n"));
}

void ReportTest::tellsThatReportIsCutOff()
{
    // /dev/full takes an open and no byte
    QCOMPARE(client(root, "report /dev/full"), failure(1, "/dev/full could not be written\nNo space left on device"));

    const ScopedMount disk = fullDisk(QStringLiteral("/run/small"));
    QCOMPARE(client(root, "report /run/small/report.html"),
             failure(1, "/run/small/report.html was not written completely"));
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

    QCOMPARE(client(root, "report /run/report.html"), success());

    // without pipefail the pipe's status would be cat's
    const ProgramResult report = shell(root, QStringLiteral("set -o pipefail; ") + script);

    QCOMPARE(report, success(report.standardOutput));
    QCOMPARE(withoutTime(report.standardOutput), withoutTime(contentOf("/run/report.html")));
}

QTEST_GUILESS_MAIN(ReportTest)
#include "ReportTest.moc"
