// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The PAM policies in force: the real pam-auth-update makes the stacks, and real PAM judges passwords by them.

#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
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

/// The line of the stack that asks for the complexity of passwords.
QByteArray pwqualityLine()
{
    return linesWith("pam_pwquality.so", passwordStack).join('\n');
}

void editStack(const QByteArray &before, const QByteArray &after)
{
    const QByteArray stack = contentOf(passwordStack);
    QCOMPARE(stack.count(before), 1);
    writeContent(passwordStack, QByteArray(stack).replace(before, after));
}

/// Arguments in the form of typedMap(), which the reply echoes.
void write(const QString &action, const QByteArray &arguments)
{
    const BusReply reply = callAs(root, action, typedMap(arguments));
    QCOMPARE(reply.error, 0);
    QCOMPARE(typedEntries(reply.data), typedEntries(typedMap(arguments)));
}

void writeComplexity(const QByteArray &arguments)
{
    write(QStringLiteral("writepasswordcomplexitypolicy"), arguments);
}

void writeLockout(const QByteArray &arguments)
{
    write(QStringLiteral("writeaccountslockoutpolicy"), arguments);
}

/// The user's own passwd(1): the present password, then twice the new one.
int changeOwnPassword(const QByteArray &present, const QByteArray &next)
{
    return runAs(userId, "passwd", present + '\n' + next + '\n' + next + '\n').exitCode;
}

QByteArray storedPassword()
{
    return linesWith("policytester:", "/etc/shadow").value(0).split(':').value(1);
}

void setPassword(const QByteArray &password)
{
    // chpasswd -c writes the hash itself and asks no module about the password
    QCOMPARE(runAs(root, "chpasswd -c SHA512", "policytester:" + password + '\n').exitCode, 0);
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
    QCOMPARE(runAs(root, "useradd -u 4321 -M policytester"), ProgramResult({0, {}, {}}));
}

void PamTest::init()
{
    m_stockPam.restore();
    setPassword(firstPassword);
}

void PamTest::putsComplexityOptionsIntoStack()
{
    QCOMPARE(pwqualityLine(), QByteArray("password\trequisite\t\t\tpam_pwquality.so retry=3"));

    writeComplexity("minlen: int 12, lcredit: int -1, ucredit: int -1, dcredit: int -2, ocredit: int 0, "
                    "gecoscheck: bool true, reject_username: bool true");

    QCOMPARE(pwqualityLine(),
             QByteArray("password\trequisite\t\t\tpam_pwquality.so retry=3 gecoscheck reject_username minlen=12 "
                        "lcredit=-1 ucredit=-1 dcredit=-2 ocredit=0"));
}

void PamTest::replacesOptionThatWasEditedByHand()
{
    writeComplexity("minlen: int 9");
    editStack("minlen=9", "minlen=7 badwords=x");

    writeComplexity("minlen: int 12");

    // the tool puts blanks around what it keeps
    QCOMPARE(pwqualityLine().simplified(),
             QByteArray("password requisite pam_pwquality.so retry=3 badwords=x minlen=12"));
}

void PamTest::acceptsAndRefusesPasswordsAsAsked()
{
    writeComplexity("minlen: int 14, lcredit: int 0, ucredit: int 0, dcredit: int 0, ocredit: int 0");
    const QByteArray before = storedPassword();
    QVERIFY(before.startsWith('$'));

    QVERIFY(changeOwnPassword(firstPassword, shortPassword) > 0);
    QCOMPARE(storedPassword(), before);

    QCOMPARE(changeOwnPassword(firstPassword, longPassword), 0);
    QVERIFY(storedPassword() != before);

    writeComplexity("minlen: int 8, lcredit: int 0, ucredit: int 0, dcredit: int 0, ocredit: int 0");
    setPassword(firstPassword);
    QCOMPARE(changeOwnPassword(firstPassword, shortPassword), 0);
}

void PamTest::bindsRootOnlyIfAsked()
{
    const char change[] = "pamtester passwd policytester chauthtok";
    const QByteArray typed = QByteArray(shortPassword) + '\n' + shortPassword + '\n';

    writeComplexity("minlen: int 14, enforce_for_root: bool true");
    QVERIFY(runAs(root, change, typed).exitCode > 0);

    writeComplexity("minlen: int 14");
    QCOMPARE(runAs(root, change, typed).exitCode, 0);
}

void PamTest::putsLockoutLineIntoStackWhereTheToolKnowsTheModule()
{
    const QByteArray stockTool = contentOf(toolFile);
    acceptRetiredModules();
    writeContent(tallyFile, tallyProfile());

    writeLockout("deny: int 5, per_user: bool true");

    writeProgram(toolFile, stockTool);
    QCOMPARE(linesWith("pam_tally.so", authStack),
             QByteArrayList{"auth\trequired pam_tally.so onerr=fail per_user deny=5"});
    QCOMPARE(typedEntries(callAs(nobody, QStringLiteral("readaccountslockoutpolicy")).data),
             typedEntries(typedMap("deny: int 5, magic_root: bool false, no_reset: bool false, per_user: bool true")));
}

void PamTest::savesLockoutPolicyThatTheToolLeavesOut()
{
    writeContent(tallyFile, tallyProfile());
    const QByteArray stack = contentOf(authStack);

    writeLockout("deny: int 5");

    QCOMPARE(linesWith("pam_tally.so", tallyFile), QByteArrayList{"required pam_tally.so onerr=fail deny=5"});
    QCOMPARE(contentOf(authStack), stack);
}

void PamTest::keepsLocalOptionsOfTheStack()
{
    editStack("pam_unix.so obscure", "pam_unix.so obscure rounds=7000");

    writeComplexity("minlen: int 12");

    QCOMPARE(linesWith("pam_unix.so", passwordStack).join('\n').count("rounds=7000"), 1);
}

QTEST_GUILESS_MAIN(PamTest)
#include "PamTest.moc"
