// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamOptionReader.h"

#include "tests/policies/pam/SamplePolicy.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
/// Hands every line that matches to @p reader, as a read walk does; tells what it returned each time.
QList<bool> readLines(PamOptionReader *reader, const QByteArray &lines)
{
    QList<bool> results;
    for (const QByteArray &line : lines.split('\n')) {
        if (reader->matches(line)) {
            results += reader->handleLine(nullptr);
        }
    }
    return results;
}

const QStringList nothingRead{QStringLiteral("loud: bool false"), QStringLiteral("quiet: bool false")};
}

class PamOptionReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storesFlagsAsFalseAtOnce();
    void replacesNothingButFlagsAtOnce();
    void readsOptions_data();
    void readsOptions();
    void readsLinesOfAllModules();
    void returnsTrueForEveryLine();
    void findsLineWithoutOptions();
    void handlesLineOfMegabyte_data();
    void handlesLineOfMegabyte();
};

void PamOptionReaderTest::storesFlagsAsFalseAtOnce()
{
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    const PamOptionReader reader(policy, &values);
    QCOMPARE(typedEntries(values), nothingRead);
    QVERIFY(!reader.found());
}

void PamOptionReaderTest::replacesNothingButFlagsAtOnce()
{
    const PamPolicy policy = samplePolicy();
    QVariantMap values{{QStringLiteral("quiet"), QStringLiteral("yes")},
                       {QStringLiteral("speed"), 7},
                       {QStringLiteral("other"), QStringLiteral("kept")}};
    PamOptionReader reader(policy, &values);
    QCOMPARE(typedEntries(values),
             QStringList({QStringLiteral("loud: bool false"),
                          QStringLiteral("other: QString kept"),
                          QStringLiteral("quiet: bool false"),
                          QStringLiteral("speed: int 7")}));
}

void PamOptionReaderTest::readsOptions_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<bool>("found");
    QTest::addColumn<bool>("quiet");
    QTest::addColumn<QStringList>("numbers"); // the other entries, in the order of their keys

    const auto speed = [](int value) {
        return QStringList{QStringLiteral("speed: int %1").arg(value)};
    };
    const auto row = [](const char *name, const QByteArray &lines, bool quiet, const QStringList &numbers) {
        QTest::newRow(name) << lines << true << quiet << numbers;
    };
    const auto rowWithoutMatch = [](const char *name, const QByteArray &lines) {
        QTest::newRow(name) << lines << false << false << QStringList();
    };

    row("no option", "auth required pam_sample.so", false, {});
    row("flag", "auth required pam_sample.so quiet", true, {});
    row("number", "auth required pam_sample.so speed=5", false, speed(5));
    row("negative number", "auth required pam_sample.so speed=-5", false, speed(-5));
    row("number without equals sign", "pam_sample.so speed5", false, speed(5));
    row("negative number without equals sign", "pam_sample.so speed-5", false, speed(-5));
    row("number without value", "pam_sample.so speed=", false, speed(0));
    row("number by name alone", "pam_sample.so speed", false, speed(0));
    row("number that is none", "pam_sample.so speed=abc", false, speed(0));
    row("number behind two equals signs", "pam_sample.so speed==5", false, speed(0));
    row("number with plus", "pam_sample.so speed=+5", false, speed(0));
    row("number with letters behind", "pam_sample.so speed=5x7", false, speed(5));
    row("number with zeros in front", "pam_sample.so speed=0012", false, speed(12));
    row("hexadecimal number", "pam_sample.so speed=0x12", false, speed(0));
    row("greatest int", "pam_sample.so speed=2147483647", false, speed(2147483647));
    row("least int", "pam_sample.so speed=-2147483648", false, speed(-2147483647 - 1));
    row("number just too large", "pam_sample.so speed=2147483648", false, speed(0));
    row("number just too small", "pam_sample.so speed=-2147483649", false, speed(0));
    row("number of thirty digits", "pam_sample.so speed=123456789012345678901234567890", false, speed(0));
    row("flag with a number", "pam_sample.so quiet=0", true, {});
    row("flag with a text", "pam_sample.so quiet=false", true, {});
    row("flag inside a word", "pam_sample.so disquieting", true, {});
    row("number inside a word", "pam_sample.so xspeed=4", false, speed(4));
    row("number inside a longer name", "pam_sample.so speeding=4", false, speed(0));
    row("longer name that ends in another", "pam_sample.so top_speed=9", false, {QStringLiteral("top_speed: int 9")});
    row("leftmost name of a word", "pam_sample.so speed=1,quiet", false, speed(1));
    row("leftmost flag of a word", "pam_sample.so quiet,speed=1", true, {});
    row("names in capitals", "pam_sample.so QUIET Speed=3", false, {});
    row("other options", "pam_sample.so retry=3 == = onerr=fail", false, {});
    row("options before the module", "speed=3 quiet pam_sample.so", false, {});
    row("tabs and runs of blanks", "auth\t pam_sample.so \t speed=3\t\tquiet ", true, speed(3));
    row("white space beyond ASCII", "pam_sample.so\xc2\xa0speed=3\xe2\x80\x83quiet", true, speed(3));
    row("carriage return", "pam_sample.so quiet speed=3\r", true, speed(3));
    row("later token wins", "pam_sample.so speed=3 speed=8", false, speed(8));
    row("later token without number wins", "pam_sample.so speed=3 speed", false, speed(0));
    row("later line wins", "pam_sample.so speed=3\npam_sample.so speed=8", false, speed(8));
    row("earlier flag stays", "pam_sample.so quiet\npam_sample.so", true, {});
    row("flag that is repeated", "pam_sample.so quiet quiet", true, {});
    row("invalid text behind the module", "pam_sample.so \xff\xfe speed=3", false, speed(3));
    row("digits beyond ASCII", "pam_sample.so speed=\xd9\xa3", false, speed(0));
    row("module twice: options behind the first", "pam_sample.so speed=3 pam_sample.so quiet", true, speed(3));
    row("module with more letters, then the module", "pam_sample.sox speed=3 pam_sample.so quiet", true, {});
    row("module in a path", "auth required /lib/security/pam_sample.so speed=3", false, speed(3));
    row("module in a longer name", "xpam_sample.so speed=3", false, speed(3));
    row("number not of the table's options", "pam_sample.so retry=3 height=4", false, {});
    row("letters right behind the module", "pam_sample.sox speed=3", false, {});
    rowWithoutMatch("nothing", "");
    rowWithoutMatch("other module", "auth required pam_unix.so speed=3");
    rowWithoutMatch("module of a similar name", "auth required pam_sample2.so speed=3");
    rowWithoutMatch("any character for the dot", "auth required pam_sample_so speed=3");
    rowWithoutMatch("module in capitals", "auth required PAM_SAMPLE.SO speed=3");
}

void PamOptionReaderTest::readsOptions()
{
    QFETCH(QByteArray, lines);
    QFETCH(bool, found);
    QFETCH(bool, quiet);
    QFETCH(QStringList, numbers);
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    PamOptionReader reader(policy, &values);

    readLines(&reader, lines);

    QCOMPARE(reader.found(), found);
    const QStringList flags{QStringLiteral("loud: bool false"),
                            quiet ? QStringLiteral("quiet: bool true") : QStringLiteral("quiet: bool false")};
    QCOMPARE(typedEntries(values), flags + numbers);
}

void PamOptionReaderTest::readsLinesOfAllModules()
{
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    PamOptionReader reader(policy, &values);

    readLines(&reader, "pam_sample.so speed=3 loud\npam_unix.so top_speed=1\npam_example.so speed=4 quiet");

    QCOMPARE(
        typedEntries(values),
        QStringList(
            {QStringLiteral("loud: bool true"), QStringLiteral("quiet: bool true"), QStringLiteral("speed: int 4")}));
}

void PamOptionReaderTest::returnsTrueForEveryLine()
{
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    PamOptionReader reader(policy, &values);
    QCOMPARE(readLines(&reader, "pam_sample.so\npam_sample.so speed=1\npam_sample.so other"),
             QList<bool>({true, true, true}));
}

void PamOptionReaderTest::findsLineWithoutOptions()
{
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    PamOptionReader reader(policy, &values);
    readLines(&reader, "pam_sample.so");
    QVERIFY(reader.found());
    readLines(&reader, "pam_unix.so");
    QVERIFY(reader.found());
}

void PamOptionReaderTest::handlesLineOfMegabyte_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("matches");

    const QByteArray megabyte(1 << 20, 'x');
    QTest::newRow("without the module") << megabyte << false;
    QTest::newRow("a long option") << "pam_sample.so " + megabyte + " speed=3" << true;
    QTest::newRow("many options") << "pam_sample.so " + QByteArray("retry=3 ").repeated(1 << 17) + "speed=3" << true;
    QTest::newRow("the module at the end") << megabyte + "pam_sample.so speed=3" << true;
}

void PamOptionReaderTest::handlesLineOfMegabyte()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, matches);
    const PamPolicy policy = samplePolicy();
    QVariantMap values;
    PamOptionReader reader(policy, &values);

    readLines(&reader, line);

    QCOMPARE(reader.found(), matches);
    QCOMPARE(typedEntries(values), matches ? nothingRead + QStringList{QStringLiteral("speed: int 3")} : nothingRead);
}

QTEST_GUILESS_MAIN(PamOptionReaderTest)
#include "PamOptionReaderTest.moc"
