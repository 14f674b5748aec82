// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/PreviewReport.h"

#include "client/preview/UnifiedDiff.h"
#include "tests/support/Rows.h"
#include "tests/support/ScopedVariable.h"

#include <QJsonObject>
#include <QTest>

namespace
{
Preview preview()
{
    return {{},
            {{QStringLiteral("/etc/one"), "a\nb\n", "a\nc\n", {}},
             {QStringLiteral("/etc/two"), "x\ny\xff", "x\n", {"y\xff"}}}};
}

const QString diffOfOne = QStringLiteral("--- /etc/one\n+++ /etc/one\n@@ -1,2 +1,2 @@\n a\n-b\n+c\n");
const QString diffOfTwo =
    QString::fromUtf8("--- /etc/two\n+++ /etc/two\n@@ -1,2 +1 @@\n x\n-y\xef\xbf\xbd\n\\ No newline at end of file\n");
}

class PreviewReportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makesDiffsOfAnyBytes_data();
    void makesDiffsOfAnyBytes();
    void tellsWhereThereIsNoDiff();
    void putsDiffsBelowEachOther();
    void makesAnObjectOfEachFile();
    void namesTheFileOfEachLostLine();
    void keepsAllOfFilesThatLoseSomething();
};

void PreviewReportTest::makesDiffsOfAnyBytes_data()
{
    const Rows<QByteArray, QByteArray, QByteArray> row("before", "after", "lines");
    row("change", "a\n", "b\n", "@@ -1 +1 @@\n-a\n+b\n");
    row("new file", {}, "a\n", "@@ -0,0 +1 @@\n+a\n");
    row("file that goes", "a\n", {}, "@@ -1 +0,0 @@\n-a\n");
    row("NUL", QByteArray("\0\n", 2), "b\n", QByteArray("@@ -1 +1 @@\n-\0\n+b\n", 18));
    row("no text", "\xff\n", "\xfe\n", "@@ -1 +1 @@\n-\xff\n+\xfe\n");
    row("line end", "a", "a\n", "@@ -1 +1 @@\n-a\n\\ No newline at end of file\n+a\n");
}

void PreviewReportTest::makesDiffsOfAnyBytes()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QByteArray, lines);

    QCOMPARE(unifiedDiff(QStringLiteral("/a b"), before, after), "--- /a b\n+++ /a b\n" + lines);
    QCOMPARE(unifiedDiff(QStringLiteral("/a b"), after, after), QByteArray());
}

void PreviewReportTest::tellsWhereThereIsNoDiff()
{
    const ScopedVariable path("PATH", "/nowhere");

    QCOMPARE(unifiedDiff(QStringLiteral("/x"), "a", "b"),
             QByteArray("/x would change, and diff cannot say how: execve: No such file or directory\n"));
}

void PreviewReportTest::putsDiffsBelowEachOther()
{
    QCOMPARE(diffsText(preview()), diffOfOne + diffOfTwo);
}

void PreviewReportTest::makesAnObjectOfEachFile()
{
    const QJsonArray files = filesToJson(preview());

    const QJsonObject one{{QStringLiteral("path"), QStringLiteral("/etc/one")},
                          {QStringLiteral("diff"), diffOfOne},
                          {QStringLiteral("lost"), QJsonArray()}};
    const QJsonObject two{{QStringLiteral("path"), QStringLiteral("/etc/two")},
                          {QStringLiteral("diff"), diffOfTwo},
                          {QStringLiteral("lost"), QJsonArray{QString::fromUtf8("y\xef\xbf\xbd")}}};
    QCOMPARE(files, (QJsonArray{one, two}));
}

void PreviewReportTest::namesTheFileOfEachLostLine()
{
    Preview two = preview();
    two.files[0].lost = {"a", " b\tc"};

    QCOMPARE(lostLinesText(two), QString::fromUtf8("/etc/one: a\n/etc/one:  b\tc\n/etc/two: y\xef\xbf\xbd"));
}

void PreviewReportTest::keepsAllOfFilesThatLoseSomething()
{
    Preview lost = preview();
    lost.files[1].before = "1\n2\n3\n4\n5\ny\n";
    lost.files[1].after = "1\n2\n3\n4\n5\n";

    const QString whole = QStringLiteral("--- /etc/two\n+++ /etc/two\n@@ -1,6 +1,5 @@\n 1\n 2\n 3\n 4\n 5\n-y\n");
    QCOMPARE(lostTexts(lost), (QMap<QString, QString>{{QStringLiteral("/etc/two"), whole}}));
}

QTEST_GUILESS_MAIN(PreviewReportTest)
#include "PreviewReportTest.moc"
