// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/HtmlReport.h"
#include "tests/support/Files.h"

#include <QTest>
#include <QTimeZone>

namespace
{
const SettingSchema &schema()
{
    static const SettingSchema schema{{
        {QStringLiteral("a<b"), SettingKind::Flag, Unit::None, 0, 0, Never::NoWord, ""},
        {QStringLiteral("time"), SettingKind::Number, Unit::Seconds, 0, 9, Never::NoWord, ""},
    }};
    return schema;
}

InForce inForce()
{
    InForce inForce;
    inForce.settings = {{QStringLiteral("a<b"), true}, {QStringLiteral("time"), 900}};
    inForce.origins = {{QStringLiteral("a<b"), {}}, {QStringLiteral("time"), QStringLiteral("/e<tc")}};
    inForce.othersTitle = QStringLiteral("Others & more:");
    inForce.others = {{QStringLiteral("words"), QStringLiteral("<x>"), {}}, {QStringLiteral("none"), {}, {}}};
    inForce.remarks += QStringLiteral("but <not>");
    return inForce;
}

Report report()
{
    return {QStringLiteral("host<&\"'\033"),
            QDateTime(QDate(2026, 11, 21), QTime(4, 5, 6), QTimeZone("Europe/Berlin")),
            {{QStringLiteral("One & only"), &schema(), inForce()}},
            {QStringLiteral("<script>\n\"x\"")}};
}
}

class HtmlReportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isThisPage();
};

void HtmlReportTest::isThisPage()
{
    const QString expected = QString::fromUtf8(contentOf(QFINDTESTDATA("report.html")));

    // behind the comment on the file
    QCOMPARE(htmlReport(report()), expected.mid(expected.indexOf(QLatin1String("<!DOCTYPE"))));
}

QTEST_GUILESS_MAIN(HtmlReportTest)
#include "HtmlReportTest.moc"
