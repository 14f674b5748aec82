// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include "tests/policies/pam/PamSystem.h"
#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"

#include <QElapsedTimer>
#include <QTest>

namespace
{
const QString deny = QStringLiteral("deny");
const QString tally = QStringLiteral("/usr/share/pam-configs/tally");
const QString commonAuth = QStringLiteral("/etc/pam.d/common-auth");
const QByteArray oldProfile("Name: Lockout\nDefault: yes\nPriority: 1024\nAuth-Type: Primary\nAuth:\n\trequired "
                            "pam_tally.so deny=3 onerr=fail\n");

const QVariantMap five{{deny, 5}};

QStringList outcomeOfUpdate(const QVariantMap &arguments = five)
{
    LocalPolicyLockoutUpdateTask task(nullptr, new QVariantMap(arguments));
    return outcomeOfRun(&task);
}

QStringList failure(const QString &message)
{
    return expectedOutcome(TaskState::Failed, message, five);
}

QStringList success(const QVariantMap &arguments = five)
{
    return expectedOutcome(TaskState::Succeeded, QString(), arguments);
}
}

/// What is not common to all policies of PAM; for that see PamUpdateTasksTest.
class LocalPolicyLockoutUpdateTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void failsWithoutProfile();
    void stopsHangingTool();
    void realToolLeavesRetiredModuleOut();
    void realToolPutsLineIntoStack();

private:
    QByteArray m_stack;
};

void LocalPolicyLockoutUpdateTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    // so that the real tool has nobody to ask
    qputenv("DEBIAN_FRONTEND", "noninteractive");
    m_stack = contentOf(commonAuth);
}

void LocalPolicyLockoutUpdateTaskTest::init()
{
    QFile::remove(tally);
    writeContent(commonAuth, m_stack);
}

void LocalPolicyLockoutUpdateTaskTest::failsWithoutProfile()
{
    const PamSystem system;
    writeContent(commonAuth, "auth pam_tally.so deny=3\n");
    QCOMPARE(outcomeOfUpdate(), failure(QStringLiteral("\"/usr/share/pam-configs/tally\" not exists")));
    QCOMPARE(system.profiles(), FolderContent());
    QCOMPARE(system.stacks(), FolderContent({{QStringLiteral("common-auth"), "auth pam_tally.so deny=3\n"}}));
    QCOMPARE(system.toolCalls(), QByteArray());
}

void LocalPolicyLockoutUpdateTaskTest::stopsHangingTool()
{
    const PamSystem system;
    writeContent(tally, oldProfile);
    writeContent(commonAuth, "auth pam_tally.so deny=3\n");
    system.setToolScript("echo $$ > /run/tmp/hanging\necho slow >&2\nexec sleep 1000\n");
    QElapsedTimer timer;
    timer.start();

    QCOMPARE(outcomeOfUpdate(),
             failure(QStringLiteral("Process: \"/usr/sbin/pam-auth-update --force --package\". "
                                    "Error: Process operation timed out.\n\"Not finished\"")));

    QVERIFY(timer.elapsed() >= 30000);
    QVERIFY(timer.elapsed() < 40000);
    const QByteArray process = contentOf(QStringLiteral("/run/tmp/hanging")).trimmed();
    QVERIFY(!process.isEmpty());
    QVERIFY(!QFile::exists(QStringLiteral("/proc/") + QString::fromLatin1(process)));
    QCOMPARE(linesWith("pam_tally", tally), QByteArrayList{"required pam_tally.so onerr=fail deny=5"});
    QCOMPARE(contentOf(commonAuth), QByteArray("auth pam_tally.so deny=3\n"));
}

void LocalPolicyLockoutUpdateTaskTest::realToolLeavesRetiredModuleOut()
{
    writeContent(tally, oldProfile);
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(linesWith("pam_tally", tally), QByteArrayList{"required pam_tally.so onerr=fail deny=5"});
    QCOMPARE(contentOf(commonAuth), m_stack);
}

void LocalPolicyLockoutUpdateTaskTest::realToolPutsLineIntoStack()
{
    const QByteArray script = contentOf(PamSystem::tool());
    writeProgram(PamSystem::tool(),
                 QByteArray(script).replace("@invalid_modules = ('pam_tally')", "@invalid_modules = ()"));
    writeContent(tally, oldProfile);
    QCOMPARE(outcomeOfUpdate(), success());
    QCOMPARE(linesWith("pam_tally", commonAuth), QByteArrayList{"auth\trequired pam_tally.so onerr=fail deny=5"});

    // the tool merges what was edited by hand with the profile
    writeContent(commonAuth, contentOf(commonAuth).replace("deny=5", "deny=9"));
    const QVariantMap seven{{deny, 7}};
    QCOMPARE(outcomeOfUpdate(seven), success(seven));
    QCOMPARE(linesWith("pam_tally", commonAuth), QByteArrayList{"auth\trequired pam_tally.so onerr=fail   deny=7"});
    writeProgram(PamSystem::tool(), script);
}

QTEST_GUILESS_MAIN(LocalPolicyLockoutUpdateTaskTest)
#include "LocalPolicyLockoutUpdateTaskTest.moc"
