// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/ClientFixture.h"

#include <QDir>
#include <QFile>
#include <QTest>

QByteArray document(const QByteArray &expiration)
{
    return R"({"version": 1, "policies": {"expiration": )" + expiration + "}}";
}

ScopedMount fullDisk(const QString &path)
{
    QDir().mkpath(path);
    ScopedMount disk = ScopedMount::smallDisk(path, 4);
    writeContent(path + QStringLiteral("/other"), "takes the one page");
    return disk;
}

void ClientFixture::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QCOMPARE(runAs(root, "useradd -u 4321 -M -d /run/home-of-policytester policytester"), ProgramResult({0, {}, {}}));
}

void ClientFixture::init()
{
    m_stockPam.restore();
    writeContent("/run/stock/common-auth", contentOf(authStack));
    writeProgram(toolFile, m_tool);
    QFile::remove(QString::fromLatin1(tallyFile));
    for (int user : {root, nobody}) {
        QDir(stateFolder(user)).removeRecursively();
    }
    bringTallyModule();
    // behind what pam-auth-update manages, so that it stays there
    writeContent(authStack, contentOf(authStack) + "auth required pam_tally.so deny=3 per_user unlock_time=900\n");
    writeContent(loginDefsFile, "PASS_MAX_DAYS 90\n");
    writeContent(useraddFile, "INACTIVE=-1\nEXPIRE=1970-01-02\n");
}
