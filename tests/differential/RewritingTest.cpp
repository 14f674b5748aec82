// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What writes leave of made-up files, byte for byte, against a rewriting by other means. By hand, for more files or
// other ones: scripts/sandbox -- build/dev/tests/RewritingTest --seed 7 --files 10000

#include "tasks/TaskResult.h"
#include "tests/differential/SecondReadings.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"
#include "tests/support/Rows.h"

#include <QTest>

namespace
{
/// The words for a write in a record's head.
QByteArray headOf(const char *what, Kind kind, const QVariantMap &arguments)
{
    QByteArray head = QByteArray(what) + ' ' + nameOf(kind);
    for (auto it = arguments.cbegin(); it != arguments.cend(); ++it) {
        head += ' ' + it.key().toLatin1() + '=' + it->toString().toLatin1();
    }
    return head;
}

}

class RewritingTest : public QObject
{
    Q_OBJECT

public:
    explicit RewritingTest(const Extent &extent) : m_extent(extent)
    {
    }

private Q_SLOTS:
    void rewritesSettingsAsTheSecondRewritingDoes();
    void rewritesProfileAndStackAsTheSecondRewritingDoes_data();
    void rewritesProfileAndStackAsTheSecondRewritingDoes();

private:
    void compare(const QVector<Record> &records, const QByteArrayList &own) const;

    Extent m_extent;
};

void RewritingTest::compare(const QVector<Record> &records, const QByteArrayList &own) const
{
    QCOMPARE(countDifferences(m_extent.seed, records, rewritings(records), own), 0);
    int changed = 0;
    for (int i = 0; i < records.size(); ++i) {
        changed += own[i] != records[i].content ? 1 : 0;
    }
    // writes that change nothing would agree on everything
    QVERIFY2(changed > records.size() / 3, QByteArray::number(changed).constData());
}

void RewritingTest::rewritesSettingsAsTheSecondRewritingDoes()
{
    FileGenerator generator(m_extent.seed);
    QVector<Record> records;
    QByteArrayList own;
    for (int i = 0; i < m_extent.files; ++i) {
        QVariantMap arguments;
        for (const Kind kind : {Kind::LoginDefs, Kind::UseraddDefaults}) {
            const QVariantMap some = generator.arguments(kind);
            arguments.insert(some);
            records.append({kind, headOf("settings", kind, some), generator.file(kind)});
            writeContent(pathOf(kind), records.last().content);
        }

        QCOMPARE(stateAfterWrite(Kind::LoginDefs, arguments), TaskState::SucceededWithNotice);

        for (const Kind kind : {Kind::LoginDefs, Kind::UseraddDefaults}) {
            own += contentOf(pathOf(kind));
        }
    }
    compare(records, own);
}

void RewritingTest::rewritesProfileAndStackAsTheSecondRewritingDoes_data()
{
    const Rows<Kind, QString> row("kind", "profile");
    row("lockout", Kind::CommonAuth, QStringLiteral("tally"));
    row("complexity", Kind::CommonPassword, QStringLiteral("pwquality"));
}

void RewritingTest::rewritesProfileAndStackAsTheSecondRewritingDoes()
{
    QFETCH(Kind, kind);
    QFETCH(QString, profile);
    PamSystem pam;
    FileGenerator generator(m_extent.seed);
    QVector<Record> records;
    QByteArrayList own;
    for (int i = 0; i < m_extent.files; ++i) {
        const QVariantMap arguments = generator.arguments(kind);
        records.append({kind, headOf("profile", kind, arguments), generator.profile(kind)});
        writeContent(PamSystem::profile(profile), records.last().content);
        records.append({kind, headOf("stack", kind, arguments), generator.profile(kind)});
        writeContent(pathOf(kind), records.last().content);

        QCOMPARE(stateAfterWrite(kind, arguments), TaskState::Succeeded);

        own += contentOf(PamSystem::profile(profile));
        own += contentOf(pathOf(kind));
    }
    compare(records, own);
}

int main(int argc, char **argv)
{
    return runTest<RewritingTest>(argc, argv, 300);
}

#include "RewritingTest.moc"
