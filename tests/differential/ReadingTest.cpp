// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The policies' readings of made-up files against readings by other means. By hand, for more files or other ones:
// scripts/sandbox -- build/dev/tests/ReadingTest --seed 7 --files 100000

#include "tests/differential/SecondReadings.h"
#include "tests/support/Files.h"
#include "tests/support/Rows.h"

#include <QTest>

#include <functional>

namespace
{
constexpr int batch = 5000;

/// Makes the file of that number.
using Make = std::function<QByteArray(int)>;

/// The characters of the first plane, but for the thousands of letters of other scripts than Latin.
QString allCharacters()
{
    QString characters;
    for (ushort code = 0; code < 0xffff; ++code) {
        const QChar character(code);
        const bool hasMeaning = character.category() != QChar::Other_PrivateUse && !character.isSurrogate();
        if (code < 0x250 || (hasMeaning && !character.isLetter())) {
            characters += character;
        }
    }
    return characters;
}
}

class ReadingTest : public QObject
{
    Q_OBJECT

public:
    explicit ReadingTest(const Extent &extent) : m_extent(extent)
    {
    }

private Q_SLOTS:
    void init();

    void readsAnyFileAsTheSecondReadingDoes_data();
    void readsAnyFileAsTheSecondReadingDoes();
    void takesEveryCharacterForWhatItIs_data();
    void takesEveryCharacterForWhatItIs();
    void readsPlainFilesAsTheLensesDo_data();
    void readsPlainFilesAsTheLensesDo();

private:
    void compareReadings(Kind kind, const Make &make, int files, const QString &script);

    Extent m_extent;
    QSet<QByteArray> m_outcomes;
};

void ReadingTest::init()
{
    // the expiration policy has two files; the one that isn't asked about must set nothing
    for (const Kind kind : allKinds) {
        writeContent(pathOf(kind), QByteArray());
    }
    m_outcomes.clear();
}

void ReadingTest::compareReadings(Kind kind, const Make &make, int files, const QString &script)
{
    int differences = 0;
    for (int first = 0; first < files; first += batch) {
        QVector<Record> records;
        QByteArrayList own;
        for (int i = first; i < qMin(first + batch, files); ++i) {
            records.append({kind, nameOf(kind), make(i)});
            writeContent(pathOf(kind), records.last().content);
            own += ownReading(kind);
            m_outcomes += own.last();
        }
        differences += countDifferences(m_extent.seed, records, readingsBy(script, records), own, first);
    }
    QCOMPARE(differences, 0);
}

void ReadingTest::readsAnyFileAsTheSecondReadingDoes_data()
{
    addKinds();
}

void ReadingTest::readsAnyFileAsTheSecondReadingDoes()
{
    QFETCH(Kind, kind);
    FileGenerator generator(m_extent.seed);
    const Make make = [&generator, kind](int) {
        return generator.file(kind);
    };
    compareReadings(kind, make, m_extent.files, QStringLiteral("reading.pl"));
    // files that say nothing would agree on everything
    QVERIFY2(m_outcomes.size() > m_extent.files / 10, QByteArray::number(m_outcomes.size()).constData());
}

void ReadingTest::takesEveryCharacterForWhatItIs_data()
{
    const Rows<Kind, RowText> row("kind", "lines");
    row("login.defs", Kind::LoginDefs, "PASS_MAX_DAYS%15\nPASS_MIN_DAYS %1\nPASS_WARN_AGE 5%1%1");
    row("useradd", Kind::UseraddDefaults, "INACTIVE%1=%15\nEXPIRE=2025-01-01%1x");
    row("common-auth", Kind::CommonAuth, "auth required pam_tally.so%1deny=%15 lock_time=%1%1per_user");
    row("common-password", Kind::CommonPassword, "password required pam_cracklib.so%1minlen=%15%1lcredit=-%1");
}

// What is white space, a digit or a sign differs between regular expressions.
void ReadingTest::takesEveryCharacterForWhatItIs()
{
    QFETCH(Kind, kind);
    QFETCH(QString, lines);
    const QString characters = allCharacters();
    const Make make = [&lines, &characters](int i) {
        return QString(lines).replace(QLatin1String("%1"), characters.at(i)).toUtf8();
    };
    compareReadings(kind, make, characters.size(), QStringLiteral("reading.pl"));
    QVERIFY2(m_outcomes.size() > 1, m_outcomes.cbegin()->constData());
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
    const int files = m_extent.files / 10;
    FileGenerator generator(m_extent.seed);
    const Make make = [&generator, kind](int) {
        return generator.plainFile(kind);
    };
    compareReadings(kind, make, files, QStringLiteral("lenses.pl"));
    QVERIFY2(m_outcomes.size() > files / 10, QByteArray::number(m_outcomes.size()).constData());
}

int main(int argc, char **argv)
{
    return runTest<ReadingTest>(argc, argv, 5000);
}

#include "ReadingTest.moc"
