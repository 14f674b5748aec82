// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionRewriter.h"

#include "tests/policies/pam/SamplePolicy.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TypedMap.h"

#include <QDate>
#include <QTest>

namespace
{
/// The line as @p rewriter leaves it, or a null array if it doesn't claim the line.
QByteArray rebuilt(PamOptionRewriter *rewriter, const QByteArray &line)
{
    QByteArray buffer = line;
    return rewriter->matches(line) && rewriter->handleLine(&buffer) ? buffer : QByteArray();
}

QByteArray rebuilt(const QVariantMap &arguments, const QByteArray &line)
{
    const PamPolicy policy = samplePolicy();
    PamOptionRewriter rewriter(policy, &arguments);
    return rebuilt(&rewriter, line);
}
}

class PamOptionRewriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ignoresNullLine();
    void findsLineThatItRebuilds();
    void keepsUnmanagedOptions_data();
    void keepsUnmanagedOptions();
    void writesManagedOptionsInOrderOfTable();
    void writesOnlyArgumentsThatAreThere();
    void convertsArguments_data();
    void convertsArguments();
    void leavesArgumentsAlone();
    void rebuildsLinesOfAllModules();
    void writesBytesOfTheLocale();
    void appendsNothing();
    void handlesLineOfMegabyte_data();
    void handlesLineOfMegabyte();
};

void PamOptionRewriterTest::ignoresNullLine()
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments;
    PamOptionRewriter rewriter(policy, &arguments);
    QVERIFY(rewriter.matches("pam_sample.so speed=1"));
    QVERIFY(!rewriter.handleLine(nullptr));
    QVERIFY(!rewriter.found());
}

void PamOptionRewriterTest::findsLineThatItRebuilds()
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments;
    PamOptionRewriter rewriter(policy, &arguments);
    QVERIFY(!rewriter.found());
    QVERIFY(rebuilt(&rewriter, "auth required pam_unix.so").isNull());
    QVERIFY(!rewriter.found());
    QCOMPARE(rebuilt(&rewriter, "auth required pam_sample.so"), QByteArray("auth required pam_sample.so"));
    QVERIFY(rewriter.found());
}

void PamOptionRewriterTest::keepsUnmanagedOptions_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("no options") << QByteArray("pam_sample.so") << QByteArray("pam_sample.so");
    QTest::newRow("managed options go wherever they stand")
        << QByteArray("pam_sample.so speed=1 a quiet b=2 angle=3 c loud") << QByteArray("pam_sample.so a b=2 c");
    QTest::newRow("same option again") << QByteArray("pam_sample.so a a") << QByteArray("pam_sample.so a a");
    QTest::newRow("single blanks between options")
        << QByteArray("pam_sample.so\t a  \t b\t") << QByteArray("pam_sample.so a b");
    QTest::newRow("blanks before the module stay")
        << QByteArray("auth \t required\t\tpam_sample.so a") << QByteArray("auth \t required\t\tpam_sample.so a");
    QTest::newRow("indentation goes") << QByteArray("\t  required pam_sample.so a")
                                      << QByteArray("required pam_sample.so a");
    QTest::newRow("carriage return goes")
        << QByteArray("required pam_sample.so a\r\n") << QByteArray("required pam_sample.so a");
    QTest::newRow("control field in brackets") << QByteArray("[success=end default=ignore]\tpam_sample.so a speed=2")
                                               << QByteArray("[success=end default=ignore]\tpam_sample.so a");
    QTest::newRow("managed name without value") << QByteArray("pam_sample.so speed") << QByteArray("pam_sample.so");
    QTest::newRow("managed name with empty value") << QByteArray("pam_sample.so speed=") << QByteArray("pam_sample.so");
    QTest::newRow("managed name with a text") << QByteArray("pam_sample.so speed=abc") << QByteArray("pam_sample.so");
    QTest::newRow("managed name with a negative number")
        << QByteArray("pam_sample.so speed=-7") << QByteArray("pam_sample.so");
    QTest::newRow("managed name with two equals signs")
        << QByteArray("pam_sample.so speed==7") << QByteArray("pam_sample.so");
    QTest::newRow("flag with a value") << QByteArray("pam_sample.so quiet=1") << QByteArray("pam_sample.so");
    QTest::newRow("equals sign before a managed name")
        << QByteArray("pam_sample.so =speed") << QByteArray("pam_sample.so");
    QTest::newRow("equals signs before a managed setting")
        << QByteArray("pam_sample.so ==speed=3") << QByteArray("pam_sample.so");
    QTest::newRow("managed name as a value")
        << QByteArray("pam_sample.so x=speed") << QByteArray("pam_sample.so x=speed");
    QTest::newRow("value without name") << QByteArray("pam_sample.so =5") << QByteArray("pam_sample.so =5");
    QTest::newRow("equals signs only") << QByteArray("pam_sample.so = == ===") << QByteArray("pam_sample.so = == ===");
    QTest::newRow("number right behind the name")
        << QByteArray("pam_sample.so speed5") << QByteArray("pam_sample.so speed5");
    QTest::newRow("longer and shorter names")
        << QByteArray("pam_sample.so speeding=3 xspeed=4 spee=1 quiet_too even_loud")
        << QByteArray("pam_sample.so speeding=3 xspeed=4 spee=1 quiet_too even_loud");
    QTest::newRow("names in capitals") << QByteArray("pam_sample.so SPEED=3 Quiet")
                                       << QByteArray("pam_sample.so SPEED=3 Quiet");
    QTest::newRow("two names in one token")
        << QByteArray("pam_sample.so quiet,loud speed,angle=3") << QByteArray("pam_sample.so quiet,loud speed,angle=3");
    QTest::newRow("other white space") << QByteArray("pam_sample.so a\rb\fc\vd\ne")
                                       << QByteArray("pam_sample.so a b c d e");
    QTest::newRow("white space beyond ASCII") << QByteArray("pam_sample.so\xc2\xa0"
                                                            "a\xe2\x80\x83"
                                                            "b")
                                              << QByteArray("pam_sample.so a b");
    QTest::newRow("text beyond ASCII") << QByteArray("pam_sample.so na\xc3\xafve=\xf0\x9f\x94\x91")
                                       << QByteArray("pam_sample.so na\xc3\xafve=\xf0\x9f\x94\x91");
    QTest::newRow("invalid text is replaced")
        << QByteArray("\xff pam_sample.so \xfe=1") << QByteArray("\xef\xbf\xbd pam_sample.so \xef\xbf\xbd=1");
    QTest::newRow("options before the module stay")
        << QByteArray("speed=3 quiet pam_sample.so speed=4") << QByteArray("speed=3 quiet pam_sample.so");
    QTest::newRow("module twice: everything up to the last stays")
        << QByteArray("pam_sample.so speed=3 pam_sample.so speed=4 a")
        << QByteArray("pam_sample.so speed=3 pam_sample.so a");
    QTest::newRow("text that touches the module goes")
        << QByteArray("pam_sample.so.old speed=3 a") << QByteArray("pam_sample.so");
    QTest::newRow("text that touches the module, then the module")
        << QByteArray("pam_sample.so.old speed=3 pam_sample.so speed=4 a")
        << QByteArray("pam_sample.so.old speed=3 pam_sample.so a");
}

void PamOptionRewriterTest::keepsUnmanagedOptions()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    QCOMPARE(rebuilt(QVariantMap(), line), expected);
}

void PamOptionRewriterTest::writesManagedOptionsInOrderOfTable()
{
    const QVariantMap arguments{{QStringLiteral("angle"), -90},
                                {QStringLiteral("loud"), true},
                                {QStringLiteral("quiet"), true},
                                {QStringLiteral("speed"), 5}};
    QCOMPARE(rebuilt(arguments, "pam_sample.so angle=1 a speed=2 loud b quiet"),
             QByteArray("pam_sample.so a b quiet loud speed=5 angle=-90"));
}

void PamOptionRewriterTest::writesOnlyArgumentsThatAreThere()
{
    QCOMPARE(rebuilt({{QStringLiteral("angle"), 0}}, "pam_sample.so quiet speed=2 a"),
             QByteArray("pam_sample.so a angle=0"));
    QCOMPARE(rebuilt({{QStringLiteral("loud"), true}, {QStringLiteral("quiet"), false}}, "pam_sample.so quiet a"),
             QByteArray("pam_sample.so a loud"));
    QCOMPARE(rebuilt({{QStringLiteral("Speed"), 1}, {QStringLiteral("retry"), 3}}, "pam_sample.so a"),
             QByteArray("pam_sample.so a"));
}

void PamOptionRewriterTest::convertsArguments_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QByteArray>("options");

    const auto row = [](const char *name, const QVariant &argument, const QByteArray &options) {
        QTest::newRow(name) << argument << options;
    };
    row("int", 7, " quiet speed=7");
    row("false", false, " speed=0");
    row("true", true, " quiet speed=1");
    row("text of a number", QStringLiteral("12"), " quiet speed=12");
    row("text that is no number", QStringLiteral("abc"), " quiet speed=0");
    row("text with a placeholder", QStringLiteral("%1"), " quiet speed=0");
    row("beyond 32 bits", qlonglong(3000000000), " quiet speed=-1294967296");
    row("date", QDate(2026, 1, 1), " speed=0");
    row("invalid", QVariant(), " speed=0");
}

void PamOptionRewriterTest::convertsArguments()
{
    QFETCH(QVariant, argument);
    QFETCH(QByteArray, options);
    QCOMPARE(rebuilt({{QStringLiteral("quiet"), argument}, {QStringLiteral("speed"), argument}}, "pam_sample.so"),
             "pam_sample.so" + options);
}

void PamOptionRewriterTest::leavesArgumentsAlone()
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments{{QStringLiteral("loud"), 0}, {QStringLiteral("speed"), QStringLiteral("5")}};
    PamOptionRewriter rewriter(policy, &arguments);
    QCOMPARE(rebuilt(&rewriter, "pam_sample.so angle=2 quiet"), QByteArray("pam_sample.so speed=5"));
    QCOMPARE(typedEntries(arguments), QStringList({QStringLiteral("loud: int 0"), QStringLiteral("speed: QString 5")}));
}

void PamOptionRewriterTest::rebuildsLinesOfAllModules()
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments{{QStringLiteral("speed"), 5}};
    PamOptionRewriter rewriter(policy, &arguments);
    QCOMPARE(rebuilt(&rewriter, "auth  pam_sample.so speed=3 a"), QByteArray("auth  pam_sample.so a speed=5"));
    QCOMPARE(rebuilt(&rewriter, "auth  pam_example.so b"), QByteArray("auth  pam_example.so b speed=5"));
    QCOMPARE(rebuilt(&rewriter, "pam_sample.so a pam_example.so b quiet"),
             QByteArray("pam_sample.so a pam_example.so b speed=5"));
}

void PamOptionRewriterTest::writesBytesOfTheLocale()
{
    const ScopedLatin1 locale;

    QCOMPARE(rebuilt(QVariantMap(), "\xfc pam_sample.so speed=1 x=\xe9"), QByteArray("\xfc pam_sample.so x=\xe9"));
}

void PamOptionRewriterTest::appendsNothing()
{
    const PamPolicy policy = samplePolicy();
    const QVariantMap arguments{{QStringLiteral("speed"), 5}};
    PamOptionRewriter rewriter(policy, &arguments);
    QByteArray tail("untouched");
    QVERIFY(!rewriter.appendLines(&tail));
    QCOMPARE(tail, QByteArray("untouched"));
}

void PamOptionRewriterTest::handlesLineOfMegabyte_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray megabyte(1 << 20, 'x');
    const QByteArray options = QByteArray(" retry=3").repeated(1 << 17);
    QTest::newRow("without the module") << megabyte << QByteArray();
    QTest::newRow("a long option") << "pam_sample.so " + megabyte + " speed=3"
                                   << "pam_sample.so " + megabyte + " speed=5";
    QTest::newRow("many options") << "pam_sample.so" + options << "pam_sample.so" + options + " speed=5";
    QTest::newRow("the module at the end") << megabyte + "pam_sample.so" << megabyte + "pam_sample.so speed=5";
}

void PamOptionRewriterTest::handlesLineOfMegabyte()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    const QByteArray actual = rebuilt({{QStringLiteral("speed"), 5}}, line);
    // not by QCOMPARE, which would print megabytes
    QVERIFY(actual == expected);
}

QTEST_GUILESS_MAIN(PamOptionRewriterTest)
#include "PamOptionRewriterTest.moc"
