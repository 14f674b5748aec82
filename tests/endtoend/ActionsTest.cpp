// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The six actions as callers meet them: over a real system bus, decided by the real polkitd, with the real tools.

#include "HelperId.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QFile>
#include <QTest>

namespace
{
constexpr int notAuthorized = 4; // KAuth::ActionReply::AuthorizationDeniedError

const QString readLockout = QStringLiteral("readaccountslockoutpolicy");
const QString writeLockout = QStringLiteral("writeaccountslockoutpolicy");
const QString readComplexity = QStringLiteral("readpasswordcomplexitypolicy");
const QString writeComplexity = QStringLiteral("writepasswordcomplexitypolicy");
const QString readExpiration = QStringLiteral("readpasswordexpirationpolicy");
const QString writeExpiration = QStringLiteral("writepasswordexpirationpolicy");

const char newLoginDefs[] = "UMASK 022\nPASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\t# no minimum\nPASS_WARN_AGE 14\n";

const char newLockout[] = "deny: int 5, per_user: bool true, unlock_time: int 900";
const char newComplexity[] = "dcredit: int -1, enforce_for_root: bool true, minlen: int 12";
const char newExpiration[] = "expireDate: qlonglong 20819, inactiveInterval: qlonglong 30, maxInterval: int 90, "
                             "minInterval: int 1, warningInterval: int 14";

/// All files that the actions write.
QByteArrayList policyFiles()
{
    QByteArrayList contents;
    for (const char *path : {authStack, passwordStack, tallyFile, pwqualityFile, loginDefsFile, useraddFile}) {
        contents += contentOf(path);
    }
    return contents;
}

/// What a user is told: the reply's data in the form of typedMap(), or its error.
QByteArray told(int user, const QString &action, const QByteArray &arguments = QByteArray())
{
    const BusReply reply = callAs(user, action, typedMap(arguments));
    const QString entries = typedEntries(reply.data).join(QStringLiteral(", "));
    return (reply.error == 0 && reply.errorText.isEmpty()
                ? entries
                : QStringLiteral("error %1, %2; %3").arg(reply.error).arg(reply.errorText, entries))
        .toUtf8();
}
}

class ActionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void readsForOrdinaryUsers_data();
    void readsForOrdinaryUsers();
    void writesForRoot_data();
    void writesForRoot();
    void dropsErrorArgumentOfSuccessfulWrite();
    void readsBackWhatWasWritten();
    void echoesArgumentsOfFailingWrite();
    void reportsFailingReadWithWhatWasRead();
    void refusesWritesOfOrdinaryUsers();
    void writesForUsersWhomARuleAdmits();
    void admitsToAllWritesWhomARuleAdmitsToOne();
    void knowsNoOtherAction();
    void sharesNothingBetweenRequestsOfOneProcess();
    void worksWithoutEnvironment();
    void takesEveryTypeUnderEveryKey_data();
    void takesEveryTypeUnderEveryKey();

private:
    PamState m_stockPam;
};

void ActionsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ActionsTest::init()
{
    m_stockPam.restore();
    writeContent(tallyFile, tallyProfile());
    writeContent(loginDefsFile, "UMASK 022\nPASS_MAX_DAYS\t99999\nPASS_MIN_DAYS 0 # no minimum\n");
    writeContent(useraddFile, "SHELL=/bin/sh\nINACTIVE=-1\nEXPIRE=1970-01-02\n");
}

// clang-format off
void ActionsTest::readsForOrdinaryUsers_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("lockout") << readLockout << QByteArray(
        "deny: int 3, magic_root: bool false, no_reset: bool false, per_user: bool true, unlock_time: int 600");
    QTest::newRow("complexity") << readComplexity << QByteArray(
        "dcredit: int -1, enforce_for_root: bool true, gecoscheck: bool false, minlen: int 9, reject_username: bool false");
    QTest::newRow("expiration") << readExpiration << QByteArray(
        "expireDate: qlonglong 1, inactiveInterval: int -1, maxInterval: int 99999, minInterval: int 0");
}
// clang-format on

void ActionsTest::readsForOrdinaryUsers()
{
    QFETCH(QString, action);
    QFETCH(QByteArray, expected);
    writeContent(authStack, "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail\n");
    writeContent(passwordStack, "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root\n");

    QCOMPARE(told(nobody, action), expected);
    // and arguments aren't echoed
    QCOMPARE(told(nobody, action, "error: bool true, lock_time: int 1, x: int 2"), expected);
}

// clang-format off
void ActionsTest::writesForRoot_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    const QByteArray pwqualityLine = "requisite\t\t\tpam_pwquality.so retry=3 enforce_for_root minlen=12 dcredit=-1\n";
    QTest::newRow("lockout")
        << writeLockout << QByteArray(newLockout) << tallyFile
        << tallyProfile().replace("\trequired pam_tally.so deny=3 onerr=fail",
                                  "required pam_tally.so onerr=fail per_user deny=5 unlock_time=900");
    QTest::newRow("complexity")
        << writeComplexity << QByteArray(newComplexity) << pwqualityFile
        << "Name: Pwquality password strength checking\nDefault: yes\nPriority: 1024\nConflicts: cracklib\n"
           "Password-Type: Primary\nPassword:\n" + pwqualityLine + "Password-Initial:\n" + pwqualityLine;
    // the notice that existing accounts stay as they are is not in the reply
    QTest::newRow("expiration, login.defs")
        << writeExpiration << QByteArray(newExpiration) << loginDefsFile << QByteArray(newLoginDefs);
    QTest::newRow("expiration, useradd")
        << writeExpiration << QByteArray("expireDate: int 365, inactiveInterval: int 7") << useraddFile
        << QByteArray("SHELL=/bin/sh\nINACTIVE=7\nEXPIRE=1971-01-01\n");
}
// clang-format on

void ActionsTest::writesForRoot()
{
    QFETCH(QString, action);
    QFETCH(QByteArray, arguments);
    QFETCH(QString, file);

    QCOMPARE(told(root, action, arguments), arguments);
    QTEST(contentOf(file), "content");
    QVERIFY(!QFile::exists(file + QLatin1String(".tmp")));
}

void ActionsTest::dropsErrorArgumentOfSuccessfulWrite()
{
    QCOMPARE(
        told(root, writeExpiration, "maxInterval: int 9, error: bool true, description: QString mine, message: int 4"),
        QByteArray("description: QString mine, maxInterval: int 9, message: int 4"));
}

void ActionsTest::readsBackWhatWasWritten()
{
    QCOMPARE(told(root, writeComplexity, newComplexity), QByteArray(newComplexity));
    QCOMPARE(told(nobody, readComplexity),
             QByteArray("dcredit: int -1, enforce_for_root: bool true, gecoscheck: bool false, minlen: int 12, "
                        "reject_username: bool false"));

    QCOMPARE(told(root, writeExpiration, newExpiration), QByteArray(newExpiration));
    QCOMPARE(told(nobody, readExpiration), QByteArray(newExpiration).replace("qlonglong 30", "int 30"));
}

void ActionsTest::echoesArgumentsOfFailingWrite()
{
    QVERIFY(QFile::remove(QString::fromLatin1(tallyFile)));

    QCOMPARE(told(root, writeLockout, QByteArray(newLockout) + ", error: QString mine, message: QString mine"),
             QByteArray("deny: int 5, description: QString Update default lockout account policy, error: bool true, "
                        "message: QString \"/usr/share/pam-configs/tally\" not exists, per_user: bool true, "
                        "unlock_time: int 900"));
}

void ActionsTest::reportsFailingReadWithWhatWasRead()
{
    QVERIFY(QFile::remove(QString::fromLatin1(useraddFile)));

    QCOMPARE(told(nobody, readExpiration),
             QByteArray("description: QString Read default password expiration policy, error: bool true, "
                        "maxInterval: int 99999, message: QString \"/etc/default/useradd\" not exists, "
                        "minInterval: int 0"));
}

void ActionsTest::refusesWritesOfOrdinaryUsers()
{
    const QByteArrayList before = policyFiles();

    for (const QString &action : {writeLockout, writeComplexity, writeExpiration}) {
        const BusReply reply = callAs(nobody, action, typedMap("deny: int 5, minlen: int 12, maxInterval: int 90"));

        QCOMPARE(reply.error, notAuthorized);
        QCOMPARE(reply.data, QVariantMap());
        QCOMPARE(policyFiles(), before);
    }
}

void ActionsTest::writesForUsersWhomARuleAdmits()
{
    {
        const PolkitRule rule(QByteArray(helperId) + '.', "nobody", "YES");
        QCOMPARE(told(nobody, writeExpiration, newExpiration), QByteArray(newExpiration));
        QCOMPARE(contentOf(loginDefsFile), QByteArray(newLoginDefs));
        QCOMPARE(told(nobody, writeLockout, newLockout), QByteArray(newLockout));
        QCOMPARE(told(nobody, writeComplexity, newComplexity), QByteArray(newComplexity));
    }
    QCOMPARE(callAs(nobody, writeExpiration, typedMap(newExpiration)).error, notAuthorized);
}

/// Each write implies the others, so that one change of several asks once.
void ActionsTest::admitsToAllWritesWhomARuleAdmitsToOne()
{
    const PolkitRule rule("writepasswordexpirationpolicy", "nobody", "YES");

    QCOMPARE(told(nobody, writeLockout, newLockout), QByteArray(newLockout));
    QCOMPARE(told(nobody, writeComplexity, newComplexity), QByteArray(newComplexity));
}

void ActionsTest::knowsNoOtherAction()
{
    const QByteArrayList before = policyFiles();

    const BusReply reply = callAs(root, QStringLiteral("readuserpasswordexpirationpolicy"));
    endHelper(); // to which KAuth 6 sends it all the same, and which waits for polkit's word on it for good

    QVERIFY(reply.error > 0);
    QCOMPARE(reply.data, QVariantMap());
    QCOMPARE(policyFiles(), before);
}

void ActionsTest::sharesNothingBetweenRequestsOfOneProcess()
{
    writeContent(authStack, "auth required pam_tally.so deny=3 per_user\n");
    QCOMPARE(told(nobody, readLockout),
             QByteArray("deny: int 3, magic_root: bool false, no_reset: bool false, per_user: bool true"));
    const qint64 process = helperProcess();
    QVERIFY(process != 0);

    writeContent(authStack, "auth required pam_tally.so lock_time=4\n");
    QCOMPARE(told(nobody, readLockout),
             QByteArray("lock_time: int 4, magic_root: bool false, no_reset: bool false, per_user: bool false"));
    QCOMPARE(told(root, writeExpiration, "maxInterval: int 1"), QByteArray("maxInterval: int 1"));
    QCOMPARE(told(root, writeExpiration, "minInterval: int 2"), QByteArray("minInterval: int 2"));
    QCOMPARE(helperProcess(), process);
}

void ActionsTest::worksWithoutEnvironment()
{
    endHelper();
    const QByteArray profile = contentOf(pwqualityFile);
    writeContent(loginDefsFile, "# Überschrift – ασφάλεια\nPASS_MAX_DAYS 5 # höchstens ✓\n");
    writeContent(pwqualityFile, profile + "# größer\nrequisite pam_pwquality.so badwords=löwe # Löwe \xff\n");

    QCOMPARE(told(root, writeExpiration, "maxInterval: int 6"), QByteArray("maxInterval: int 6"));
    QCOMPARE(told(root, writeComplexity, "minlen: int 6"), QByteArray("minlen: int 6"));

    const QByteArray environment = contentOf(QStringLiteral("/proc/%1/environ").arg(helperProcess()));
    for (const QByteArray &variable : environment.split('\0')) {
        // the bus names itself and passes nothing else
        QVERIFY2(variable.isEmpty() || variable.startsWith("DBUS_STARTER_"), variable.constData());
    }
    QCOMPARE(contentOf(loginDefsFile), QByteArray("# Überschrift – ασφάλεια\nPASS_MAX_DAYS 6\t# höchstens ✓\n"));
    QCOMPARE(contentOf(pwqualityFile),
             QByteArray(profile).replace("\trequisite\t\t\tpam_pwquality.so retry=3",
                                         "requisite\t\t\tpam_pwquality.so retry=3 minlen=6")
                 + "# größer\nrequisite pam_pwquality.so badwords=löwe minlen=6\t# Löwe \xff\n");
}

void ActionsTest::takesEveryTypeUnderEveryKey_data()
{
    QTest::addColumn<QVariant>("value");
    const auto add = [](const char *name, const QVariant &value) {
        QTest::newRow(name) << QVariant::fromValue(value);
    };
    add("invalid", {});
    add("bool", true);
    add("number beyond an int", qlonglong(3000000000));
    add("unsigned", qulonglong(-1));
    add("double", 2.5);
    add("not a number", qQNaN());
    add("text", QStringLiteral("%1 $(reboot)\n\"x\""));
    add("bytes", QByteArray("\0\xff", 2));
    add("list", QStringList{QStringLiteral("1"), QStringLiteral("2")});
    add("map", QVariantMap{{QStringLiteral("a"), 1}});
    add("date", QDate(2027, 1, 31));
}

void ActionsTest::takesEveryTypeUnderEveryKey()
{
    QFETCH(QVariant, value);
    QVariantMap arguments{{QStringLiteral("unknown"), value}, {QString(), value}};
    for (const QString &key : settingKeys()) {
        arguments.insert(key, value);
    }
    QVERIFY(arguments.size() > 20);
    told(nobody, readLockout);
    const qint64 process = helperProcess();
    QVERIFY(process != 0);

    for (const QString &action : {writeLockout, writeComplexity, writeExpiration}) {
        const BusReply reply = callAs(root, action, arguments);
        QVERIFY2(reply.error == 0, qPrintable(reply.errorText));
        QCOMPARE(typedEntries(reply.data), typedEntries(arguments));
    }
    QCOMPARE(helperProcess(), process);
}

QTEST_GUILESS_MAIN(ActionsTest)
#include "ActionsTest.moc"
