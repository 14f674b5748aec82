// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The files, tests and functions that documents and scripts name are there.

#include "tests/support/Files.h"
#include "tests/support/InterfacePage.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>

namespace
{
const QDir sources(QStringLiteral(SOURCES));
const QDir tests(QStringLiteral(SOURCES "/tests"));

QStringList found(const QString &text, const QString &pattern)
{
    QStringList all;
    for (auto matches = QRegularExpression(pattern).globalMatch(text); matches.hasNext();) {
        all += matches.next().captured(1);
    }
    return all;
}

/// Whether a file of the tests that fits the pattern has the text.
bool isInTests(const QString &files, const QString &text = QString())
{
    QDirIterator each(tests.path(), {files}, QDir::Files, QDirIterator::Subdirectories);
    bool isThere = false;
    while (!isThere && each.hasNext()) {
        isThere = contentOf(each.next()).contains(text.toUtf8());
    }
    return isThere;
}

/// Whether the test has this function or session, or it is a transcript.
bool hasPart(const QString &test, const QString &name)
{
    return isInTests(test + QLatin1String(".cpp"), QStringLiteral("    void %1();\n").arg(name))
        || isInTests(test + QLatin1String(".*"), QStringLiteral("\n## %1\n").arg(name)) || isInTests(name);
}

QStringList wrongNames(const QString &text)
{
    QStringList wrong;
    const auto expect = [&wrong](bool isThere, const QString &name) {
        wrong += isThere ? QStringList() : QStringList(name);
    };
    // a test's path may stand without its first folder and its end
    const auto folder = QDir::Dirs | QDir::NoDotAndDotDot;
    const QString folders = (sources.entryList(folder) + tests.entryList(folder)).join(QLatin1Char('|'));
    const QString path = QStringLiteral("(?<![\\w/.$}>-])((?!build)(?:%1)/[\\w./-]*)(?<!\\.)").arg(folders);
    for (const QString &name : found(text, path)) {
        const QString source = name + QLatin1String(".cpp");
        expect(sources.exists(name) || tests.exists(name) || sources.exists(source) || tests.exists(source), name);
    }
    const QString program = QStringLiteral("(?:build/\\w+/tests/(?:fuzz-)?+|(?<![\\w/])(?=[A-Z]\\w*Test\\b))(\\w+)");
    for (const QString &name : found(text, program)) {
        expect(isInTests(name + QLatin1String(".cpp")), name);
    }
    for (const QString &list : found(text, QStringLiteral("(\\w+Test`:\\s[^;|.]*)"))) {
        for (const QString &name : codeIn(list.section(QLatin1Char(':'), 1))) {
            expect(hasPart(list.section(QLatin1Char('`'), 0, 0), name), name);
        }
    }
    for (const QString &name : found(text, QStringLiteral("-functions .*\\^(\\w+)"))) {
        expect(hasPart(QStringLiteral("*Test"), name), name);
    }
    return wrong;
}
}

class NamedTestsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noticesWrongNames();
    void findsNoneInDocumentsAndScripts_data();
    void findsNoneInDocumentsAndScripts();
};

void NamedTestsTest::noticesWrongNames()
{
    const QString text = QStringLiteral(
        "scripts/gone, docs/NamedTests.md, build/dev/tests/gonewriter, GoneTest, `endtoend/OldTest`; /etc/docs/any, "
        "`docs/NamedTestsTest`: `gone`, `noticesWrongNames`; `endtoend/ClientTest`: `gone too`, `option for account`. "
        "scripts/test, -functions | grep '^gone('");
    QCOMPARE(wrongNames(text).join(QLatin1Char(',')),
             QStringLiteral("scripts/gone,docs/NamedTests.md,endtoend/OldTest,gonewriter,GoneTest,gone,gone too,gone"));
}

void NamedTestsTest::findsNoneInDocumentsAndScripts_data()
{
    QTest::addColumn<QString>("path");
    for (const char *names : {"*.md", "docs/*.md", "bench/*.md", "scripts/*", "debian/tests/*"}) {
        const QFileInfo pattern(sources, QString::fromLatin1(names));
        const QFileInfoList files = pattern.dir().entryInfoList({pattern.fileName()}, QDir::Files);
        QVERIFY(!files.isEmpty());
        for (const QFileInfo &file : files) {
            QTest::newRow(qPrintable(sources.relativeFilePath(file.filePath()))) << file.filePath();
        }
    }
}

void NamedTestsTest::findsNoneInDocumentsAndScripts()
{
    QFETCH(QString, path);
    QCOMPARE(wrongNames(QString::fromUtf8(contentOf(path))).join(QLatin1Char(',')), QString());
}

QTEST_GUILESS_MAIN(NamedTestsTest)
#include "NamedTestsTest.moc"
