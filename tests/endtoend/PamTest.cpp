// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The PAM policies in force: the real pam-auth-update makes the stacks, and real PAM judges passwords by them.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QTest>

namespace
{
constexpr int userId = 4321;

const char shortPassword[] = "Kw7-zR4q"; // 8 characters of all kinds
const char longPassword[] = "Kw7-zR4q-Tm2xBv9"; // 16
const char firstPassword[] = "Start-Wert-1234";

QByteArray commonPassword()
{
    return contentOf(QStringLiteral("/etc/pam.d/common-password"));
}

QByteArray commonAuth()
{
    return contentOf(QStringLiteral("/etc/pam.d/common-auth"));
}

/// The lines of a PAM stack that call a module.
QList<QByteArray> moduleLines(const QByteArray &stack, const QByteArray &module)
{
    QList<QByteArray> lines;
    for (const QByteArray &line : stack.split('\n')) {
        if (line.contains(module)) {
            lines += line;
        }
    }
    return lines;
}

BusReply writeComplexity(const QVariantMap &arguments)
{
    return callAs(root, QStringLiteral("writepasswordcomplexitypolicy"), arguments);
}

/// The user's own passwd(1): the present password, then twice the new one.
int changeOwnPassword(const QByteArray &present, const QByteArray &next)
{
    return runAs(userId, QStringLiteral("passwd"), {}, present + '\n' + next + '\n' + next + '\n').exitCode;
}

QByteArray storedPassword()
{
    return moduleLines(contentOf(QStringLiteral("/etc/shadow")), "policytester:").value(0).split(':').value(1);
}

void setPassword(const QByteArray &password)
{
    // chpasswd -c writes the hash itself and asks no module about the password
    const ProgramResult set = runAs(root,
                                    QStringLiteral("chpasswd"),
                                    {QStringLiteral("-c"), QStringLiteral("SHA512")},
                                    "policytester:" + password + '\n');
    QCOMPARE(set.exitCode, 0);
}
}

class PamTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void putsComplexityOptionsIntoStack();
    void replacesOptionThatWasEditedByHand();
    void acceptsAndRefusesPasswordsAsAsked();
    void bindsRootOnlyIfAsked();
    void putsLockoutLineIntoStackWhereTheToolKnowsTheModule();
    void savesLockoutPolicyThatTheToolLeavesOut();
    void keepsLocalOptionsOfTheStack();

private:
    PamState m_stockPam;
};

void PamTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    const ProgramResult added =
        runAs(root,
              QStringLiteral("useradd"),
              {QStringLiteral("-u"), QString::number(userId), QStringLiteral("-M"), QStringLiteral("policytester")});
    QVERIFY2(added.exitCode == 0, added.standardError.constData());
}

void PamTest::init()
{
    m_stockPam.restore();
    setPassword(firstPassword);
}

void PamTest::putsComplexityOptionsIntoStack()
{
    QCOMPARE(moduleLines(commonPassword(), "pam_pwquality.so"),
             QList<QByteArray>{"password\trequisite\t\t\tpam_pwquality.so retry=3"});

    const BusReply reply = writeComplexity({{QStringLiteral("minlen"), 12},
                                            {QStringLiteral("lcredit"), -1},
                                            {QStringLiteral("ucredit"), -1},
                                            {QStringLiteral("dcredit"), -2},
                                            {QStringLiteral("ocredit"), 0},
                                            {QStringLiteral("gecoscheck"), true},
                                            {QStringLiteral("reject_username"), true}});

    QVERIFY(!reply.data.contains(QStringLiteral("error")));
    QCOMPARE(moduleLines(commonPassword(), "pam_pwquality.so"),
             QList<QByteArray>{"password\trequisite\t\t\tpam_pwquality.so retry=3 gecoscheck reject_username minlen=12 "
                               "lcredit=-1 ucredit=-1 "
                               "dcredit=-2 ocredit=0"});
}

void PamTest::replacesOptionThatWasEditedByHand()
{
    writeComplexity({{QStringLiteral("minlen"), 9}});
    QByteArray edited = commonPassword();
    edited.replace("minlen=9", "minlen=7 difok=2");
    writeContent(QStringLiteral("/etc/pam.d/common-password"), edited);

    writeComplexity({{QStringLiteral("minlen"), 12}});

    const QList<QByteArray> lines = moduleLines(commonPassword(), "pam_pwquality.so");
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().count("minlen="), 1);
    QVERIFY2(lines.first().endsWith(" minlen=12"), lines.first().constData());
    QVERIFY2(lines.first().contains(" difok=2"), lines.first().constData());
}

void PamTest::acceptsAndRefusesPasswordsAsAsked()
{
    writeComplexity({{QStringLiteral("minlen"), 14},
                     {QStringLiteral("lcredit"), 0},
                     {QStringLiteral("ucredit"), 0},
                     {QStringLiteral("dcredit"), 0},
                     {QStringLiteral("ocredit"), 0}});
    const QByteArray before = storedPassword();
    QVERIFY(before.startsWith('$'));

    QVERIFY(changeOwnPassword(firstPassword, shortPassword) > 0);
    QCOMPARE(storedPassword(), before);

    QCOMPARE(changeOwnPassword(firstPassword, longPassword), 0);
    QVERIFY(storedPassword() != before);

    writeComplexity({{QStringLiteral("minlen"), 8},
                     {QStringLiteral("lcredit"), 0},
                     {QStringLiteral("ucredit"), 0},
                     {QStringLiteral("dcredit"), 0},
                     {QStringLiteral("ocredit"), 0}});
    setPassword(firstPassword);
    QCOMPARE(changeOwnPassword(firstPassword, shortPassword), 0);
}

void PamTest::bindsRootOnlyIfAsked()
{
    const QStringList change{QStringLiteral("passwd"), QStringLiteral("policytester"), QStringLiteral("chauthtok")};
    const QByteArray typed = QByteArray(shortPassword) + '\n' + shortPassword + '\n';

    writeComplexity({{QStringLiteral("minlen"), 14}, {QStringLiteral("enforce_for_root"), true}});
    QVERIFY(runAs(root, QStringLiteral("pamtester"), change, typed).exitCode > 0);

    writeComplexity({{QStringLiteral("minlen"), 14}});
    QCOMPARE(runAs(root, QStringLiteral("pamtester"), change, typed).exitCode, 0);
}

void PamTest::putsLockoutLineIntoStackWhereTheToolKnowsTheModule()
{
    // as the tool was before the module was retired
    QByteArray tool = contentOf(QStringLiteral("/usr/sbin/pam-auth-update"));
    QCOMPARE(tool.count("my @invalid_modules = ('pam_tally');"), 1);
    const QByteArray stockTool = tool;
    tool.replace("my @invalid_modules = ('pam_tally');", "my @invalid_modules = ();");
    writeContent(QStringLiteral("/usr/sbin/pam-auth-update"), tool);
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"),
                 "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
                 "\trequired pam_tally.so deny=3 onerr=fail\n");

    const BusReply reply = callAs(root,
                                  QStringLiteral("writeaccountslockoutpolicy"),
                                  {{QStringLiteral("deny"), 5}, {QStringLiteral("per_user"), true}});

    writeContent(QStringLiteral("/usr/sbin/pam-auth-update"), stockTool);
    QCOMPARE(typedEntries(reply.data),
             QStringList({QStringLiteral("deny: int 5"), QStringLiteral("per_user: bool true")}));
    QCOMPARE(moduleLines(commonAuth(), "pam_tally.so"),
             QList<QByteArray>{"auth\trequired pam_tally.so onerr=fail per_user deny=5"});
    QCOMPARE(typedEntries(callAs(nobody, QStringLiteral("readaccountslockoutpolicy")).data),
             QStringList({QStringLiteral("deny: int 5"),
                          QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool true")}));
}

void PamTest::savesLockoutPolicyThatTheToolLeavesOut()
{
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"),
                 "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Additional\nAuth:\n"
                 "\trequired pam_tally.so deny=3 onerr=fail\n");
    const QByteArray stack = commonAuth();

    const BusReply reply = callAs(root, QStringLiteral("writeaccountslockoutpolicy"), {{QStringLiteral("deny"), 5}});

    QCOMPARE(typedEntries(reply.data), QStringList{QStringLiteral("deny: int 5")});
    QCOMPARE(moduleLines(contentOf(QStringLiteral("/usr/share/pam-configs/tally")), "pam_tally.so"),
             QList<QByteArray>{"required pam_tally.so onerr=fail deny=5"});
    QCOMPARE(commonAuth(), stack);
}

void PamTest::keepsLocalOptionsOfTheStack()
{
    QByteArray edited = commonPassword();
    edited.replace("pam_unix.so obscure", "pam_unix.so obscure rounds=7000");
    QVERIFY(edited != commonPassword());
    writeContent(QStringLiteral("/etc/pam.d/common-password"), edited);

    writeComplexity({{QStringLiteral("minlen"), 12}});

    QCOMPARE(moduleLines(commonPassword(), "pam_unix.so").first().count("rounds=7000"), 1);
}

QTEST_GUILESS_MAIN(PamTest)
#include "PamTest.moc"
