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
    void tellsThatReportCannotBeAFolder();
    void tellsThatReportIsIncomplete();
    void tellsThatReportIsCutOff();
    void writesReportIntoPipe_data();
    void writesReportIntoPipe();
    void tellsThatStandardOutputIsFull();
    void keepsReportOfAccountsFromOthers_data();
    void keepsReportOfAccountsFromOthers();
    void writesNoAccountsIntoFileOfSomebodyElse();
};

void ReportTest::writesReport()
{
    writeContent("/run/report.html", "old");

    QCOMPARE(client(root, "report /run/report.html --user policytester"), success());
    const QByteArray page = contentOf("/run/report.html");
    QCOMPARE(page.count("<table>"), 6);
    QVERIFY(page.startsWith("<!DOCTYPE html>\n") && page.endsWith("</html>\n"));
    QVERIFY(page.contains(
        "<tr><th scope=\"row\">unlock_time</th><td>900 s (15 min)</td><td>/etc/pam.d/common-auth</td></tr>\n"));
    QVERIFY(page.contains("<tr><th scope=\"row\">enforcing</th><td>yes</td><td>default</td></tr>\n"));
    QVERIFY(page.contains("<caption>New passwords: the policies complexity and pwquality</caption>\n"));
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

void ReportTest::tellsThatReportCannotBeAFolder()
{
    // as of a file that cannot be written, not as of a device
    QCOMPARE(client(root, "report /run"),
             failure(1, "/run could not be written\nExport to HTML\n\"/run\" error 5\nIs a directory"));
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
    QTest::newRow("standard output by its name")
        << QStringLiteral("timeout 20 accountpolicyctl report - | cat; test ! -e ./-");
    QTest::newRow("standard output into a file")
        << QStringLiteral("accountpolicyctl report - >/run/page.html && cat /run/page.html");
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

void ReportTest::tellsThatStandardOutputIsFull()
{
    QCOMPARE(shell(root, QStringLiteral("accountpolicyctl report - >/dev/full")),
             failure(1, "cannot write: No space left on device"));
}

void ReportTest::keepsReportOfAccountsFromOthers_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("mode");
    const QString ofAccounts = QStringLiteral("report /run/report.html --user policytester");
    QTest::newRow("new") << QStringLiteral("rm -f /run/report.html") << ofAccounts << QByteArray("600\n");
    QTest::newRow("there already") << QStringLiteral("install -m 644 /dev/null /run/report.html") << ofAccounts
                                   << QByteArray("600\n");
    QTest::newRow("policies alone") << QStringLiteral("rm -f /run/report.html")
                                    << QStringLiteral("report /run/report.html") << QByteArray("644\n");
}

void ReportTest::keepsReportOfAccountsFromOthers()
{
    QFETCH(QString, before);
    QFETCH(QString, words);
    QFETCH(QByteArray, mode);
    QCOMPARE(shell(root, before), success());

    QCOMPARE(client(root, words), success());

    QCOMPARE(runAs(root, "stat -c %a /run/report.html").standardOutput, mode);
    QCOMPARE(contentOf("/run/report.html").right(8), QByteArray("</html>\n"));
}

void ReportTest::writesNoAccountsIntoFileOfSomebodyElse()
{
    QCOMPARE(shell(root, QStringLiteral("rm -f /run/report.html; install -o nobody /dev/null /run/report.html")),
             success());

    QCOMPARE(client(root, QStringLiteral("report /run/report.html --user policytester")),
             failure(1, "/run/report.html could not be written\nOperation not permitted"));

    QCOMPARE(contentOf("/run/report.html"), QByteArray());
    QCOMPARE(shell(root, QStringLiteral("rm /run/report.html")), success());
}

QTEST_GUILESS_MAIN(ReportTest)
#include "ReportTest.moc"
