// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamStackCorrection.h"

#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/SamplePolicy.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedLatin1.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

class PamStackCorrectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void correctsLine_data();
    void correctsLine();
    void leavesFileAlone_data();
    void leavesFileAlone();
    void writesEveryNumber_data();
    void writesEveryNumber();
    void keepsLineStructure_data();
    void keepsLineStructure();
    void replacesInvalidTextOnlyWhenWriting();
    void takesStackForUtf8WhateverTheLocale();
    void keepsInodeModeAndOwner();
    void makesNoOtherFile();
    void writesThroughSymbolicLink();
    void correctsOptionOnLinesOfAllModules();
    void ignoresMissingFile();
    void ignoresFolder();
    void ignoresReadOnlyFile();
    void correctsTenThousandLines();
    void correctsLineOfMegabyte();

private:
    QString stack() const;
    QByteArray corrected(const QByteArray &content, int wanted) const;

    QScopedPointer<QTemporaryDir> m_folder;
};

void PamStackCorrectionTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PamStackCorrectionTest::init()
{
    m_folder.reset(new QTemporaryDir);
    QVERIFY(m_folder->isValid());
}

void PamStackCorrectionTest::cleanup()
{
    m_folder.reset();
}

QString PamStackCorrectionTest::stack() const
{
    return m_folder->filePath(QStringLiteral("stack"));
}

QByteArray PamStackCorrectionTest::corrected(const QByteArray &content, int wanted) const
{
    writeContent(stack(), content);
    correctPamStack(samplePolicy(stack()), wanted);
    return contentOf(stack());
}

void PamStackCorrectionTest::correctsLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("expected"); // with 5 wanted

    const auto row = [](const char *name, const char *line, const char *expected) {
        QTest::newRow(name) << QByteArray(line) << QByteArray(expected);
    };
    row("option inside: both blanks stay",
        "auth required pam_sample.so speed=3 quiet",
        "auth required pam_sample.so  quiet speed=5");
    row("option at the end: the blank before it stays",
        "auth required pam_sample.so quiet speed=3",
        "auth required pam_sample.so quiet  speed=5");
    row("option at the start", "speed=3 pam_sample.so", " pam_sample.so speed=5");
    row("option before the module", "auth speed=3 pam_sample.so quiet", "auth  pam_sample.so quiet speed=5");
    row("tabs stay", "\tpam_sample.so\tspeed=3\tquiet\t", "\tpam_sample.so\t\tquiet\t speed=5");
    row("carriage return stays inside", "pam_sample.so speed=3\r", "pam_sample.so \r speed=5");
    row("two options", "pam_sample.so speed=3 a speed=4 b", "pam_sample.so  a  b speed=5");
    row("two options in a row", "pam_sample.so speed=3 speed=4", "pam_sample.so   speed=5");
    row("right option twice", "pam_sample.so speed=5 speed=5", "pam_sample.so   speed=5");
    row("right option first", "pam_sample.so speed=5 a speed=4", "pam_sample.so  a  speed=5");
    row("right option last", "pam_sample.so speed=4 a speed=5", "pam_sample.so  a  speed=5");
    row("three options", "pam_sample.so speed=5 speed=5 speed=5 b", "pam_sample.so    b speed=5");
    row("commented-out line", "# pam_sample.so speed=3", "# pam_sample.so  speed=5");
    row("option in a comment", "pam_sample.so a # speed=3 old", "pam_sample.so a #  old speed=5");
    row("module in a comment", "pam_unix.so speed=3 # pam_sample.so", "pam_unix.so  # pam_sample.so speed=5");
    row("module in a longer name", "xpam_sample.sox speed=3", "xpam_sample.sox  speed=5");
    row("zeros in front", "pam_sample.so speed=03", "pam_sample.so  speed=5");
    row("number too large for an int counts as 0", "pam_sample.so speed=99999999999", "pam_sample.so  speed=5");
    row("hyphen before the name is a boundary", "pam_sample.so even-speed=3", "pam_sample.so even- speed=5");
    row("comma before the name is a boundary", "pam_sample.so a,speed=3,b", "pam_sample.so a,,b speed=5");
    row("hyphen behind the number is a boundary", "pam_sample.so speed=3-4", "pam_sample.so -4 speed=5");
    row("dot behind the number is a boundary", "pam_sample.so speed=3.4", "pam_sample.so .4 speed=5");
    row("equals sign behind the number is a boundary", "pam_sample.so speed=3=4", "pam_sample.so =4 speed=5");
    row("letters beyond ASCII are boundaries",
        "pam_sample.so \xc3\xa9speed=3\xc3\xa9",
        "pam_sample.so \xc3\xa9\xc3\xa9 speed=5");
    row("text beyond ASCII stays",
        "pam_sample.so na\xc3\xafve \xf0\x9f\x94\x91 speed=3",
        "pam_sample.so na\xc3\xafve \xf0\x9f\x94\x91  speed=5");
    row("other options with boundaries inside stay",
        "pam_sample.so xspeed=3 speed=3x speed=3 speed=",
        "pam_sample.so xspeed=3 speed=3x  speed= speed=5");
}

void PamStackCorrectionTest::correctsLine()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, expected);
    QCOMPARE(corrected(line, 5), expected);
}

void PamStackCorrectionTest::leavesFileAlone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("wanted");

    const auto row = [](const char *name, const QByteArray &content, int wanted = 5) {
        QTest::newRow(name) << content << wanted;
    };
    row("empty file", "");
    row("only line ends", "\n\n");
    row("no module", "auth required pam_unix.so speed=3\n");
    row("no option", "auth required pam_sample.so quiet\n");
    row("right option once", "auth required pam_sample.so a speed=5 b\n");
    row("right option with zeros in front", "pam_sample.so speed=005\n");
    row("zeros in front are no octal", "pam_sample.so speed=010\n", 10);
    row("module on another line", "pam_sample.so\nspeed=3\n");
    row("module in capitals", "PAM_SAMPLE.SO speed=3\n");
    row("any character for the dot", "pam_sample_so speed=3\n");
    row("option in capitals", "pam_sample.so SPEED=3\n");
    row("letters before the name", "pam_sample.so xspeed=3\n");
    row("underscore before the name", "pam_sample.so even_speed=3\n");
    row("digit before the name", "pam_sample.so 1speed=3\n");
    row("letters behind the number", "pam_sample.so speed=3x\n");
    row("underscore behind the number", "pam_sample.so speed=3_\n");
    row("negative number", "pam_sample.so speed=-3\n");
    row("no number", "pam_sample.so speed= speed\n");
    row("blank before the number", "pam_sample.so speed= 3\n");
    row("no equals sign", "pam_sample.so speed3 speed 3\n");
    row("two equals signs", "pam_sample.so speed==3\n");
    row("digits beyond ASCII", "pam_sample.so speed=\xd9\xa3\n");
    row("number too large for an int where 0 is wanted", "pam_sample.so speed=99999999999\n", 0);
    row("0 where 0 is wanted", "pam_sample.so speed=0\n", 0);
    row("greatest int", "pam_sample.so speed=2147483647\n", 2147483647);
    row("invalid text", "\xff\xfe pam_sample.so speed=5 \xc3\n");
    row("NUL bytes", QByteArray("a\0b\npam_sample.so speed=5\0\n", 27));
    row("carriage returns", "pam_sample.so speed=5\r\n");
}

void PamStackCorrectionTest::leavesFileAlone()
{
    QFETCH(QByteArray, content);
    QFETCH(int, wanted);
    writeContent(stack(), content);
    makeOld(stack());
    const FileIdentity before = identityOf(stack());

    correctPamStack(samplePolicy(stack()), wanted);

    QCOMPARE(contentOf(stack()), content);
    const FileIdentity after = identityOf(stack());
    QCOMPARE(after.modified, before.modified);
    QCOMPARE(after.inode, before.inode);
}

void PamStackCorrectionTest::writesEveryNumber_data()
{
    QTest::addColumn<int>("wanted");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("zero") << 0 << QByteArray("pam_sample.so  speed=0\n");
    QTest::newRow("negative") << -7 << QByteArray("pam_sample.so  speed=-7\n");
    QTest::newRow("thousands without separator") << 1234567 << QByteArray("pam_sample.so  speed=1234567\n");
    QTest::newRow("greatest int") << 2147483647 << QByteArray("pam_sample.so  speed=2147483647\n");
    QTest::newRow("least int") << -2147483647 - 1 << QByteArray("pam_sample.so  speed=-2147483648\n");
}

void PamStackCorrectionTest::writesEveryNumber()
{
    QFETCH(int, wanted);
    QFETCH(QByteArray, expected);
    QCOMPARE(corrected("pam_sample.so speed=3\n", wanted), expected);
}

void PamStackCorrectionTest::keepsLineStructure_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected"); // with 5 wanted

    QTest::newRow("no line end at the end")
        << QByteArray("a\npam_sample.so speed=3") << QByteArray("a\npam_sample.so  speed=5");
    QTest::newRow("line end at the end") << QByteArray("pam_sample.so speed=3\nb\n")
                                         << QByteArray("pam_sample.so  speed=5\nb\n");
    QTest::newRow("empty lines") << QByteArray("\n\npam_sample.so speed=3\n\n\n")
                                 << QByteArray("\n\npam_sample.so  speed=5\n\n\n");
    QTest::newRow("several lines of the module")
        << QByteArray("pam_sample.so speed=5 a\npam_sample.so\npam_sample.so speed=1\npam_unix.so speed=1\n"
                      "#pam_sample.so speed=7 b\n")
        << QByteArray("pam_sample.so speed=5 a\npam_sample.so\npam_sample.so  speed=5\npam_unix.so speed=1\n"
                      "#pam_sample.so  b speed=5\n");
    QTest::newRow("carriage returns of other lines")
        << QByteArray("a\r\npam_sample.so speed=3\r\nb\r\n") << QByteArray("a\r\npam_sample.so \r speed=5\nb\r\n");
    QTest::newRow("lone carriage return ends no line")
        << QByteArray("pam_sample.so\rspeed=3\n") << QByteArray("pam_sample.so\r speed=5\n");
    QTest::newRow("NUL bytes") << QByteArray("a\0b\n\0\npam_sample.so \0 speed=3 c\0d\ne\0", 36)
                               << QByteArray("a\0b\n\0\npam_sample.so \0  c\0d speed=5\ne\0", 37);
    QTest::newRow("blanks around other lines")
        << QByteArray("  a  \t\npam_sample.so speed=3\n\t") << QByteArray("  a  \t\npam_sample.so  speed=5\n\t");
}

void PamStackCorrectionTest::keepsLineStructure()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    QCOMPARE(corrected(content, 5), expected);
}

void PamStackCorrectionTest::replacesInvalidTextOnlyWhenWriting()
{
    const QByteArray comment("# caf\xe9\n");
    QCOMPARE(corrected(comment + "pam_sample.so speed=5\n", 5), comment + "pam_sample.so speed=5\n");
    QCOMPARE(corrected(comment + "pam_sample.so speed=4\n", 5),
             QByteArray("# caf\xef\xbf\xbd\npam_sample.so  speed=5\n"));
}

void PamStackCorrectionTest::takesStackForUtf8WhateverTheLocale()
{
    const ScopedLatin1 locale;
    QCOMPARE(corrected("# caf\xc3\xa9, caf\xe9\npam_sample.so speed=4\n", 5),
             QByteArray("# caf\xc3\xa9, caf\xef\xbf\xbd\npam_sample.so  speed=5\n"));
}

void PamStackCorrectionTest::keepsInodeModeAndOwner()
{
    writeContent(stack(), "pam_sample.so speed=3\n");
    QCOMPARE(chown(qPrintable(stack()), 1234, 4321), 0);
    QCOMPARE(chmod(qPrintable(stack()), 0640), 0);
    makeOld(stack());
    const FileIdentity before = identityOf(stack());

    correctPamStack(samplePolicy(stack()), 5);

    QCOMPARE(contentOf(stack()), QByteArray("pam_sample.so  speed=5\n"));
    const FileIdentity after = identityOf(stack());
    QCOMPARE(after.inode, before.inode);
    QCOMPARE(after.mode, before.mode);
    QCOMPARE(after.owner, 1234U);
    QCOMPARE(after.group, 4321U);
    QVERIFY(after.modified > before.modified);
}

void PamStackCorrectionTest::makesNoOtherFile()
{
    corrected("pam_sample.so speed=3\n", 5);
    QCOMPARE(contentBelow(m_folder->path()),
             FolderContent({{QStringLiteral("stack"), QByteArray("pam_sample.so  speed=5\n")}}));
}

void PamStackCorrectionTest::writesThroughSymbolicLink()
{
    const QString target = m_folder->filePath(QStringLiteral("target"));
    writeContent(target, "pam_sample.so speed=3\n");
    QVERIFY(QFile::link(target, stack()));
    correctPamStack(samplePolicy(stack()), 5);
    QVERIFY(QFileInfo(stack()).isSymLink());
    QCOMPARE(contentOf(target), QByteArray("pam_sample.so  speed=5\n"));
}

void PamStackCorrectionTest::correctsOptionOnLinesOfAllModules()
{
    PamPolicy policy = samplePolicy(stack());
    policy.correctedOption = QStringLiteral("angle");
    writeContent(stack(),
                 "pam_sample.so angle=1\npam_example.so angle=1 speed=1\npam_c.so angle=1\npam_sample_so angle=1\n");
    correctPamStack(policy, 90);
    QCOMPARE(contentOf(stack()),
             QByteArray("pam_sample.so  angle=90\npam_example.so  speed=1 angle=90\npam_c.so angle=1\n"
                        "pam_sample_so angle=1\n"));
}

void PamStackCorrectionTest::ignoresMissingFile()
{
    correctPamStack(samplePolicy(stack()), 5);
    QCOMPARE(contentBelow(m_folder->path()), FolderContent());
}

void PamStackCorrectionTest::ignoresFolder()
{
    QVERIFY(QDir().mkdir(stack()));
    correctPamStack(samplePolicy(stack()), 5);
    QCOMPARE(contentBelow(m_folder->path()), FolderContent({{QStringLiteral("stack/"), QByteArray()}}));
}

void PamStackCorrectionTest::ignoresReadOnlyFile()
{
    const QByteArray content("pam_sample.so speed=3\n");
    writeContent(stack(), content);
    const ScopedMount mounted = ScopedMount::readOnly(stack());
    correctPamStack(samplePolicy(stack()), 5);
    QCOMPARE(contentBelow(m_folder->path()), FolderContent({{QStringLiteral("stack"), content}}));
}

void PamStackCorrectionTest::correctsTenThousandLines()
{
    const QByteArray line("auth required pam_sample.so speed=3 quiet\n");
    const QByteArray expected("auth required pam_sample.so  quiet speed=5\n");
    QVERIFY(corrected(line.repeated(10000), 5) == expected.repeated(10000));
}

void PamStackCorrectionTest::correctsLineOfMegabyte()
{
    const QByteArray options = QByteArray(" retry=3").repeated(1 << 17);
    QVERIFY(corrected("pam_sample.so" + options + " speed=3\n", 5) == "pam_sample.so" + options + "  speed=5\n");
    const QByteArray many = QByteArray(" speed=5").repeated(1 << 17);
    QVERIFY(corrected("pam_sample.so" + many, 5) == "pam_sample.so" + QByteArray(1 << 17, ' ') + " speed=5");
}

QTEST_GUILESS_MAIN(PamStackCorrectionTest)
#include "PamStackCorrectionTest.moc"
