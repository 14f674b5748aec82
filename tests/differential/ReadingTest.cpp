// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The policies' readings of made-up files against readings by other means. By hand, for more files or other ones:
// scripts/sandbox -- build/dev/tests/ReadingTest --seed 7 --files 100000

#include "tests/differential/SecondReadings.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QTest>

namespace
{
constexpr int batch = 5000;
constexpr int shownDifferences = 5;

/// Makes one file of a kind.
using Make = QByteArray (FileGenerator::*)(Kind);
}

class ReadingTest : public QObject
{
    Q_OBJECT

public:
    explicit ReadingTest(const Extent &extent);

private Q_SLOTS:
    void initTestCase();
    void init();

    void readsAnyFileAsTheSecondReadingDoes_data();
    void readsAnyFileAsTheSecondReadingDoes();
    void readsPlainFilesAsTheLensesDo_data();
    void readsPlainFilesAsTheLensesDo();

private:
    void compareReadings(Kind kind, Make make, int files, const QString &script);
    int compareBatch(const QString &script, const QVector<Record> &records, int first);

    Extent m_extent;
    QSet<QByteArray> m_outcomes;
};

ReadingTest::ReadingTest(const Extent &extent) : m_extent(extent)
{
}

void ReadingTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    qInfo("seed %u, %d files of each kind", m_extent.seed, m_extent.files);
}

void ReadingTest::init()
{
    // the expiration policy has two files; the one that isn't asked about must set nothing
    for (const Kind kind : allKinds) {
        writeContent(pathOf(kind), QByteArray());
    }
    m_outcomes.clear();
}

int ReadingTest::compareBatch(const QString &script, const QVector<Record> &records, int first)
{
    const QByteArrayList expected = readingsBy(script, records);
    int differences = 0;
    for (int i = 0; i < records.size(); ++i) {
        writeContent(pathOf(records[i].kind), records[i].content);
        const QByteArray own = ownReading(records[i].kind);
        m_outcomes += own;
        if (own != expected[i] && ++differences <= shownDifferences) {
            qWarning("%s", difference(m_extent.seed, first + i, records[i], expected[i], own).constData());
        }
    }
    return differences;
}

void ReadingTest::compareReadings(Kind kind, Make make, int files, const QString &script)
{
    FileGenerator generator(m_extent.seed);
    int differences = 0;
    for (int first = 0; first < files; first += batch) {
        QVector<Record> records;
        for (int i = first; i < qMin(first + batch, files); ++i) {
            records.append({kind, nameOf(kind), (generator.*make)(kind)});
        }
        differences += compareBatch(script, records, first);
    }
    QCOMPARE(differences, 0);
    // files that say nothing would agree on everything
    QVERIFY2(m_outcomes.size() > files / 10, QByteArray::number(m_outcomes.size()).constData());
}

void ReadingTest::readsAnyFileAsTheSecondReadingDoes_data()
{
    addKinds();
}

void ReadingTest::readsAnyFileAsTheSecondReadingDoes()
{
    QFETCH(Kind, kind);
    compareReadings(kind, &FileGenerator::file, m_extent.files, QStringLiteral("reading.pl"));
}

void ReadingTest::readsPlainFilesAsTheLensesDo_data()
{
    addKinds();
}

// A lens keeps what stands behind a value, quotes, and lines that are no setting at all, and takes names only as a
// whole. So it judges files of complete settings, of options with whole names and of comments.
void ReadingTest::readsPlainFilesAsTheLensesDo()
{
    QFETCH(Kind, kind);
    compareReadings(kind, &FileGenerator::plainFile, m_extent.files / 10, QStringLiteral("lenses.pl"));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    ReadingTest test(takeExtent(&arguments, 5000));
    return QTest::qExec(&test, arguments);
}

#include "ReadingTest.moc"
