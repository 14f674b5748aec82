// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What a preview shows and what the write leaves, on machines that are made up: equal byte for byte.
// By hand, for more of them or other ones: scripts/sandbox -- build/dev/tests/PreviewedWritesTest --seed 7 --files 2000

#include "client/preview/ModulePreview.h"
#include "client/preview/Preview.h"
#include "client/preview/UnifiedDiff.h"
#include "tasks/TaskResult.h"
#include "tests/differential/ModuleGenerator.h"
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
#include <optional>

namespace
{
constexpr int machinesPerRow = 25;

constexpr const char *profilesOfModules[] = {
    "accountpolicies-faillock", "accountpolicies-faillock-preauth", "accountpolicies-pwhistory"};

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
    for (const char *folder : {"/etc",
                               "/etc/default",
                               "/etc/pam.d",
                               "/etc/security",
                               "/etc/security/pwquality.conf.d",
                               "/usr/share/pam-configs",
                               "/var/lib/pam",
                               "/var/cache/debconf"}) {
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
    return path.startsWith(QLatin1String("/usr/share/")) || path.startsWith(QLatin1String("/etc/security/"))
        || name == QLatin1String("login.defs") || name == QLatin1String("useradd");
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
        : m_extent(extent), m_generator(extent.seed), m_modules(extent.seed)
    {
    }

private Q_SLOTS:
    void initTestCase();
    void showsWhatTheWriteLeaves_data();
    void showsWhatTheWriteLeaves();
    void metAllKindsOfWrites();
    void showsWhatTheWriteOfModuleLeaves_data();
    void showsWhatTheWriteOfModuleLeaves();
    void metAllKindsOfWritesOfModules();

private:
    Kind makeUp();
    QVariantMap argumentsFor(Kind kind);
    void compareOnce(Kind kind, const QVariantMap &arguments);
    ModuleWish makeUpWish(const ModulePolicy &policy);
    void compareOnce(const ModulePolicy &policy, const ModuleWish &wish);
    void compareLosses(const Preview &preview, const Files &before, const Files &after);

    Extent m_extent;
    FileGenerator m_generator;
    ModuleGenerator m_modules;
    std::optional<PamMachine> m_machine;
    /// How often a write failed, a line of an administrator's went, one stayed.
    int m_failures = 0;
    int m_gone = 0;
    int m_kept = 0;
    /// How many writes of modules' policies ended so.
    QMap<ModuleOutcome::Kind, int> m_outcomes;
};

void PreviewedWritesTest::initTestCase()
{
    // nobody could answer it
    qputenv("DEBIAN_FRONTEND", "noninteractive");
    for (const char *name : profilesOfModules) {
        const QString profile = QLatin1Char('/') + QLatin1String(name);
        writeContent(QLatin1String("/usr/share/pam-configs") + profile,
                     contentOf(QLatin1String(SOURCES "/profiles") + profile));
    }
    QCOMPARE(runAs(root, "pam-auth-update --package").exitCode, 0);
    QDir().mkpath(QStringLiteral("/etc/security/pwquality.conf.d"));
    m_machine.emplace(&m_generator); // with all that
}

/// A write of PAM's policies goes on with what the one before has left, as on any machine.
Kind PreviewedWritesTest::makeUp()
{
    if (m_generator.number(1, 6) == 1) {
        m_machine->restore();
    }
    const int chance = m_generator.number(1, 10);
    const Kind kind = chance == 1 ? Kind::LoginDefs : chance <= 4 ? Kind::CommonAuth : Kind::CommonPassword;
    m_machine->disturb(kind);
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
    const QByteArrayList added = m_machine->addedLines();
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

void PreviewedWritesTest::showsWhatTheWriteOfModuleLeaves_data()
{
    QTest::addColumn<int>("first");
    for (int first = 0; first < m_extent.files / 4; first += machinesPerRow) {
        QTest::addRow("from number %d", first) << first;
    }
}

ModuleWish PreviewedWritesTest::makeUpWish(const ModulePolicy &policy)
{
    if (m_generator.number(1, 6) == 1) {
        m_machine->restore();
    }
    m_machine->disturb(m_modules.oneOf(2) ? Kind::CommonAuth : Kind::CommonPassword);
    if (m_modules.oneOf(3)) {
        writeContent(policy.path, m_modules.file(policy));
    }
    using Switch = ModuleWish::Switch;
    const Switch profiles = m_modules.oneOf(4) ? Switch::Off : m_modules.oneOf(4) ? Switch::Stay : Switch::On;
    return {m_modules.values(policy), profiles, m_modules.oneOf(4)};
}

void PreviewedWritesTest::showsWhatTheWriteOfModuleLeaves()
{
    QFETCH(int, first);
    for (int i = first; i < std::min(first + machinesPerRow, m_extent.files / 4); ++i) {
        const ModulePolicy &policy = *modulePolicies().at(m_modules.number(0, 2));
        const ModuleWish wish = makeUpWish(policy);
        compareOnce(policy, wish);
        if (QTest::currentTestFailed()) {
            QFAIL(QStringLiteral("number %1 of seed %2: %3 {%4}, profiles %5, force %6")
                      .arg(i)
                      .arg(m_extent.seed)
                      .arg(policy.name, typedEntries(wish.values).join(QLatin1String(", ")))
                      .arg(int(wish.profiles))
                      .arg(wish.force)
                      .toUtf8()
                      .constData());
        }
    }
}

/// A preview shows stacks that were edited as force would have them, and force is what somebody says who has seen it.
void PreviewedWritesTest::compareOnce(const ModulePolicy &policy, const ModuleWish &wish)
{
    const Files before = machine();
    Preview preview;
    {
        const AsNobody caller;
        const ScopedLatin1 encodingOfTheCaller;
        preview = modulePreviewOf(policy, wish);
    }
    QCOMPARE(difference(machine(), before), QByteArray());

    const ModuleOutcome outcome = writeModule(policy, wish);
    ++m_outcomes[outcome.kind];
    QCOMPARE(preview.outcome.error, outcomeOfWrite(outcome).error);
    QCOMPARE(int(preview.outcome.code), int(outcomeOfWrite(outcome).code));
    if (outcome.kind == ModuleOutcome::Kind::StacksEdited) {
        QCOMPARE(difference(shownOf(machine()), shownOf(before)), QByteArray());
        writeModule(policy, {wish.values, wish.profiles, true});
    }
    const Files after = machine();
    QCOMPARE(difference(shownOf(withPreview(before, preview)), shownOf(after)), QByteArray());
}

void PreviewedWritesTest::metAllKindsOfWritesOfModules()
{
    using End = ModuleOutcome::Kind;
    qInfo("of the modules' policies %d done, %d in force already, %d not ours, %d of edited stacks, %d rolled back, %d "
          "failed",
          m_outcomes[End::Done],
          m_outcomes[End::InForceAlready],
          m_outcomes[End::NotOurs],
          m_outcomes[End::StacksEdited],
          m_outcomes[End::RolledBack],
          m_outcomes[End::Failed]);
    QVERIFY(m_outcomes[End::Done] > m_extent.files / 4 / 4);
    QVERIFY(m_outcomes[End::StacksEdited] > 0);
}

int main(int argc, char **argv)
{
    return runTest<PreviewedWritesTest>(argc, argv, 560); // one of ten has no stacks
}

#include "PreviewedWritesTest.moc"
