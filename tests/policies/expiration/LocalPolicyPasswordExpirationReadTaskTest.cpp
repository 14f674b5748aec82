// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"

#include "tests/policies/pam/TaskRun.h"
#include "tests/support/Files.h"
#include "tests/support/RecordingTranslator.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QTest>

namespace
{
const QString loginDefs = QStringLiteral("/etc/login.defs");
const QString useradd = QStringLiteral("/etc/default/useradd");

const QString maximum = QStringLiteral("maxInterval");
const QString minimum = QStringLiteral("minInterval");
const QString warning = QStringLiteral("warningInterval");
const QString inactive = QStringLiteral("inactiveInterval");
const QString expire = QStringLiteral("expireDate");

QStringList outcomeOfReading()
{
    LocalPolicyPasswordExpirationReadTask task(nullptr);
    return outcomeOfRun(&task);
}

QStringList failure(const QString &message, const QVariantMap &values = {})
{
    return expectedOutcome(TaskState::Failed, message, values);
}
}

/// What a single setting is read as is ExpirationFilesTest's matter.
class LocalPolicyPasswordExpirationReadTaskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void handlersReadTheirLines();
    void readsFiles_data();
    void readsFiles();
    void failsWithoutLoginDefs();
    void keepsLoginDefsWhereUseraddDefaultsAreMissing();
    void failsOnFolder_data();
    void failsOnFolder();
    void changesNoFile();
};

void LocalPolicyPasswordExpirationReadTaskTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void LocalPolicyPasswordExpirationReadTaskTest::init()
{
    for (const QString &path : {loginDefs, useradd}) {
        QDir(path).removeRecursively();
        writeContent(path, "");
    }
}

void LocalPolicyPasswordExpirationReadTaskTest::handlersReadTheirLines()
{
    QVariantMap values;
    LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler login(&values);
    LocalPolicyPasswordExpirationReadTask::UseraddReaderRegExpHandler defaults(&values);
    QVERIFY(login.matches("PASS_MIN_DAYS 3"));
    QVERIFY(login.handleLine(nullptr));
    QVERIFY(defaults.matches("INACTIVE=x"));
    QVERIFY(defaults.handleLine(nullptr));
    QCOMPARE(typedEntries(values), typedEntries({{inactive, 0}, {minimum, 3}}));
}

void LocalPolicyPasswordExpirationReadTaskTest::readsFiles_data()
{
    const Rows<QString, QByteArray, QVariantMap> row("path", "content", "expected");
    const auto login = [&row](const char *name, const QByteArray &content, const QVariantMap &expected) {
        row(name, loginDefs, content, expected);
    };
    const auto defaults = [&row](const char *name, const QByteArray &content, const QVariantMap &expected) {
        row(name, useradd, content, expected);
    };
    const QByteArray blanks(1 << 20, ' ');
    // clang-format off
    login("empty", "", {});
    login("all", "PASS_MAX_DAYS\t5\nPASS_MIN_DAYS 2\nPASS_WARN_AGE -1\n", {{maximum, 5}, {minimum, 2}, {warning, -1}});
    login("no line end", "PASS_MAX_DAYS\t5", {{maximum, 5}});
    login("no blank but a minus", "PASS_MIN_DAYS-7\n", {{minimum, -7}});
    login("commented out", "# PASS_MIN_DAYS 7\n  #PASS_MAX_DAYS 10\n", {});
    login("comment behind", "PASS_MAX_DAYS 10 # PASS_MIN_DAYS 3\n", {{maximum, 10}});
    login("later line wins", "PASS_MAX_DAYS 1\nPASS_MAX_DAYS 2\n", {{maximum, 2}});
    login("first of a line counts", "PASS_MAX_DAYS 1 PASS_MIN_DAYS 2\n", {{maximum, 1}});
    login("without number", "PASS_MAX_DAYS\nPASS_MIN_DAYS x\n", {});
    login("beyond an int", "PASS_MAX_DAYS 2147483648\n", {{maximum, 0}});
    login("digits of another script", "PASS_MAX_DAYS \xd9\xa3\n", {{maximum, 0}});
    login("carriage returns", "PASS_MAX_DAYS 3\r\nPASS_MIN_DAYS 4\r\n", {{maximum, 3}, {minimum, 4}});
    login("behind a NUL byte", QByteArray("PASS_MAX_DAYS\0 3\nPASS_MIN_DAYS 4\0 5\n", 37), {{minimum, 4}});
    login("no-break space", "PASS_MAX_DAYS\u00a06\n", {{maximum, 6}});
    login("bytes that are no text", "\xff\xfe\nPASS_MAX_DAYS 5 \xc3\n", {{maximum, 5}});
    login("a megabyte of blanks before", "x" + blanks + "PASS_MAX_DAYS 5", {{maximum, 5}});
    login("a megabyte of blanks", "PASS_MAX_DAYS" + blanks + "x\nPASS_MIN_DAYS 1", {{minimum, 1}});
    login("a megabyte of names", QByteArray("PASS_MAX_DAYS ").repeated(75000) + "\nPASS_MIN_DAYS 1", {{minimum, 1}});
    login("a megabyte of digits", "PASS_MAX_DAYS " + QByteArray(1 << 20, '9') + "\n", {{maximum, 0}});
    login("ten thousand lines", QByteArray("PASS_MAX_DAYS 5\n").repeated(10000), {{maximum, 5}});
    defaults("both", "INACTIVE=30\nEXPIRE=1970-01-02\n", {{inactive, 30}, {expire, qlonglong(1)}});
    defaults("empty number", "INACTIVE=\n", {{inactive, 0}});
    defaults("empty date", "EXPIRE=\n", {});
    defaults("no such day", "EXPIRE=1970-02-30\n", {});
    defaults("comment", "EXPIRE=2028-02-29 # leap\n", {{expire, qlonglong(21243)}});
    defaults("invalid date after a valid one", "EXPIRE=1970-01-05\nEXPIRE=never\n", {{expire, qlonglong(4)}});
    defaults("later lines win", "EXPIRE=1970-01-05\nEXPIRE=1970-01-03\nINACTIVE=1\nINACTIVE=2\n",
        {{inactive, 2}, {expire, qlonglong(2)}});
    defaults("both commented out", "# INACTIVE=1\n#EXPIRE=1970-01-03\n", {});
    // clang-format on
}

void LocalPolicyPasswordExpirationReadTaskTest::readsFiles()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, content);
    QFETCH(QVariantMap, expected);
    writeContent(path, content);
    QCOMPARE(outcomeOfReading(), expectedOutcome(TaskState::Succeeded, QString(), expected));
}

void LocalPolicyPasswordExpirationReadTaskTest::failsWithoutLoginDefs()
{
    QVERIFY(QFile::remove(loginDefs));
    writeContent(useradd, "INACTIVE=3\n");
    const RecordingTranslator translator;

    QCOMPARE(outcomeOfReading(), failure(QStringLiteral("[\"/etc/login.defs\" not exists]")));
    QCOMPARE(translator.texts().last(), TranslatedText("QObject", "\"%1\" not exists"));
}

void LocalPolicyPasswordExpirationReadTaskTest::keepsLoginDefsWhereUseraddDefaultsAreMissing()
{
    writeContent(loginDefs, "PASS_MAX_DAYS 3\nPASS_MIN_DAYS 2\nPASS_WARN_AGE 1\n");
    QVERIFY(QFile::remove(useradd));

    QCOMPARE(
        outcomeOfReading(),
        failure(QStringLiteral("\"/etc/default/useradd\" not exists"), {{maximum, 3}, {minimum, 2}, {warning, 1}}));
}

void LocalPolicyPasswordExpirationReadTaskTest::failsOnFolder_data()
{
    const Rows<QString> row("path");
    row("login.defs", loginDefs);
    row("useradd's defaults", useradd);
}

void LocalPolicyPasswordExpirationReadTaskTest::failsOnFolder()
{
    QFETCH(QString, path);
    QVERIFY(QFile::remove(path));
    QVERIFY(QDir().mkpath(path));

    QCOMPARE(outcomeOfReading(), failure(QStringLiteral("\"%1\" error 5\nfile to open is a directory").arg(path)));
}

void LocalPolicyPasswordExpirationReadTaskTest::changesNoFile()
{
    writeContent(loginDefs, "PASS_MAX_DAYS\t3 \r\n");
    writeContent(useradd, "EXPIRE=never");

    outcomeOfReading();

    QCOMPARE(contentOf(loginDefs), QByteArray("PASS_MAX_DAYS\t3 \r\n"));
    QCOMPARE(contentOf(useradd), QByteArray("EXPIRE=never"));
    for (const char *ending : {".tmp", ".bak"}) {
        QVERIFY(!QFile::exists(loginDefs + QLatin1String(ending)));
        QVERIFY(!QFile::exists(useradd + QLatin1String(ending)));
    }
}

QTEST_GUILESS_MAIN(LocalPolicyPasswordExpirationReadTaskTest)
#include "LocalPolicyPasswordExpirationReadTaskTest.moc"
