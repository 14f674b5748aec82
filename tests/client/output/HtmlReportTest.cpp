// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/HtmlReport.h"

#include <QTest>
#include <QTimeZone>

namespace
{
const SettingSchema &schema()
{
    static const SettingSchema schema{{
        {QStringLiteral("a<b"), SettingKind::Flag, Unit::None, 0, 0, Never::NoWord},
        {QStringLiteral("time"), SettingKind::Number, Unit::Seconds, 0, 9, Never::NoWord},
    }};
    return schema;
}

Report report()
{
    return {QStringLiteral("host<&\"'\033"),
            QDateTime(QDate(2026, 11, 21), QTime(4, 5, 6), QTimeZone("Europe/Berlin")),
            {{QStringLiteral("One & only"), &schema(), {{QStringLiteral("a<b"), true}, {QStringLiteral("time"), 900}}}},
            {QStringLiteral("<script>\n\"x\"")}};
}

QString bodyOf(const QString &page)
{
    const QString begin = QStringLiteral("<body>\n");
    const int start = page.indexOf(begin) + begin.size();
    return page.mid(start, page.indexOf(QStringLiteral("</body>")) - start);
}
}

class HtmlReportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void escapesEverything();
    void isSelfContained();
};

void HtmlReportTest::escapesEverything()
{
    QCOMPARE(bodyOf(htmlReport(report())),
             QStringLiteral("<main>\n"
                            "<h1>Account policies of host&lt;&amp;&quot;'\ufffd</h1>\n"
                            "<p><time datetime=\"2026-11-21T04:05:06+01:00\">2026-11-21 04:05:06 CET</time></p>\n"
                            "<p class=\"failure\" role=\"alert\">&lt;script&gt;\n&quot;x&quot;</p>\n"
                            "<table>\n<caption>One &amp; only</caption>\n"
                            "<thead><tr><th scope=\"col\">Setting</th><th scope=\"col\">Value</th></tr></thead>\n"
                            "<tbody>\n"
                            "<tr><th scope=\"row\">a&lt;b</th><td>yes</td></tr>\n"
                            "<tr><th scope=\"row\">time</th><td>900 s (15 min)</td></tr>\n"
                            "</tbody>\n</table>\n"
                            "</main>\n"));
}

void HtmlReportTest::isSelfContained()
{
    const QString page = htmlReport(report());

    QVERIFY(page.startsWith(QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n")));
    QVERIFY(page.contains(QStringLiteral("<title>Account policies of host&lt;&amp;&quot;'\ufffd</title>\n<style>\n")));
    for (const char *reference : {"http:", "https:", "src=", "href=", "@import", "url("}) {
        QVERIFY(!page.contains(QLatin1String(reference)));
    }
}

QTEST_GUILESS_MAIN(HtmlReportTest)
#include "HtmlReportTest.moc"
