// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PamStack.h"

#include "tests/support/Files.h"
#include "tests/support/Rows.h"

#include <QTemporaryDir>
#include <QTest>

namespace
{
/// "number: type, a dash where it had one, control, brackets where it had some, module, options", a line each.
QString textOf(const QVector<PamStackLine> &lines)
{
    QString text;
    for (const PamStackLine &line : lines) {
        text += QStringLiteral("%1: %2%3 %4 %5 %6\n")
                    .arg(QString::number(line.number),
                         line.mayBeMissing ? QStringLiteral("-") : QString(),
                         line.type,
                         line.isBracketed ? QLatin1Char('[') + line.control + QLatin1Char(']') : line.control,
                         line.module,
                         line.options.join(QLatin1Char('|')));
    }
    return text;
}
}

class PamStackTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads();
    void knowsModules();
    void changesOptions_data();
    void changesOptions();
    void keepsBrackets_data();
    void keepsBrackets();
    void namesServices();
};

void PamStackTest::reads_data()
{
    const Rows<QByteArray, RowText> row("content", "expected");
    row("nothing", "", "");
    row("comments and blanks", "# auth required pam_a.so\n\n \t\n", "");
    row("a line", "auth required pam_a.so\n", "1: auth required pam_a.so \n");
    row("an open line", "auth required pam_a.so", "1: auth required pam_a.so \n");
    row("options", "auth\trequired  pam_a.so a  b=c\n", "1: auth required pam_a.so a|b=c\n");
    row("an option in brackets", "auth required pam_a.so [a=b c] [d=\\]]\n", "1: auth required pam_a.so a=b c|d=]\n");
    row("a control in brackets", "auth [a=ok  b=1] pam_a.so c\n", "1: auth [a=ok  b=1] pam_a.so c\n");
    row("capitals and a dash", "-AUTH Required pam_A.so\n", "1: -auth Required pam_A.so \n");
    row("an inclusion", "@include other\n", "1: @include  other \n");
    row("a comment behind", "auth required pam_a.so a # b\n", "1: auth required pam_a.so a\n");
    row("joined lines", "\nauth \\\n required \\\npam_a.so\nauth x y\n", "2: auth required pam_a.so \n5: auth x y \n");
    row("no lines joined over others", "auth required \\\n# x\n\n pam_a.so b\n", "1: auth \\  \n4: pam_a.so b  \n");
    row("what goes on nowhere", "auth required pam_a.so a \\\n", "1: auth \\ pam_a.so a\n");
    row("a backslash alone", "\\\nauth required pam_a.so\n", "2: auth required pam_a.so \n");
}

void PamStackTest::reads()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, expected);

    QCOMPARE(textOf(pamStackLines(content)), expected);
}

void PamStackTest::knowsModules()
{
    const QVector<PamStackLine> lines =
        pamStackLines("auth x pam_a.so\nauth x /lib/pam_a.so\nauth x pam_aa.so\nauth x pam_a\n");
    QVector<bool> calls;
    for (const PamStackLine &line : lines) {
        calls += line.calls(QStringLiteral("pam_a"));
    }
    QCOMPARE(calls, QVector<bool>({true, true, false, false}));
}

void PamStackTest::changesOptions_data()
{
    const Rows<QByteArray, QByteArray> row("content", "expected");
    row("of a line without any", "a\nauth\tx pam_a.so\nb", "a\nauth\tx pam_a.so c d=1\nb");
    row("of a line with others", "a\nauth x pam_a.so e f\n", "a\nauth x pam_a.so c d=1\n");
    row("before a comment", "a\nauth x pam_a.so e # f\n", "a\nauth x pam_a.so c d=1\t# f\n");
    row("that stay as they stand", "a\nauth x pam_a.so [d=1] e [c]\n", "a\nauth x pam_a.so [c] [d=1]\n");
    row("of no line that goes on", "a\nauth x pam_a.so \\ \n e\n", QByteArray());
}

void PamStackTest::changesOptions()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, expected);

    QCOMPARE(pamStackWithOptions(content, 2, QStringLiteral("pam_a"), {QStringLiteral("c"), QStringLiteral("d=1")}),
             expected);
}

void PamStackTest::keepsBrackets_data()
{
    const Rows<QByteArray> row("option");
    row("of a text with a blank", "[authtok_type=My UNIX]");
    row("of a text with a bracket", "[authtok_type=\\]]");
    row("of a word", "[debug]");
    row("in a word", "type=[x]");
}

void PamStackTest::keepsBrackets()
{
    QFETCH(const QByteArray, option);
    const QByteArray content = "password x pam_a.so " + option + " # y\n";
    const QStringList options = pamStackLines(content).constFirst().options;

    QCOMPARE(pamStackWithOptions(content, 1, QStringLiteral("pam_a"), options + QStringList{QStringLiteral("b")}),
             "password x pam_a.so " + option + " b\t# y\n");
}

void PamStackTest::namesServices()
{
    const QTemporaryDir folder;
    for (const char *name : {"zoo",
                             "common-auth",
                             "common-auth.pam-old",
                             "common-auth.pam-new",
                             "app",
                             "app~",
                             "app.dpkg-dist",
                             "app.new",
                             "app.bak",
                             "app.old",
                             "app.orig",
                             "app.save",
                             "org.app"}) {
        writeContent(folder.path() + QLatin1String("/etc/pam.d/") + QLatin1String(name), "");
    }
    for (const char *name : {"app", "packaged", "packaged.dpkg-new"}) {
        writeContent(folder.path() + QLatin1String("/usr/lib/pam.d/") + QLatin1String(name), "");
    }
    QStringList paths;
    for (const QString &service : pamServices(folder.path())) {
        paths += pamServicePath(folder.path(), service);
    }
    QCOMPARE(paths.join(QLatin1Char(' ')),
             QStringLiteral("/etc/pam.d/common-auth /etc/pam.d/app /etc/pam.d/org.app /usr/lib/pam.d/packaged "
                            "/etc/pam.d/zoo"));
    QCOMPARE(pamServicePath(folder.path(), QStringLiteral("absent")), QStringLiteral("/etc/pam.d/absent"));
}

QTEST_GUILESS_MAIN(PamStackTest)
#include "PamStackTest.moc"
