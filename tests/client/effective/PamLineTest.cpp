// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/PamLine.h"

#include "tests/support/TextRows.h"

#include <QTest>

class PamLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsLines_data();
    void findsLines();
};

void PamLineTest::findsLines_data()
{
    // "\n" stands for a line end
    addTextRows(R"(
password requisite pam_x.so retry=3 minlen=9 => requisite: retry=3, minlen=9
\tpassword\trequired\tpam_x.so => required:
-password required pam_x.so a => required: a
PASSWORD required pam_x.so a => required: a
password [success=1 default=ignore] pam_x.so a => success=1 default=ignore: a
password required /lib/security/pam_x.so a => required: a
password required pam_x.so [words=one two] b => required: words=one two, b
password required pam_x.so [words=a\]b] c => required: words=a]b, c
password required \\n pam_x.so a => required: a
password required pam_x.so a # b => required: a
password required pam_x.so a\n\npassword optional pam_x.so b => required: a; optional: b
# password required pam_x.so =>
auth required pam_x.so =>
password required pam_xy.so =>
password required pam_x =>
password required =>
password =>
=>
)");
}

void PamLineTest::findsLines()
{
    QFETCH(QString, input);
    const QByteArray stack = input.replace(QLatin1String("\\t"), QLatin1String("\t"))
                                 .replace(QLatin1String("\\n"), QLatin1String("\n"))
                                 .toUtf8();

    QStringList found;
    for (const PamLine &line : pamLines(stack, QStringLiteral("password"), QStringLiteral("pam_x"))) {
        found += line.control + QLatin1String(": ") + line.options.join(QLatin1String(", "));
    }

    QTEST(found.join(QLatin1String("; ")).trimmed(), "result");
}

QTEST_GUILESS_MAIN(PamLineTest)
#include "PamLineTest.moc"
