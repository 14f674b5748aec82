// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/output/HtmlReport.h"

#include "client/Translation.h"
#include "client/output/InForceTable.h"
#include "client/output/Terminal.h"

namespace
{
const char style[] =
    "body { font-family: sans-serif; line-height: 1.5; max-width: 44rem; margin: 2rem auto; padding: 0 1rem;"
    " color: #1b1e20; background: #ffffff; }\n"
    "table { border-collapse: collapse; width: 100%; margin: 0 0 2rem; }\n"
    "caption { text-align: left; font-size: 1.25rem; font-weight: bold; padding: 0.5rem 0; }\n"
    "th, td { text-align: left; padding: 0.4rem 0.75rem; border-bottom: 1px solid #bdc3c7; }\n"
    "thead th { border-bottom: 2px solid #1b1e20; }\n"
    "tbody th { font-family: monospace; font-weight: normal; width: 30%; }\n"
    ".failure { border-left: 4px solid #b00020; padding: 0.25rem 1rem; white-space: pre-wrap; }\n"
    "@media (prefers-color-scheme: dark) {\n"
    "body { color: #eff0f1; background: #1b1e20; }\n"
    "thead th { border-bottom-color: #eff0f1; }\n"
    "}\n";

/// Text for a page; control characters have no place in HTML.
QString escaped(const QString &text)
{
    return printable(text).toHtmlEscaped();
}

QString rowHtml(const QString &name, const QString &value, const QString &origin)
{
    return QStringLiteral("<tr><th scope=\"row\">%1</th><td>%2</td><td>%3</td></tr>\n")
        .arg(escaped(name), escaped(value), escaped(origin));
}

/// A row over the whole width, for what stands below it.
QString titleRowHtml(const QString &title)
{
    return QStringLiteral("<tr><th scope=\"rowgroup\" colspan=\"3\">%1</th></tr>\n").arg(escaped(title));
}

QString rowsHtml(const SettingSchema &schema, const InForce &inForce)
{
    QString rows;
    for (const Setting &setting : schema.settings) {
        const bool hasOrigin = inForce.origins.contains(setting.key);
        rows += rowHtml(setting.key,
                        inForceWords(setting, inForce),
                        hasOrigin ? originText(inForce.origins.value(setting.key)) : QString());
    }
    if (!inForce.others.isEmpty()) {
        rows += titleRowHtml(inForce.othersTitle);
    }
    for (const BindingSetting &other : inForce.others) {
        rows += rowHtml(other.name, bindingText(other), originText(other.origin));
    }
    return rows;
}

QString remarkHtml(const QString &remark)
{
    return QStringLiteral("<p class=\"failure\">%1</p>\n").arg(escaped(remark));
}

QString sectionHtml(const Section &section)
{
    QString html = QStringLiteral("<table>\n<caption>%1</caption>\n"
                                  "<thead><tr><th scope=\"col\">%2</th><th scope=\"col\">%3</th>"
                                  "<th scope=\"col\">%4</th></tr></thead>\n"
                                  "<tbody>\n%5</tbody>\n</table>\n")
                       .arg(escaped(section.title),
                            escaped(translate("HtmlReport", "Setting")),
                            escaped(translate("HtmlReport", "Value")),
                            escaped(translate("HtmlReport", "Comes from")),
                            rowsHtml(*section.schema, section.inForce));
    for (const QString &remark : section.inForce.remarks) {
        html += remarkHtml(remark);
    }
    return html;
}

QString failureHtml(const QString &failure)
{
    return QStringLiteral("<p class=\"failure\" role=\"alert\">%1</p>\n").arg(escaped(failure));
}

QString bodyHtml(const Report &report, const QString &title)
{
    QString html = QStringLiteral("<main>\n<h1>%1</h1>\n").arg(title);
    html += QStringLiteral("<p><time datetime=\"%1\">%2</time></p>\n")
                .arg(report.time.toOffsetFromUtc(report.time.offsetFromUtc()).toString(Qt::ISODate),
                     escaped(report.time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t"))));
    for (const QString &failure : report.failures) {
        html += failureHtml(failure);
    }
    for (const Section &section : report.sections) {
        html += sectionHtml(section);
    }
    return html + QStringLiteral("</main>\n");
}
}

QString htmlReport(const Report &report)
{
    const QString title = escaped(translate("HtmlReport", "Account policies of %1").arg(report.machine));
    const QString head = QStringLiteral("<meta charset=\"utf-8\">\n"
                                        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                                        "<title>%1</title>\n<style>\n%2</style>\n")
                             .arg(title, QLatin1String(style));
    return QStringLiteral("<!DOCTYPE html>\n<html lang=\"%1\">\n<head>\n%2</head>\n<body>\n%3</body>\n</html>\n")
        .arg(translate("HtmlReport", "en"), head, bodyHtml(report, title));
}
