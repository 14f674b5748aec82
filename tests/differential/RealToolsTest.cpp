// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Made-up policies, judged by the programs that they are for. Each is written over the one before, as on any machine.
// By hand, for more policies or other ones: scripts/sandbox -- build/dev/tests/RealToolsTest --seed 7 --files 200

#include "tasks/TaskResult.h"
#include "tests/differential/SecondReadings.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Texts.h"
#include "tests/support/TypedMap.h"

#include <QDate>
#include <QTest>

#include <algorithm>

namespace
{
/// The kinds of characters that options of pam_pwquality(8) ask for.
struct CharacterKind {
    const char *option;
    /// In an order that makes no sequence.
    const char *characters;
};

constexpr CharacterKind characterKinds[] = {
    {"lcredit", "kcnbg"}, {"ucredit", "MFHKB"}, {"dcredit", "73958"}, {"ocredit", "%(?!&"}};

QByteArray outputOf(const QByteArray &command)
{
    const ProgramResult result = runAs(root, command.constData());
    if (result.exitCode != 0 || !result.standardError.isEmpty()) {
        qFatal("%s: %s", command.constData(), result.standardError.constData());
    }
    return result.standardOutput;
}

/// What a reading of the kind's file leaves if just these arguments are set there.
QByteArray readingOf(const QVariantMap &arguments)
{
    return (QStringList{QStringLiteral("state 2"), QStringLiteral("message ")} + typedEntries(arguments))
        .join(QLatin1String("; "))
        .toUtf8();
}

QVariantMap only(const QVariantMap &arguments, const QStringList &keys)
{
    QVariantMap some;
    for (const QString &key : keys) {
        if (arguments.contains(key)) {
            some.insert(key, arguments.value(key));
        }
    }
    return some;
}

/// The days of a setting, -1 where there is none.
int daysOf(const QVariantMap &policy, const char *key)
{
    return policy.value(QString::fromLatin1(key), -1).toInt();
}

QByteArray dateOf(int day)
{
    return QDate(1970, 1, 1).addDays(day).toString(Qt::ISODate).toLatin1();
}

/// As shadow(5) has it: nothing where there is no setting.
QByteArray shadowField(int days)
{
    return days < 0 ? QByteArray() : QByteArray::number(days);
}

/// What stands behind the colon on the line of chage(1) that begins so.
QByteArray shown(const QByteArray &output, const QByteArray &label)
{
    for (const QByteArray &line : output.split('\n')) {
        if (line.startsWith(label)) {
            return line.mid(line.indexOf(':') + 1).trimmed();
        }
    }
    return "(not shown)";
}

/// The stack's lines but that of the policy's module.
QByteArrayList otherLines(Kind kind, const QByteArray &module)
{
    QByteArrayList lines = contentOf(pathOf(kind)).split('\n');
    const auto callsModule = [&module](const QByteArray &line) {
        return line.contains(module);
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), callsModule), lines.end());
    return lines;
}

/// Brings back what Debian's pam-auth-update no longer has: pam_tally, and a profile that asks for it.
void bringBackLockout()
{
    QByteArray tool = contentOf("/usr/sbin/pam-auth-update");
    tool.replace("my @invalid_modules = ('pam_tally');", "my @invalid_modules = ();");
    writeContent("/usr/sbin/pam-auth-update", tool);
    writeContent("/usr/share/pam-configs/tally",
                 "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
                 "\trequired\tpam_tally.so onerr=fail\n");
}

/// By PAM, for a caller who may do everything else.
bool isTaken(const QByteArray &password)
{
    return runAs(root, "chpasswd", "judge:" + password + '\n').exitCode == 0;
}
}

class RealToolsTest : public QObject
{
    Q_OBJECT

public:
    explicit RealToolsTest(const Extent &extent) : m_extent(extent), m_generator(extent.seed)
    {
    }

private Q_SLOTS:
    void initTestCase();
    void init();

    void givesNewAccountsTheExpirationPolicy();
    void takesAndRefusesPasswordsByThePolicy();
    void showsPolicyInTheStack_data();
    void showsPolicyInTheStack();

private:
    struct PasswordCase {
        QVariantMap policy;
        QByteArray password;
        bool isEnough;
    };

    QVariantMap expirationPolicy();
    PasswordCase passwordCase();
    void noteForLens(Kind kind, const QVariantMap &policy);
    void compareWithLenses();
    void judgeDefaults(const QVariantMap &policy);
    void judgeNewAccount(const QByteArray &name, const QVariantMap &policy);

    Extent m_extent;
    FileGenerator m_generator;
    /// What the lenses are asked about in one go, and what they must find.
    QVector<Record> m_records;
    QByteArrayList m_readings;
};

void RealToolsTest::initTestCase()
{
    outputOf("useradd -M judge");
}

void RealToolsTest::init()
{
    m_records.clear();
    m_readings.clear();
}

QVariantMap RealToolsTest::expirationPolicy()
{
    QVariantMap policy = m_generator.arguments(Kind::LoginDefs);
    const QVariantMap ofAccounts = m_generator.arguments(Kind::UseraddDefaults);
    for (auto it = ofAccounts.cbegin(); it != ofAccounts.cend(); ++it) {
        // useradd takes the day before 1970 for no day
        policy.insert(it.key(), *it == -1LL && it.key() == QLatin1String("expireDate") ? QVariant(0LL) : *it);
    }
    return policy;
}

void RealToolsTest::noteForLens(Kind kind, const QVariantMap &policy)
{
    m_records.append({kind, nameOf(kind), contentOf(pathOf(kind))});
    m_readings += readingOf(policy);
}

void RealToolsTest::compareWithLenses()
{
    const QByteArrayList readings = readingsBy(QStringLiteral("lenses.pl"), m_records);
    QCOMPARE(countDifferences(m_extent.seed, m_records, readings, m_readings), 0);
}

void RealToolsTest::judgeDefaults(const QVariantMap &policy)
{
    const QByteArrayList defaults = outputOf("useradd -D").split('\n');
    const int day = daysOf(policy, "expireDate");
    QVERIFY(defaults.contains("INACTIVE=" + QByteArray::number(daysOf(policy, "inactiveInterval"))));
    QVERIFY(defaults.contains("EXPIRE=" + (day < 0 ? QByteArray() : dateOf(day))));
}

void RealToolsTest::judgeNewAccount(const QByteArray &name, const QVariantMap &policy)
{
    outputOf("useradd -M -N " + name);
    QByteArrayList days;
    QByteArrayList fields;
    for (const char *key : {"minInterval", "maxInterval", "warningInterval", "inactiveInterval"}) {
        days += QByteArray::number(daysOf(policy, key));
        fields += shadowField(daysOf(policy, key));
    }
    const int day = daysOf(policy, "expireDate");

    fields << shadowField(day) << QByteArray();
    const QByteArray entry = outputOf("getent shadow " + name);
    QCOMPARE(entry.trimmed().split(':').mid(3), fields);
    const QByteArray status = outputOf("passwd -S " + name);
    QCOMPARE(status.trimmed().split(' ').mid(3), days);
    const QByteArray ageing = outputOf("chage -l -i " + name);
    QCOMPARE(shown(ageing, "Minimum"), days[0]);
    QCOMPARE(shown(ageing, "Maximum"), days[1]);
    QCOMPARE(shown(ageing, "Number of days of warning"), days[2]);
    QCOMPARE(shown(ageing, "Account expires"), day < 0 ? QByteArray("never") : dateOf(day));
}

void RealToolsTest::givesNewAccountsTheExpirationPolicy()
{
    for (int i = 0; i < m_extent.files; ++i) {
        const QVariantMap policy = expirationPolicy();
        QCOMPARE(stateAfterWrite(Kind::LoginDefs, policy), TaskState::SucceededWithNotice);

        noteForLens(Kind::LoginDefs, only(policy, texts({"maxInterval", "minInterval", "warningInterval"})));
        noteForLens(Kind::UseraddDefaults, only(policy, texts({"inactiveInterval", "expireDate"})));
        judgeDefaults(policy);
        judgeNewAccount("judged" + QByteArray::number(i), policy);
        if (QTest::currentTestFailed()) {
            QFAIL(typedEntries(policy).join(QLatin1String(", ")).toUtf8().constData());
        }
    }
    compareWithLenses();
}

RealToolsTest::PasswordCase RealToolsTest::passwordCase()
{
    // without enforce_for_root the module would only warn
    PasswordCase made{{{QStringLiteral("enforce_for_root"), true}}, {}, true};
    for (const CharacterKind &kind : characterKinds) {
        const int there = m_generator.number(2, 5);
        const int asked = m_generator.number(0, 3);
        made.password += QByteArray(kind.characters, there);
        made.policy.insert(QString::fromLatin1(kind.option), -asked);
        made.isEnough = made.isEnough && there >= asked;
    }
    const int length = m_generator.number(8, 16);
    made.policy.insert(QStringLiteral("minlen"), length);
    made.isEnough = made.isEnough && made.password.size() >= length;
    return made;
}

void RealToolsTest::takesAndRefusesPasswordsByThePolicy()
{
    int taken = 0;
    for (int i = 0; i < m_extent.files; ++i) {
        const PasswordCase made = passwordCase();
        QCOMPARE(stateAfterWrite(Kind::CommonPassword, made.policy), TaskState::Succeeded);

        QVERIFY2(isTaken(made.password) == made.isEnough,
                 (made.password + ' ' + typedEntries(made.policy).join(QLatin1String(", ")).toUtf8()).constData());
        taken += made.isEnough ? 1 : 0;
    }
    QVERIFY2(taken > 0 && taken < m_extent.files, QByteArray::number(taken).constData());
}

void RealToolsTest::showsPolicyInTheStack_data()
{
    const Rows<Kind, QByteArray, QByteArray> row("kind", "module", "keptOption");
    row("complexity", Kind::CommonPassword, "pam_pwquality.so", "retry=3");
    row("lockout", Kind::CommonAuth, "pam_tally.so", "onerr=fail");
}

void RealToolsTest::showsPolicyInTheStack()
{
    QFETCH(Kind, kind);
    QFETCH(QByteArray, module);
    QFETCH(QByteArray, keptOption);
    if (kind == Kind::CommonAuth) {
        bringBackLockout();
    }
    const QByteArrayList others = otherLines(kind, module);
    const QStringList flags = flagsOf(kind);
    for (int i = 0; i < m_extent.files; ++i) {
        QVariantMap policy = m_generator.arguments(kind);
        QCOMPARE(stateAfterWrite(kind, policy), TaskState::Succeeded);

        for (const QString &flag : flags) {
            policy.insert(flag, policy.value(flag).toBool());
        }
        noteForLens(kind, policy);
        QCOMPARE(contentOf(pathOf(kind)).count(module + ' ' + keptOption), 1);
        QCOMPARE(otherLines(kind, module), others);
    }
    compareWithLenses();
}

int main(int argc, char **argv)
{
    return runTest<RealToolsTest>(argc, argv, 24);
}

#include "RealToolsTest.moc"
