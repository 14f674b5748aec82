// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The six actions as callers meet them: over a real system bus, decided by the real polkitd, with the real tools.

#include "HelperId.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TypedMap.h"

#include <QFile>
#include <QTest>

#include <memory>

namespace
{
constexpr int notAuthorized = 4; // KAuth::ActionReply::AuthorizationDeniedError

const char commonAuth[] = "/etc/pam.d/common-auth";
const char commonPassword[] = "/etc/pam.d/common-password";
const char tallyProfile[] = "/usr/share/pam-configs/tally";
const char pwqualityProfile[] = "/usr/share/pam-configs/pwquality";
const char loginDefs[] = "/etc/login.defs";
const char useraddDefaults[] = "/etc/default/useradd";

QString path(const char *name)
{
    return QString::fromLatin1(name);
}

QVariantMap lockoutArguments()
{
    return {{QStringLiteral("deny"), 5}, {QStringLiteral("per_user"), true}, {QStringLiteral("unlock_time"), 900}};
}

QVariantMap complexityArguments()
{
    return {
        {QStringLiteral("minlen"), 12}, {QStringLiteral("dcredit"), -1}, {QStringLiteral("enforce_for_root"), true}};
}

QVariantMap expirationArguments()
{
    return {{QStringLiteral("maxInterval"), 90},
            {QStringLiteral("minInterval"), 1},
            {QStringLiteral("warningInterval"), 14},
            {QStringLiteral("inactiveInterval"), qlonglong(30)},
            {QStringLiteral("expireDate"), qlonglong(20819)}};
}

/// All files that the actions write.
QList<QByteArray> policyFiles()
{
    QList<QByteArray> contents;
    for (const char *name : {commonAuth, commonPassword, tallyProfile, pwqualityProfile, loginDefs, useraddDefaults}) {
        contents += contentOf(path(name));
    }
    return contents;
}

int errorOfWrite()
{
    return callAs(nobody, QStringLiteral("writepasswordexpirationpolicy"), expirationArguments()).error;
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
    void doesNotEchoArgumentsOfRead_data();
    void doesNotEchoArgumentsOfRead();
    void writesForRoot_data();
    void writesForRoot();
    void dropsErrorArgumentOfSuccessfulWrite();
    void readsBackWhatWasWritten_data();
    void readsBackWhatWasWritten();
    void echoesArgumentsOfFailingWrite();
    void reportsFailingReadWithWhatWasRead();
    void refusesWritesOfOrdinaryUsers_data();
    void refusesWritesOfOrdinaryUsers();
    void writesForUsersWhomARuleAdmits();
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
    writeContent(path(tallyProfile),
                 "Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Primary\nAuth:\n"
                 "\trequired pam_tally.so deny=3 onerr=fail\n");
    writeContent(path(loginDefs), "UMASK 022\nPASS_MAX_DAYS\t99999\nPASS_MIN_DAYS 0 # no minimum\n");
    writeContent(path(useraddDefaults), "SHELL=/bin/sh\nINACTIVE=-1\nEXPIRE=1970-01-02\n");
}

void ActionsTest::readsForOrdinaryUsers_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("lockout") << "readaccountslockoutpolicy"
                             << QStringList{QStringLiteral("deny: int 3"),
                                            QStringLiteral("magic_root: bool false"),
                                            QStringLiteral("no_reset: bool false"),
                                            QStringLiteral("per_user: bool true"),
                                            QStringLiteral("unlock_time: int 600")};
    QTest::newRow("complexity") << "readpasswordcomplexitypolicy"
                                << QStringList{QStringLiteral("dcredit: int -1"),
                                               QStringLiteral("enforce_for_root: bool true"),
                                               QStringLiteral("gecoscheck: bool false"),
                                               QStringLiteral("minlen: int 9"),
                                               QStringLiteral("reject_username: bool false")};
    QTest::newRow("expiration") << "readpasswordexpirationpolicy"
                                << QStringList{QStringLiteral("expireDate: qlonglong 1"),
                                               QStringLiteral("inactiveInterval: int -1"),
                                               QStringLiteral("maxInterval: int 99999"),
                                               QStringLiteral("minInterval: int 0")};
}

void ActionsTest::readsForOrdinaryUsers()
{
    QFETCH(QString, action);
    QFETCH(QStringList, entries);
    writeContent(path(commonAuth), "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail\n");
    writeContent(path(commonPassword),
                 "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root\n");

    const BusReply reply = callAs(nobody, action);

    QCOMPARE(reply.error, 0);
    QCOMPARE(reply.errorText, QString());
    QCOMPARE(typedEntries(reply.data), entries);
}

void ActionsTest::doesNotEchoArgumentsOfRead_data()
{
    readsForOrdinaryUsers_data();
}

void ActionsTest::doesNotEchoArgumentsOfRead()
{
    QFETCH(QString, action);
    QFETCH(QStringList, entries);
    writeContent(path(commonAuth), "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail\n");
    writeContent(path(commonPassword),
                 "password requisite pam_cracklib.so retry=3 minlen=9 dcredit=-1 enforce_for_root\n");

    const BusReply reply = callAs(
        nobody, action, {{QStringLiteral("lock_time"), 1}, {QStringLiteral("error"), true}, {QStringLiteral("x"), 2}});

    QCOMPARE(reply.error, 0);
    QCOMPARE(typedEntries(reply.data), entries);
}

void ActionsTest::writesForRoot_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QStringList>("echo");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("lockout")
        << "writeaccountslockoutpolicy" << lockoutArguments()
        << QStringList{QStringLiteral("deny: int 5"),
                       QStringLiteral("per_user: bool true"),
                       QStringLiteral("unlock_time: int 900")}
        << path(tallyProfile)
        << QByteArray("Name: Lock accounts after failed logins\nDefault: yes\nPriority: 1024\nAuth-Type: Primary\n"
                      "Auth:\nrequired pam_tally.so onerr=fail per_user deny=5 unlock_time=900\n");
    QTest::newRow("complexity")
        << "writepasswordcomplexitypolicy" << complexityArguments()
        << QStringList{QStringLiteral("dcredit: int -1"),
                       QStringLiteral("enforce_for_root: bool true"),
                       QStringLiteral("minlen: int 12")}
        << path(pwqualityProfile)
        << QByteArray("Name: Pwquality password strength checking\nDefault: yes\nPriority: 1024\n"
                      "Conflicts: cracklib\nPassword-Type: Primary\nPassword:\n"
                      "requisite\t\t\tpam_pwquality.so retry=3 enforce_for_root minlen=12 dcredit=-1\n"
                      "Password-Initial:\n"
                      "requisite\t\t\tpam_pwquality.so retry=3 enforce_for_root minlen=12 dcredit=-1\n");
    // the notice that existing accounts stay as they are is not in the reply
    QTest::newRow("expiration, login.defs")
        << "writepasswordexpirationpolicy" << expirationArguments()
        << QStringList{QStringLiteral("expireDate: qlonglong 20819"),
                       QStringLiteral("inactiveInterval: qlonglong 30"),
                       QStringLiteral("maxInterval: int 90"),
                       QStringLiteral("minInterval: int 1"),
                       QStringLiteral("warningInterval: int 14")}
        << path(loginDefs)
        << QByteArray("UMASK 022\nPASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\t# no minimum\nPASS_WARN_AGE 14\n");
    QTest::newRow("expiration, useradd") << "writepasswordexpirationpolicy"
                                         << QVariantMap{{QStringLiteral("expireDate"), 365},
                                                        {QStringLiteral("inactiveInterval"), 7}}
                                         << QStringList{QStringLiteral("expireDate: int 365"),
                                                        QStringLiteral("inactiveInterval: int 7")}
                                         << path(useraddDefaults)
                                         << QByteArray("SHELL=/bin/sh\nINACTIVE=7\nEXPIRE=1971-01-01\n");
}

void ActionsTest::writesForRoot()
{
    QFETCH(QString, action);
    QFETCH(QVariantMap, arguments);
    QFETCH(QStringList, echo);
    QFETCH(QString, file);
    QFETCH(QByteArray, content);

    const BusReply reply = callAs(root, action, arguments);

    QCOMPARE(reply.error, 0);
    QCOMPARE(reply.errorText, QString());
    QCOMPARE(typedEntries(reply.data), echo);
    QCOMPARE(contentOf(file), content);
    QVERIFY(!QFile::exists(file + QLatin1String(".tmp")));
}

void ActionsTest::dropsErrorArgumentOfSuccessfulWrite()
{
    const BusReply reply = callAs(root,
                                  QStringLiteral("writepasswordexpirationpolicy"),
                                  {{QStringLiteral("maxInterval"), 9},
                                   {QStringLiteral("error"), true},
                                   {QStringLiteral("description"), QStringLiteral("mine")},
                                   {QStringLiteral("message"), 4}});

    QCOMPARE(typedEntries(reply.data),
             QStringList({QStringLiteral("description: QString mine"),
                          QStringLiteral("maxInterval: int 9"),
                          QStringLiteral("message: int 4")}));
}

void ActionsTest::readsBackWhatWasWritten_data()
{
    QTest::addColumn<QString>("write");
    QTest::addColumn<QString>("read");
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("complexity") << "writepasswordcomplexitypolicy"
                                << "readpasswordcomplexitypolicy" << complexityArguments()
                                << QStringList{QStringLiteral("dcredit: int -1"),
                                               QStringLiteral("enforce_for_root: bool true"),
                                               QStringLiteral("gecoscheck: bool false"),
                                               QStringLiteral("minlen: int 12"),
                                               QStringLiteral("reject_username: bool false")};
    QTest::newRow("expiration") << "writepasswordexpirationpolicy"
                                << "readpasswordexpirationpolicy" << expirationArguments()
                                << QStringList{QStringLiteral("expireDate: qlonglong 20819"),
                                               QStringLiteral("inactiveInterval: int 30"),
                                               QStringLiteral("maxInterval: int 90"),
                                               QStringLiteral("minInterval: int 1"),
                                               QStringLiteral("warningInterval: int 14")};
}

void ActionsTest::readsBackWhatWasWritten()
{
    QFETCH(QString, write);
    QFETCH(QString, read);
    QFETCH(QVariantMap, arguments);
    QFETCH(QStringList, entries);

    QCOMPARE(callAs(root, write, arguments).error, 0);

    QCOMPARE(typedEntries(callAs(nobody, read).data), entries);
}

void ActionsTest::echoesArgumentsOfFailingWrite()
{
    QVERIFY(QFile::remove(path(tallyProfile)));
    QVariantMap arguments = lockoutArguments();
    arguments.insert(QStringLiteral("error"), QStringLiteral("mine"));
    arguments.insert(QStringLiteral("message"), QStringLiteral("mine"));

    const BusReply reply = callAs(root, QStringLiteral("writeaccountslockoutpolicy"), arguments);

    QCOMPARE(reply.error, 0);
    QCOMPARE(reply.errorText, QString());
    QCOMPARE(typedEntries(reply.data),
             QStringList({QStringLiteral("deny: int 5"),
                          QStringLiteral("description: QString Update default lockout account policy"),
                          QStringLiteral("error: bool true"),
                          QStringLiteral("message: QString \"/usr/share/pam-configs/tally\" not exists"),
                          QStringLiteral("per_user: bool true"),
                          QStringLiteral("unlock_time: int 900")}));
}

void ActionsTest::reportsFailingReadWithWhatWasRead()
{
    QVERIFY(QFile::remove(path(useraddDefaults)));

    const BusReply reply = callAs(nobody, QStringLiteral("readpasswordexpirationpolicy"));

    QCOMPARE(reply.error, 0);
    QCOMPARE(typedEntries(reply.data),
             QStringList({QStringLiteral("description: QString Read default password expiration policy"),
                          QStringLiteral("error: bool true"),
                          QStringLiteral("maxInterval: int 99999"),
                          QStringLiteral("message: QString \"/etc/default/useradd\" not exists"),
                          QStringLiteral("minInterval: int 0")}));
}

void ActionsTest::refusesWritesOfOrdinaryUsers_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QVariantMap>("arguments");

    QTest::newRow("lockout") << "writeaccountslockoutpolicy" << lockoutArguments();
    QTest::newRow("complexity") << "writepasswordcomplexitypolicy" << complexityArguments();
    QTest::newRow("expiration") << "writepasswordexpirationpolicy" << expirationArguments();
}

void ActionsTest::refusesWritesOfOrdinaryUsers()
{
    QFETCH(QString, action);
    QFETCH(QVariantMap, arguments);
    const QList<QByteArray> before = policyFiles();

    const BusReply reply = callAs(nobody, action, arguments);

    QCOMPARE(reply.error, notAuthorized);
    QCOMPARE(typedEntries(reply.data), QStringList());
    QCOMPARE(policyFiles(), before);
}

void ActionsTest::writesForUsersWhomARuleAdmits()
{
    QCOMPARE(errorOfWrite(), notAuthorized);

    auto rule = std::make_unique<PolkitRule>(QByteArray(helperId) + '.', "nobody", "YES");
    QTRY_COMPARE_WITH_TIMEOUT(errorOfWrite(), 0, 20000);
    QCOMPARE(contentOf(path(loginDefs)),
             QByteArray("UMASK 022\nPASS_MAX_DAYS 90\nPASS_MIN_DAYS 1\t# no minimum\nPASS_WARN_AGE 14\n"));
    QCOMPARE(callAs(nobody, QStringLiteral("writeaccountslockoutpolicy"), lockoutArguments()).error, 0);
    QCOMPARE(callAs(nobody, QStringLiteral("writepasswordcomplexitypolicy"), complexityArguments()).error, 0);

    rule.reset();
    QTRY_COMPARE_WITH_TIMEOUT(errorOfWrite(), notAuthorized, 20000);
}

void ActionsTest::knowsNoOtherAction()
{
    const QList<QByteArray> before = policyFiles();

    const BusReply reply = callAs(root, QStringLiteral("readuserpasswordexpirationpolicy"));

    QVERIFY(reply.error > 0);
    QCOMPARE(typedEntries(reply.data), QStringList());
    QCOMPARE(policyFiles(), before);
}

void ActionsTest::sharesNothingBetweenRequestsOfOneProcess()
{
    writeContent(path(commonAuth), "auth required pam_tally.so deny=3 per_user\n");
    QCOMPARE(typedEntries(callAs(nobody, QStringLiteral("readaccountslockoutpolicy")).data),
             QStringList({QStringLiteral("deny: int 3"),
                          QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool true")}));
    const qint64 process = helperProcess();
    QVERIFY(process != 0);

    writeContent(path(commonAuth), "auth required pam_tally.so lock_time=4\n");
    QCOMPARE(typedEntries(callAs(nobody, QStringLiteral("readaccountslockoutpolicy")).data),
             QStringList({QStringLiteral("lock_time: int 4"),
                          QStringLiteral("magic_root: bool false"),
                          QStringLiteral("no_reset: bool false"),
                          QStringLiteral("per_user: bool false")}));
    QCOMPARE(
        typedEntries(
            callAs(root, QStringLiteral("writepasswordexpirationpolicy"), {{QStringLiteral("maxInterval"), 1}}).data),
        QStringList({QStringLiteral("maxInterval: int 1")}));
    QCOMPARE(
        typedEntries(
            callAs(root, QStringLiteral("writepasswordexpirationpolicy"), {{QStringLiteral("minInterval"), 2}}).data),
        QStringList({QStringLiteral("minInterval: int 2")}));
    QCOMPARE(helperProcess(), process);
}

void ActionsTest::worksWithoutEnvironment()
{
    endHelper();
    writeContent(path(loginDefs), "# Überschrift – ασφάλεια\nPASS_MAX_DAYS 5 # höchstens ✓\n");
    writeContent(path(pwqualityProfile),
                 contentOf(path(pwqualityProfile))
                     + "# größer\nrequisite pam_pwquality.so badwords=löwe # Löwe \xff\n");

    QCOMPARE(callAs(root, QStringLiteral("writepasswordexpirationpolicy"), {{QStringLiteral("maxInterval"), 6}}).error,
             0);
    QCOMPARE(callAs(root, QStringLiteral("writepasswordcomplexitypolicy"), {{QStringLiteral("minlen"), 6}}).data.size(),
             1);

    const QByteArray environment = contentOf(QStringLiteral("/proc/%1/environ").arg(helperProcess()));
    for (const QByteArray &variable : environment.split('\0')) {
        // the bus names itself and passes nothing else
        QVERIFY2(variable.isEmpty() || variable.startsWith("DBUS_STARTER_"), variable.constData());
    }
    QCOMPARE(contentOf(path(loginDefs)), QByteArray("# Überschrift – ασφάλεια\nPASS_MAX_DAYS 6\t# höchstens ✓\n"));
    QVERIFY(contentOf(path(pwqualityProfile))
                .endsWith("# größer\nrequisite pam_pwquality.so badwords=löwe minlen=6\t# Löwe \xff\n"));
}

void ActionsTest::takesEveryTypeUnderEveryKey_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("invalid") << QVariant::fromValue(QVariant());
    QTest::newRow("bool") << QVariant::fromValue(QVariant(true));
    QTest::newRow("number beyond an int") << QVariant::fromValue(QVariant(qlonglong(3000000000)));
    QTest::newRow("unsigned") << QVariant::fromValue(QVariant(qulonglong(-1)));
    QTest::newRow("double") << QVariant::fromValue(QVariant(2.5));
    QTest::newRow("not a number") << QVariant::fromValue(QVariant(qQNaN()));
    QTest::newRow("text") << QVariant::fromValue(QVariant(QStringLiteral("%1 $(reboot)\n\"x\"")));
    QTest::newRow("bytes") << QVariant::fromValue(QVariant(QByteArray("\0\xff", 2)));
    QTest::newRow("list") << QVariant::fromValue(QVariant(QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    QTest::newRow("map") << QVariant::fromValue(QVariant(QVariantMap{{QStringLiteral("a"), 1}}));
    QTest::newRow("date") << QVariant::fromValue(QVariant(QDate(2027, 1, 31)));
}

void ActionsTest::takesEveryTypeUnderEveryKey()
{
    QFETCH(QVariant, value);
    QVariantMap arguments;
    for (const char *key : {"per_user",    "magic_root",       "no_reset",
                            "deny",        "lock_time",        "unlock_time",
                            "gecoscheck",  "enforce_for_root", "reject_username",
                            "minlen",      "lcredit",          "ucredit",
                            "dcredit",     "ocredit",          "maxInterval",
                            "minInterval", "warningInterval",  "inactiveInterval",
                            "expireDate",  "unknown",          ""}) {
        arguments.insert(QString::fromLatin1(key), value);
    }
    callAs(nobody, QStringLiteral("readaccountslockoutpolicy"));
    const qint64 process = helperProcess();
    QVERIFY(process != 0);

    for (const char *action :
         {"writeaccountslockoutpolicy", "writepasswordcomplexitypolicy", "writepasswordexpirationpolicy"}) {
        const BusReply reply = callAs(root, QString::fromLatin1(action), arguments);
        QVERIFY2(reply.error == 0, qPrintable(reply.errorText));
        QCOMPARE(typedEntries(reply.data), typedEntries(arguments));
    }
    QCOMPARE(helperProcess(), process);
}

QTEST_GUILESS_MAIN(ActionsTest)
#include "ActionsTest.moc"
