// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What a preview shows and what the write leaves, on machines that are made up: equal byte for byte.
// By hand, for more of them or other ones: scripts/sandbox -- build/dev/tests/PreviewedWritesTest --seed 7 --files 2000

#include "client/preview/Preview.h"
#include "client/preview/UnifiedDiff.h"
#include "tasks/TaskResult.h"
#include "tests/differential/PamMachine.h"
#include "tests/differential/SecondReadings.h"
#include "tests/support/AsNobody.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/ScopedLatin1.h"
#include "tests/support/TypedMap.h"

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include <QDir>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int machinesPerRow = 25;

using Files = QMap<QString, QByteArray>;

Files filesIn(const QString &folder)
{
    Files files;
    const auto entries = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo &entry : entries) {
        files.insert(entry.filePath(), contentOf(entry.filePath()));
    }
    return files;
}

/// Everything that a write of any policy reads or changes.
Files machine()
{
    Files all;
    for (const char *folder :
         {"/etc", "/etc/default", "/etc/pam.d", "/usr/share/pam-configs", "/var/lib/pam", "/var/cache/debconf"}) {
        const Files files = filesIn(QString::fromLatin1(folder));
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            all.insert(file.key(), file.value());
        }
    }
    return all;
}

/// Those of them that people look at: not the tools' records and backups.
bool isShown(const QString &path)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    if (path.startsWith(QLatin1String("/etc/pam.d/"))) {
        return !name.contains(QLatin1Char('.'));
    }
    return path.startsWith(QLatin1String("/usr/share/")) || name == QLatin1String("login.defs")
        || name == QLatin1String("useradd");
}

Files shownOf(Files files)
{
    for (auto file = files.begin(); file != files.end();) {
        file = isShown(file.key()) ? std::next(file) : files.erase(file);
    }
    return files;
}

/// What patch(1) makes of a file by the diff that people see.
QByteArray patched(const FilePreview &file)
{
    const QString before = QStringLiteral("/run/patched");
    writeContent(before, file.before);
    return runAs(0,
                 QStringLiteral("patch"),
                 {QStringLiteral("--binary"), QStringLiteral("--quiet"), QStringLiteral("--output=-"), before},
                 unifiedDiff(file.path, file.before, file.after))
        .standardOutput;
}

Files withPreview(Files files, const Preview &preview)
{
    for (const FilePreview &file : preview.files) {
        files.insert(file.path, patched(file));
    }
    return files;
}

QString policyOf(Kind kind)
{
    switch (kind) {
    case Kind::CommonAuth:
        return QStringLiteral("lockout");
    case Kind::CommonPassword:
        return QStringLiteral("complexity");
    default:
        return QStringLiteral("expiration");
    }
}

/// In the words of a preview's failure; empty on success.
template<typename Task>
QString failureOf(const QVariantMap &arguments)
{
    Task task(nullptr, std::make_unique<QVariantMap>(arguments).release());
    task.run();
    const TaskResult &result = task.result();
    return result.state() == TaskState::Failed ? result.description() + QLatin1Char('\n') + result.message()
                                               : QString();
}

QString failureOfWrite(Kind kind, const QVariantMap &arguments)
{
    switch (kind) {
    case Kind::CommonAuth:
        return failureOf<LocalPolicyLockoutUpdateTask>(arguments);
    case Kind::CommonPassword:
        return failureOf<LocalPolicyPasswordComplexityUpdateTask>(arguments);
    default:
        return failureOf<LocalPolicyPasswordExpirationUpdateTask>(arguments);
    }
}

QByteArrayList lostIn(const Preview &preview)
{
    QByteArrayList lost;
    for (const FilePreview &file : preview.files) {
        lost += file.lost;
    }
    return lost;
}

bool standsIn(const Files &files, const QByteArray &line)
{
    return std::any_of(files.begin(), files.end(), [&line](const QByteArray &content) {
        return content.split('\n').contains(line);
    });
}

/// The first file that is another, or where there is none, nothing.
QByteArray difference(const Files &left, const Files &right)
{
    const QStringList paths = left.keys() + right.keys();
    for (const QString &path : paths) {
        if (left.value(path) != right.value(path)) {
            return path.toUtf8() + "\n--- " + left.value(path) + "\n+++ " + right.value(path);
        }
    }
    return {};
}
}

class PreviewedWritesTest : public QObject
{
    Q_OBJECT

public:
    explicit PreviewedWritesTest(const Extent &extent)
        : m_extent(extent), m_generator(extent.seed), m_machine(&m_generator)
    {
    }

private Q_SLOTS:
    void initTestCase();
    void showsWhatTheWriteLeaves_data();
    void showsWhatTheWriteLeaves();
    void metAllKindsOfWrites();

private:
    Kind makeUp();
    QVariantMap argumentsFor(Kind kind);
    void compareOnce(Kind kind, const QVariantMap &arguments);
    void compareLosses(const Preview &preview, const Files &before, const Files &after);

    Extent m_extent;
    FileGenerator m_generator;
    PamMachine m_machine;
    /// How often a write failed, a line of an administrator's went, one stayed.
    int m_failures = 0;
    int m_gone = 0;
    int m_kept = 0;
};

void PreviewedWritesTest::initTestCase()
{
    // nobody could answer it
    qputenv("DEBIAN_FRONTEND", "noninteractive");
}

/// A write of PAM's policies goes on with what the one before has left, as on any machine.
Kind PreviewedWritesTest::makeUp()
{
    if (m_generator.number(1, 6) == 1) {
        m_machine.restore();
    }
    const int chance = m_generator.number(1, 10);
    const Kind kind = chance == 1 ? Kind::LoginDefs : chance <= 4 ? Kind::CommonAuth : Kind::CommonPassword;
    m_machine.disturb(kind);
    if (kind == Kind::LoginDefs) {
        writeContent(pathOf(kind), m_generator.file(kind));
        writeContent(pathOf(Kind::UseraddDefaults), m_generator.file(Kind::UseraddDefaults));
    }
    return kind;
}

QVariantMap PreviewedWritesTest::argumentsFor(Kind kind)
{
    QVariantMap arguments = m_generator.arguments(kind);
    const QVariantMap others = kind == Kind::LoginDefs ? m_generator.arguments(Kind::UseraddDefaults) : QVariantMap();
    for (auto other = others.cbegin(); other != others.cend(); ++other) {
        arguments.insert(other.key(), other.value());
    }
    return arguments;
}

/// In rows of some machines each: the limit of QtTest is for one row.
void PreviewedWritesTest::showsWhatTheWriteLeaves_data()
{
    QTest::addColumn<int>("first");
    for (int first = 0; first < m_extent.files; first += machinesPerRow) {
        QTest::addRow("from number %d", first) << first;
    }
}

void PreviewedWritesTest::showsWhatTheWriteLeaves()
{
    QFETCH(int, first);
    for (int i = first; i < std::min(first + machinesPerRow, m_extent.files); ++i) {
        const Kind kind = makeUp();
        const QVariantMap arguments = argumentsFor(kind);
        compareOnce(kind, arguments);
        if (QTest::currentTestFailed()) {
            QFAIL(QStringLiteral("number %1 of seed %2: %3 {%4}")
                      .arg(i)
                      .arg(m_extent.seed)
                      .arg(policyOf(kind), typedEntries(arguments).join(QLatin1String(", ")))
                      .toUtf8()
                      .constData());
        }
    }
}

void PreviewedWritesTest::metAllKindsOfWrites()
{
    qInfo("%d writes failed; of the lines of administrators %d went and %d stayed", m_failures, m_gone, m_kept);
    QVERIFY(m_failures > 0 && m_failures < m_extent.files / 2);
    QVERIFY(m_gone > 0 && m_kept > 0);
}

void PreviewedWritesTest::compareOnce(Kind kind, const QVariantMap &arguments)
{
    const Files before = machine();
    Preview preview;
    {
        const AsNobody caller;
        const ScopedLatin1 encodingOfTheCaller;
        preview = previewOf(policyOf(kind), arguments);
    }
    QCOMPARE(difference(machine(), before), QByteArray());

    const QString failure = failureOfWrite(kind, arguments);
    const Files after = machine();

    QCOMPARE(preview.outcome.error, failure);
    QCOMPARE(difference(shownOf(withPreview(before, preview)), shownOf(after)), QByteArray());
    m_failures += failure.isEmpty() ? 0 : 1;
    compareLosses(preview, shownOf(before), shownOf(after));
}

/// Each line that is told as lost must have become rarer; each that is like no other must be told if it isn't there any more.
void PreviewedWritesTest::compareLosses(const Preview &preview, const Files &before, const Files &after)
{
    for (const FilePreview &file : preview.files) {
        const QByteArrayList was = before.value(file.path).split('\n');
        const QByteArrayList is = after.value(file.path).split('\n');
        for (const QByteArray &line : file.lost) {
            QVERIFY2(was.count(line) > is.count(line), line.constData());
        }
    }
    const QByteArrayList lost = lostIn(preview);
    const QByteArrayList added = m_machine.addedLines();
    for (const QByteArray &line : added) {
        // the options of the policies' own modules may change
        if (!standsIn(before, line) || line.contains("pam_pwquality") || line.contains("pam_tally")) {
            continue;
        }
        const bool isGone = !standsIn(after, line);
        QVERIFY2(lost.contains(line) == isGone, line.constData());
        ++(isGone ? m_gone : m_kept);
    }
}

int main(int argc, char **argv)
{
    return runTest<PreviewedWritesTest>(argc, argv, 560); // one of ten has no stacks
}

#include "PreviewedWritesTest.moc"
