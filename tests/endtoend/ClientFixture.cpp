// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/ClientFixture.h"

#include <QDir>
#include <QFile>
#include <QTest>

const char complexityTable[] = "Password complexity\n"
                               "  gecoscheck        no\n"
                               "  enforce_for_root  no\n"
                               "  reject_username   no\n"
                               "  minlen            not set\n"
                               "  lcredit           not set\n"
                               "  ucredit           not set\n"
                               "  dcredit           not set\n"
                               "  ocredit           not set\n";
const char fullDocument[] = R"({
    "policies": {
        "complexity": {
            "dcredit": null,
            "enforce_for_root": false,
            "gecoscheck": false,
            "lcredit": null,
            "minlen": null,
            "ocredit": null,
            "reject_username": false,
            "ucredit": null
        },
        "expiration": {
            "expireDate": "1970-01-02",
            "inactiveInterval": -1,
            "maxInterval": 90,
            "minInterval": null,
            "warningInterval": null
        },
        "lockout": {
            "deny": 3,
            "lock_time": null,
            "magic_root": false,
            "no_reset": false,
            "per_user": true,
            "unlock_time": 900
        }
    },
    "version": 1
}
)";

const char unreadableExpiration[] = "the expiration policy could not be read\n"
                                    "Read default password expiration policy\n"
                                    "\"/etc/default/useradd\" not exists";

QByteArray document(const QByteArray &expiration)
{
    return R"({"version": 1, "policies": {"expiration": )" + expiration + "}}";
}

QByteArray complaint(const QByteArray &text)
{
    return "accountpolicyctl: " + text + '\n';
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
    const ProgramResult added = runAs(
        root,
        QStringLiteral("useradd"),
        splitWords(QStringLiteral("-u %1 -M -d %2 policytester").arg(accountId).arg(QString::fromLatin1(accountHome))));
    QVERIFY2(added.exitCode == 0, added.standardError.constData());
}

void ClientFixture::init()
{
    m_stockPam.restore();
    writeProgram(toolPath(), m_tool);
    QFile::remove(QStringLiteral("/usr/share/pam-configs/tally"));
    for (int user : {root, nobody}) {
        QDir(stateFolder(user)).removeRecursively();
    }
    writeContent(QStringLiteral("/etc/pam.d/common-auth"),
                 "auth required pam_tally.so deny=3 per_user unlock_time=900\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 90\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\nEXPIRE=1970-01-02\n");
}
