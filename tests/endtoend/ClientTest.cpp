// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client as people type it, on the bus.

#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"

#include <QFile>
#include <QTest>

namespace
{
constexpr int root = 0;

ProgramResult client(int user, const QString &words)
{
    return runAs(user, QStringLiteral("accountpolicyctl"), words.split(QLatin1Char(' '), Qt::SkipEmptyParts));
}
}

class ClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void answers_data();
    void answers();
    void writesWhatIsAsked();

private:
    PamState m_stockPam;
};

void ClientTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ClientTest::init()
{
    m_stockPam.restore();
    QFile::remove(QStringLiteral("/usr/share/pam-configs/tally"));
    writeContent(QStringLiteral("/etc/pam.d/common-auth"), "auth required pam_tally.so deny=3 per_user\n");
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 5\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "EXPIRE=1970-01-02\n");
}

void ClientTest::answers_data()
{
    QTest::addColumn<int>("user");
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("error");

    const auto row =
        [](const char *name, int user, const char *words, int exitCode, const char *output, const QByteArray &error) {
            QTest::newRow(name) << user << QString::fromLatin1(words) << exitCode << QByteArray(output) << error;
        };
    const QByteArray unclear = "accountpolicyctl: what is asked for is not clear; see accountpolicyctl --help\n";
    row("show lockout", nobody, "show lockout", 0, "deny=3\nmagic_root=false\nno_reset=false\nper_user=true\n", "");
    row("show complexity",
        nobody,
        "show complexity",
        0,
        "enforce_for_root=false\ngecoscheck=false\nreject_username=false\n",
        "");
    row("show expiration", nobody, "show expiration", 0, "expireDate=1\nmaxInterval=5\n", "");
    row("replace as root",
        root,
        "replace expiration maxInterval=7 expireDate=0",
        0,
        "expireDate=0\nmaxInterval=7\n",
        "");
    row("replace as nobody",
        nobody,
        "replace expiration maxInterval=7",
        1,
        "",
        "accountpolicyctl: not authorized (error 4)\n");
    row("failure of the helper",
        root,
        "replace lockout deny=3",
        1,
        "",
        "accountpolicyctl: Update default lockout account policy\n\"/usr/share/pam-configs/tally\" not exists\n");
    row("no words", nobody, "", 2, "", unclear);
    row("unknown command", nobody, "remove lockout", 2, "", unclear);
    row("unknown policy", nobody, "show passwords", 2, "", unclear);
    row("words too many", nobody, "show lockout deny=3", 2, "", unclear);
    row("value that is none",
        root,
        "replace lockout deny=three",
        2,
        "",
        "accountpolicyctl: \"deny=three\" is not of the form key=number, key=true or key=false\n");
    row("no value",
        root,
        "replace lockout deny",
        2,
        "",
        "accountpolicyctl: \"deny\" is not of the form key=number, key=true or key=false\n");
    row("no key",
        root,
        "replace lockout =3",
        2,
        "",
        "accountpolicyctl: \"=3\" is not of the form key=number, key=true or key=false\n");
}

void ClientTest::answers()
{
    QFETCH(int, user);
    QFETCH(QString, words);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, error);

    const ProgramResult result = client(user, words);

    QCOMPARE(result.standardError, error);
    QCOMPARE(result.standardOutput, output);
    QCOMPARE(result.exitCode, exitCode);
}

void ClientTest::writesWhatIsAsked()
{
    QCOMPARE(
        client(root, QStringLiteral("replace complexity gecoscheck=true enforce_for_root=false minlen=12")).exitCode,
        0);

    QVERIFY(contentOf(QStringLiteral("/usr/share/pam-configs/pwquality"))
                .contains("pam_pwquality.so retry=3 gecoscheck minlen=12\n"));
}

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
