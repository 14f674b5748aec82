// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicyUpdate.h"

#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace
{
template<typename Task>
TaskResult resultBelow(const QString &root, const QByteArray &script, const QVariantMap &arguments)
{
    Task task(nullptr, std::make_unique<QVariantMap>(arguments).release());
    task.runBelow(root, {QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromLatin1(script)}});
    return task.result();
}

void copyTo(const QString &root, const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(root + path).path());
    writeContent(root + path, content);
}
}

class PamPolicyUpdateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsTheToolThatPutsProfilesInForce();
    void changesTheCopiesBelowAFolderAlone();
    void namesTheCopies();
    void choosesAmongTheProfilesBelowTheFolder();
};

void PamPolicyUpdateTest::runsTheToolThatPutsProfilesInForce()
{
    QCOMPARE(pamAuthUpdate().program, QStringLiteral("/usr/sbin/pam-auth-update"));
    QCOMPARE(pamAuthUpdate().arguments, QStringList({QStringLiteral("--force"), QStringLiteral("--package")}));
    QVERIFY(pamAuthUpdate().environment.isEmpty());
}

void PamPolicyUpdateTest::changesTheCopiesBelowAFolderAlone()
{
    const PamSystem machine;
    writeContent(PamSystem::profile(QStringLiteral("tally")), "required pam_tally.so\n");
    writeContent(PamSystem::stack(QStringLiteral("common-auth")), "auth required pam_tally.so deny=9\n");
    const FolderContent profiles = PamSystem::profiles();
    const FolderContent stacks = PamSystem::stacks();
    const QTemporaryDir copies;
    copyTo(copies.path(), QStringLiteral("/usr/share/pam-configs/tally"), "required pam_tally.so a\n");
    copyTo(copies.path(), QStringLiteral("/etc/pam.d/common-auth"), "auth required pam_tally.so deny=3\n");

    const TaskResult result =
        resultBelow<LocalPolicyLockoutUpdateTask>(copies.path(), "", {{QStringLiteral("deny"), 5}});

    QCOMPARE(result.state(), TaskState::Succeeded);
    QCOMPARE(contentBelow(copies.path()),
             (FolderContent{{QStringLiteral("etc/"), {}},
                            {QStringLiteral("etc/pam.d/"), {}},
                            {QStringLiteral("etc/pam.d/common-auth"), "auth required pam_tally.so  deny=5\n"},
                            {QStringLiteral("usr/"), {}},
                            {QStringLiteral("usr/share/"), {}},
                            {QStringLiteral("usr/share/pam-configs/"), {}},
                            {QStringLiteral("usr/share/pam-configs/tally"), "required pam_tally.so a deny=5\n"}}));
    QCOMPARE(PamSystem::profiles(), profiles);
    QCOMPARE(PamSystem::stacks(), stacks);
    QCOMPARE(PamSystem::toolCalls(), QByteArray());
}

void PamPolicyUpdateTest::namesTheCopies()
{
    const QTemporaryDir copies;
    const QString profile = copies.path() + QLatin1String("/usr/share/pam-configs/tally");

    QCOMPARE(resultBelow<LocalPolicyLockoutUpdateTask>(copies.path(), "", {}).message(),
             QStringLiteral("\"%1\" not exists").arg(profile));
    copyTo(copies.path(), QStringLiteral("/usr/share/pam-configs/tally"), "x\n");
    QCOMPARE(resultBelow<LocalPolicyLockoutUpdateTask>(copies.path(), "", {}).message(),
             QStringLiteral("\"%1\" not contain \"pam_tally\"").arg(profile));
    writeContent(profile, "pam_tally.so\n");
    QCOMPARE(resultBelow<LocalPolicyLockoutUpdateTask>(copies.path(), "echo no >&2; exit 4", {}).message(),
             QStringLiteral("Process: \"sh -c echo no >&2; exit 4\". Exit code: 4.\n\"no\n\""));
}

void PamPolicyUpdateTest::choosesAmongTheProfilesBelowTheFolder()
{
    const PamSystem machine;
    writeContent(PamSystem::profile(QStringLiteral("pwquality")), "pam_pwquality.so\n");
    const QTemporaryDir copies;
    const QString folder = copies.path() + QLatin1String("/usr/share/pam-configs/");

    QCOMPARE(
        resultBelow<LocalPolicyPasswordComplexityUpdateTask>(copies.path(), "", {}).message(),
        QStringLiteral("Both profiles of supported PAM modules do not exist (%1cracklib, %1pwquality)").arg(folder));
    copyTo(copies.path(), QStringLiteral("/usr/share/pam-configs/cracklib"), "pam_cracklib.so minlen=8\n");
    QCOMPARE(resultBelow<LocalPolicyPasswordComplexityUpdateTask>(copies.path(), "", {}).state(), TaskState::Succeeded);
    QCOMPARE(contentOf(folder + QLatin1String("cracklib")), QByteArray("pam_cracklib.so\n"));
}

QTEST_GUILESS_MAIN(PamPolicyUpdateTest)
#include "PamPolicyUpdateTest.moc"
