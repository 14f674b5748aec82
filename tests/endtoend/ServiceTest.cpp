// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The service as its callers meet it: over a real system bus, decided by the real polkitd, with the real tools and modules.

#include "Modules1Interface.h"
#include "service/ServiceNames.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/service/JournalSocket.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

namespace
{
const QString faillockFile = QStringLiteral("/etc/security/faillock.conf");
const QString pwqualityFolder = QStringLiteral("/etc/security/pwquality.conf.d");

const char servicePage[] = "/usr/share/man/man8/accountpoliciesd.8";

QVariantMap option(const char *name, bool value = true)
{
    return {{QString::fromLatin1(name), value}};
}

ServiceCall writeCall(const char *policy, const QVariantMap &values, const QVariantMap &options = {})
{
    return {QStringLiteral("WritePolicy"), {QString::fromLatin1(policy), values, options}};
}

ServiceCall writeDeny(const QVariantMap &options = {})
{
    return writeCall("faillock", {{QStringLiteral("deny"), 3}}, options);
}

ServiceCall readCall(const char *policy)
{
    return {QStringLiteral("ReadPolicy"), {QString::fromLatin1(policy)}};
}

ServiceCall unlockCall(const char *account)
{
    return {QStringLiteral("Unlock"), {QString::fromLatin1(account)}};
}

ServiceCall listCall()
{
    return {QStringLiteral("ListLocked"), {}};
}

QByteArray written(const char *note = "")
{
    return QByteArray("bool true; QString ") + note;
}

QByteArray refused()
{
    return serviceError("NotAuthorized", "not authorized");
}

/// Whether PAM lets alice in with this password.
bool letsAliceIn(const char *password)
{
    return runAs(root, "pamtester login alice authenticate", QByteArray(password) + '\n').exitCode == 0;
}

bool isLockedOut()
{
    return !letsAliceIn("Kw7-zR4q-Tm2xBv9");
}

/// The parts of the page that the pattern's capture finds.
QStringList onPage(const char *pattern)
{
    QStringList all;
    // packages compress it
    const QString unpack = QStringLiteral("zcat --force %1 || zcat %1.gz").arg(QLatin1String(servicePage));
    const ProgramResult page = runAs(nobody, QStringLiteral("sh"), {QStringLiteral("-c"), unpack});
    const QRegularExpression form(QString::fromLatin1(pattern), QRegularExpression::MultilineOption);
    QRegularExpressionMatchIterator matches = form.globalMatch(QString::fromUtf8(page.standardOutput));
    while (matches.hasNext()) {
        all += matches.next().captured(1);
    }
    return all;
}
}

class ServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void tellsWhatItKnows();
    void readsForEveryone();
    void writesForRoot();
    void keepsWhatAMergeDoesNotName();
    void previewsWhatItWrites_data();
    void previewsWhatItWrites();
    void takesBackWhatItHasRead();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
    void leavesEditedStacksAlone();
    void putsBackWhatWouldNotWork();
    void locksListsAndUnlocks();
    void tellsOfAFolderThatItCannotSee();
    void asksPolkitOfEachAction_data();
    void asksPolkitOfEachAction();
    void letsRootAloneChooseTheFolder();
    void letsRootAloneMakeStacksAnew();
    void locksRootOnlyWhereTold_data();
    void locksRootOnlyWhereTold();
    void locksRootOfOneServiceOnlyWhereTold();
    void tellsSecretsToRootAlone_data();
    void tellsSecretsToRootAlone();
    void leavesAnEntryInTheJournal();
    void leavesAnEntryOfWhatCameToNothing_data();
    void leavesAnEntryOfWhatCameToNothing();
    void followsTheRuleOfThePage();
    void isConfined();
    void letsNobodyButRootOwnTheName();
    void hasAPageThatTellsAll();
    void hasExamplesThatWork();

private:
    PamState m_stockPam;
    QByteArray m_stockFile = contentOf(faillockFile);
};

void ServiceTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    registerBusTypes();
    QCOMPARE(runAs(root, "useradd -M alice").exitCode, 0);
    QCOMPARE(runAs(root, "chpasswd", "alice:Kw7-zR4q-Tm2xBv9\n").exitCode, 0);
}

void ServiceTest::init()
{
    m_stockPam.restore();
    writeContent(faillockFile, m_stockFile);
    QDir(pwqualityFolder).removeRecursively();
    QDir(QStringLiteral("/run/faillock")).removeRecursively();
}

void ServiceTest::tellsWhatItKnows()
{
    QCOMPARE(answerOf(nobody, {QStringLiteral("ListPolicies")}),
             QByteArray("QStringList faillock, pwquality, pwhistory"));
    QCOMPARE(answerOf(nobody, {QStringLiteral("ListSettings"), {QStringLiteral("pwhistory")}}),
             QByteArray("{enforce_for_root: QString b, remember: QString x, retry: QString x}"));
    QCOMPARE(answerOf(nobody, {QStringLiteral("ListSettings"), {QStringLiteral("faillock")}}),
             QByteArray("{admin_group: QString s, audit: QString b, deny: QString x, dir: QString s, "
                        "even_deny_root: QString b, fail_interval: QString x, local_users_only: QString b, "
                        "no_log_info: QString b, nodelay: QString b, root_unlock_time: QString x, silent: QString b, "
                        "unlock_time: QString x}"));
}

void ServiceTest::readsForEveryone()
{
    writeContent(faillockFile, "# ours\ndeny = 4\naudit\ndir = /var/lib/faillock\n");

    QCOMPARE(answerOf(nobody, readCall("faillock")),
             QByteArray("{audit: bool true, deny: qlonglong 4, dir: QString /var/lib/faillock}; "
                        "{audit: QString /etc/security/faillock.conf, deny: QString /etc/security/faillock.conf, "
                        "dir: QString /etc/security/faillock.conf}; "
                        "{force: QString none, installed: bool true, lines: QStringList }"));
    const QByteArray pwquality = answerOf(nobody, readCall("pwquality"));
    QCOMPARE(
        QString::fromLatin1(pwquality).replace(QRegularExpression(QStringLiteral(":\\d+:")), QStringLiteral(":N:")),
        QStringLiteral("{}; {}; {force: QString lines, installed: bool true, "
                       "lines: QStringList /etc/pam.d/common-password:N: password retry=3}"));
}

void ServiceTest::writesForRoot()
{
    OrgAccountpoliciesModules1Interface service(
        QLatin1String(serviceName), QLatin1String(servicePath), QDBusConnection::systemBus());
    QSignalSpy changes(&service, &OrgAccountpoliciesModules1Interface::PolicyChanged);

    QCOMPARE(answerOf(root, writeDeny(option("on"))), written());
    QCOMPARE(contentOf(faillockFile), m_stockFile + "deny = 3\n");
    QCOMPARE(linesWith("pam_faillock", authStack).size(), 2);
    const QByteArray state = answerOf(nobody, readCall("faillock"));
    QCOMPARE(state.left(state.indexOf("lines:")),
             QByteArray("{deny: qlonglong 3}; {deny: QString /etc/security/faillock.conf}; "
                        "{force: QString profiles, installed: bool true, "));
    QTRY_COMPARE_WITH_TIMEOUT(changes, QList<QVariantList>{{QStringLiteral("faillock")}}, eventLimit);

    // the same once more
    QCOMPARE(answerOf(root, writeDeny(option("on"))), QByteArray("bool false; QString "));
    // and away with all of it
    QCOMPARE(answerOf(root, writeCall("faillock", {}, option("on", false))), written());
    QCOMPARE(contentOf(faillockFile), m_stockFile);
    QCOMPARE(linesWith("pam_faillock", authStack).size(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(changes.size(), 2, eventLimit);
}

void ServiceTest::keepsWhatAMergeDoesNotName()
{
    writeContent(faillockFile, "audit\ndeny = 4\nunlock_time = 60\n");
    QCOMPARE(answerOf(root, writeDeny(option("merge"))), written());
    QCOMPARE(contentOf(faillockFile), QByteArray("audit\ndeny = 3\nunlock_time = 60\n"));

    QCOMPARE(answerOf(root, writeDeny()), written());
    QCOMPARE(contentOf(faillockFile), QByteArray("deny = 3\n"));
}

void ServiceTest::previewsWhatItWrites_data()
{
    QTest::addColumn<QString>("policy");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<QStringList>("paths");
    const QString faillock = QStringLiteral("faillock");
    const QVariantMap deny{{QStringLiteral("deny"), 3LL}};
    QTest::newRow("file") << faillock << deny << QVariantMap() << QStringList{faillockFile};
    QTest::newRow("profiles") << faillock << QVariantMap() << option("on")
                              << QStringList{QStringLiteral("/etc/pam.d/common-account"),
                                             QStringLiteral("/etc/pam.d/common-auth")};
    QTest::newRow("new file") << QStringLiteral("pwquality") << QVariantMap{{QStringLiteral("minlen"), 12LL}}
                              << QVariantMap()
                              << QStringList{QStringLiteral("/etc/security/pwquality.conf.d/50-accountpolicies.conf")};
    QTest::newRow("nothing") << faillock << QVariantMap() << option("merge") << QStringList();
}

void ServiceTest::previewsWhatItWrites()
{
    QFETCH(QString, policy);
    QFETCH(QVariantMap, values);
    QFETCH(QVariantMap, options);
    OrgAccountpoliciesModules1Interface service(
        QLatin1String(serviceName), QLatin1String(servicePath), QDBusConnection::systemBus());
    service.setTimeout(120000);
    QDBusPendingReply<ChangedFiles> preview = service.PreviewPolicy(policy, values, options);
    preview.waitForFinished();
    QVERIFY2(preview.isValid(), qPrintable(preview.error().message()));
    QStringList stacksAndFiles;
    for (const ChangedFile &file : preview.value()) {
        QCOMPARE(contentOf(file.path), file.before);
        QVERIFY(file.before != file.after);
        // besides, there are the tool's records
        stacksAndFiles += file.path.startsWith(QLatin1String("/etc/")) ? QStringList{file.path} : QStringList();
    }
    stacksAndFiles.sort();
    QTEST(stacksAndFiles, "paths");

    QDBusPendingReply<bool, QString> write = service.WritePolicy(policy, values, options);
    write.waitForFinished();
    QVERIFY2(write.isValid(), qPrintable(write.error().message()));
    QCOMPARE(write.argumentAt<0>(), !preview.value().isEmpty());
    for (const ChangedFile &file : preview.value()) {
        QCOMPARE(contentOf(file.path), file.after);
    }
}

void ServiceTest::takesBackWhatItHasRead()
{
    const QVariantMap values{{QStringLiteral("deny"), 0}, {QStringLiteral("unlock_time"), 60}};
    QCOMPARE(answerOf(root, writeCall("faillock", values)), serviceError("InvalidValue", "deny cannot be 0"));

    writeContent(faillockFile, m_stockFile + "deny = 0\n");
    QCOMPARE(answerOf(root, writeCall("faillock", values)), written());
    QCOMPARE(contentOf(faillockFile), m_stockFile + "deny = 0\nunlock_time = 60\n");
    QCOMPARE(answerOf(root, writeCall("faillock", {{QStringLiteral("deny"), -1}})),
             serviceError("InvalidValue", "deny cannot be -1"));
}

void ServiceTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<int>("user");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("expected");
    const QString faillock = QStringLiteral("faillock");
    const QString write = QStringLiteral("WritePolicy");
    const QByteArray noPolicy = serviceError("UnknownPolicy", "no such policy: lockout");
    for (const char *method : {"ReadPolicy", "ListSettings"}) {
        QTest::newRow(method) << nobody << QString::fromLatin1(method) << QVariantList{QStringLiteral("lockout")}
                              << noPolicy;
    }
    for (const char *method : {"WritePolicy", "PreviewPolicy"}) {
        QTest::newRow(method) << nobody << QString::fromLatin1(method)
                              << QVariantList{QStringLiteral("lockout"), QVariantMap(), QVariantMap()} << noPolicy;
    }
    QTest::newRow("setting") << nobody << write
                             << QVariantList{faillock, QVariantMap{{QStringLiteral("minlen"), 1}}, QVariantMap()}
                             << serviceError("UnknownSetting", "faillock has no such setting: minlen");
    QTest::newRow("value") << nobody << write
                           << QVariantList{faillock, QVariantMap{{QStringLiteral("deny"), true}}, QVariantMap()}
                           << serviceError("InvalidValue", "deny has another type");
    QTest::newRow("array") << nobody << write
                           << QVariantList{faillock,
                                           QVariantMap{{QStringLiteral("deny"), QVariantList{1}}},
                                           QVariantMap()}
                           << serviceError("InvalidValue", "deny has another type");
    QTest::newRow("option") << nobody << write << QVariantList{faillock, QVariantMap(), option("never")}
                            << serviceError("InvalidOption", "no such option: never");
    QTest::newRow("account") << root << QStringLiteral("Unlock") << QVariantList{QStringLiteral("../root")}
                             << serviceError("UnknownAccount", "no such account");
    QTest::newRow("no account") << nobody << QStringLiteral("Unlock") << QVariantList{QString()}
                                << serviceError("UnknownAccount", "no such account");
    QTest::newRow("signature") << nobody << write << QVariantList{faillock}
                               << QByteArray(
                                      "org.freedesktop.DBus.Error.UnknownMethod: No such method 'WritePolicy' in "
                                      "interface 'org.accountpolicies.Modules1' at object path "
                                      "'/org/accountpolicies/Modules1' (signature 's')");
}

void ServiceTest::tellsWhatIsWrong()
{
    QFETCH(int, user);
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);

    QTEST(answerOf(user, {method, arguments}), "expected");
}

void ServiceTest::leavesEditedStacksAlone()
{
    const QByteArray edited = contentOf(authStack).replace(
        "(the \"Primary\" block)\n", "(the \"Primary\" block)\nauth optional pam_permit.so debug\n");
    QVERIFY(edited != contentOf(authStack));
    writeContent(authStack, edited);

    QCOMPARE(
        answerOf(root, writeDeny(option("on"))),
        serviceError("StacksEdited", "the stacks were edited by hand, and pam-auth-update leaves them as they are"));
    QCOMPARE(contentOf(authStack), edited);
    QCOMPARE(contentOf(faillockFile), m_stockFile);

    QVariantMap options = option("on");
    options.insert(option("force"));
    QCOMPARE(answerOf(root, writeDeny(options)), written());
    QCOMPARE(linesWith("pam_faillock", authStack).size(), 2);
}

void ServiceTest::putsBackWhatWouldNotWork()
{
    const QString profile = QStringLiteral("/usr/share/pam-configs/accountpolicies-faillock");
    writeContent(profile,
                 contentOf(profile).replace("pam_faillock.so", "pam_faillock.so authfail\n\trequired pam_gone.so"));
    const QByteArray before = contentOf(authStack);

    const QByteArray answer = answerOf(root, writeDeny(option("on")));

    const QByteArray expected = serviceError("RolledBack", "the stacks would not work: ");
    QCOMPARE(answer.left(expected.size()), expected);
    QCOMPARE(contentOf(authStack), before);
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

void ServiceTest::locksListsAndUnlocks()
{
    QCOMPARE(
        answerOf(
            root,
            writeCall("faillock", {{QStringLiteral("deny"), 2}, {QStringLiteral("unlock_time"), 600}}, option("on"))),
        written());
    QVERIFY(letsAliceIn("Kw7-zR4q-Tm2xBv9"));
    const qint64 start = QDateTime::currentSecsSinceEpoch();
    QVERIFY(!letsAliceIn("wrong"));
    QCOMPARE(answerOf(root, listCall()), QByteArray("[]"));
    QVERIFY(!letsAliceIn("wrong"));
    QVERIFY(isLockedOut());

    OrgAccountpoliciesModules1Interface service(
        QLatin1String(serviceName), QLatin1String(servicePath), QDBusConnection::systemBus());
    QDBusPendingReply<LockedAccounts> list = service.ListLocked();
    list.waitForFinished();
    QVERIFY2(list.isValid(), qPrintable(list.error().message()));
    QCOMPARE(list.value().size(), 1);
    const LockedAccount account = list.value().constFirst();
    QCOMPARE(account.name, QStringLiteral("alice"));
    QCOMPARE(account.failures, 2LL);
    QVERIFY(account.first >= start && account.first <= account.last);
    QVERIFY(account.last <= QDateTime::currentSecsSinceEpoch());
    QCOMPARE(account.until, account.last + 600);

    QCOMPARE(answerOf(root, unlockCall("alice")), QByteArray());
    QCOMPARE(answerOf(root, listCall()), QByteArray("[]"));
    QVERIFY(letsAliceIn("Kw7-zR4q-Tm2xBv9"));
}

void ServiceTest::tellsOfAFolderThatItCannotSee()
{
    const QString folder = QStringLiteral("/run/tally");
    writeContent(faillockFile, "dir = /run/tally\n");
    const QByteArray error = serviceError(
        "Failed", "/run/tally is not there, or the service may not see it: accountpoliciesd(8) has the remedy");
    QCOMPARE(answerOf(root, listCall()), error);
    QCOMPARE(answerOf(root, unlockCall("alice")), error);

    QVERIFY(QDir().mkdir(folder));
    QCOMPARE(answerOf(root, listCall()), QByteArray("[]"));
    QCOMPARE(answerOf(root, unlockCall("alice")), QByteArray());
    QVERIFY(QDir().rmdir(folder));
}

void ServiceTest::asksPolkitOfEachAction_data()
{
    QTest::addColumn<QByteArrayList>("expected");
    const QByteArray nothing;
    const QByteArray no = refused();
    QTest::newRow("write-faillock") << QByteArrayList{written(), no, no, no, no};
    QTest::newRow("write-pwquality") << QByteArrayList{no, written(), no, no, no};
    QTest::newRow("write-pwhistory") << QByteArrayList{no, no, "bool false; QString ", no, no};
    QTest::newRow("list-locked") << QByteArrayList{no, no, no, "[]", no};
    QTest::newRow("unlock") << QByteArrayList{no, no, no, no, nothing};
}

void ServiceTest::asksPolkitOfEachAction()
{
    QCOMPARE(answerOf(nobody, writeDeny()), refused());
    const PolkitRule rule(QByteArray(serviceActions) + QTest::currentDataTag(), "nobody", "YES");

    const QByteArrayList answers{answerOf(nobody, writeDeny()),
                                 answerOf(nobody, writeCall("pwquality", {{QStringLiteral("minlen"), 12}})),
                                 answerOf(nobody, writeCall("pwhistory", {})),
                                 answerOf(nobody, listCall()),
                                 answerOf(nobody, unlockCall("alice"))};
    QTEST(answers, "expected");
}

void ServiceTest::letsRootAloneChooseTheFolder()
{
    const PolkitRule rule(serviceActions, "nobody", "YES");
    const QVariantMap folder{{QStringLiteral("dir"), QStringLiteral("/var/lib/pam")}};
    const QByteArray onlyRoot = serviceError("RootOnly", "only root may change dir");
    QCOMPARE(answerOf(nobody, writeCall("faillock", folder)), onlyRoot);
    QCOMPARE(contentOf(faillockFile), m_stockFile);

    QCOMPARE(answerOf(root, writeCall("faillock", folder)), written());
    const QByteArray chosen = contentOf(faillockFile);
    QCOMPARE(chosen, m_stockFile + "dir = /var/lib/pam\n");
    QCOMPARE(answerOf(nobody, writeCall("faillock", {{QStringLiteral("dir"), QStringLiteral("/var")}})), onlyRoot);
    QCOMPARE(answerOf(nobody, writeDeny()), onlyRoot); // which would take it away
    QCOMPARE(contentOf(faillockFile), chosen);

    QCOMPARE(answerOf(nobody, writeDeny(option("merge"))), written());
    QCOMPARE(contentOf(faillockFile), chosen + "deny = 3\n");
    QCOMPARE(answerOf(nobody, writeCall("faillock", folder)), written());
    QCOMPARE(contentOf(faillockFile), chosen);
}

void ServiceTest::letsRootAloneMakeStacksAnew()
{
    const PolkitRule rule(serviceActions, "nobody", "YES");
    const QVariantMap forced{{QStringLiteral("on"), true}, {QStringLiteral("force"), true}};
    const QByteArray edited = contentOf(authStack).replace("(the \"Primary\" block)\n",
                                                           "(the \"Primary\" block)\nauth optional pam_warn.so\n");
    writeContent(authStack, edited);

    QCOMPARE(answerOf(nobody, writeDeny(forced)),
             serviceError("RootOnly", "only root may have stacks made anew that were edited by hand"));
    QCOMPARE(contentOf(authStack), edited);
    QCOMPARE(contentOf(faillockFile), m_stockFile);

    m_stockPam.restore();
    QCOMPARE(answerOf(nobody, writeDeny(forced)), written());
}

void ServiceTest::locksRootOnlyWhereTold_data()
{
    QTest::addColumn<QVariantMap>("before");
    QTest::addColumn<bool>("wasOn");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QVariantMap>("options");
    QTest::addColumn<bool>("isRefused");
    const QVariantMap none;
    const QVariantMap denied{{QStringLiteral("even_deny_root"), true}};
    const QVariantMap timed{{QStringLiteral("root_unlock_time"), 60}};
    const QVariantMap on = option("on");
    const auto onAnd = [](const char *other) {
        return QVariantMap{{QStringLiteral("on"), true}, {QString::fromLatin1(other), true}};
    };
    QTest::newRow("with root") << none << false << denied << on << true;
    QTest::newRow("with a time for root") << none << false << timed << on << true;
    QTest::newRow("root added") << none << true << denied << none << true;
    QTest::newRow("put in force") << denied << false << none << onAnd("merge") << true;
    QTest::newRow("not in force") << none << false << denied << none << false;
    QTest::newRow("taken out of force") << none << true << denied << option("on", false) << false;
    QTest::newRow("as before") << denied << true << timed << on << false;
    QTest::newRow("flag that is false") << none << false << QVariantMap{{QStringLiteral("even_deny_root"), false}} << on
                                        << false;
    QTest::newRow("told") << none << false << denied << onAnd("lock-root") << false;
    QTest::newRow("forced") << none << false << timed << onAnd("force") << false;
}

void ServiceTest::locksRootOnlyWhereTold()
{
    QFETCH(QVariantMap, before);
    QFETCH(bool, wasOn);
    QFETCH(QVariantMap, values);
    QFETCH(QVariantMap, options);
    QFETCH(bool, isRefused);
    answerOf(root, writeCall("faillock", before, {{QStringLiteral("on"), wasOn}, {QStringLiteral("lock-root"), true}}));
    const QByteArrayList files{contentOf(faillockFile), contentOf(authStack)};
    const QByteArray refusal =
        serviceError("LocksRoot", "whoever fails to log in as root often enough would keep root out");

    QCOMPARE(answerOf(root, writeCall("faillock", values, options)), isRefused ? refusal : written());
    const QByteArrayList filesNow{contentOf(faillockFile), contentOf(authStack)};
    QCOMPARE(filesNow == files, isRefused);
}

void ServiceTest::locksRootOfOneServiceOnlyWhereTold()
{
    const QString own = QStringLiteral("/etc/pam.d/own");
    const auto remove = qScopeGuard([&own] {
        QFile::remove(own);
    });
    writeContent(own, "auth required pam_faillock.so preauth\nauth [default=die] pam_faillock.so authfail\n");
    const QVariantMap denied{{QStringLiteral("even_deny_root"), true}};
    const QByteArray refusal =
        serviceError("LocksRoot", "whoever fails to log in as root often enough would keep root out");

    QCOMPARE(answerOf(root, writeCall("faillock", denied)), refusal);
    QCOMPARE(answerOf(root, writeCall("faillock", denied, option("on", false))), refusal);
    QCOMPARE(contentOf(faillockFile), m_stockFile);
    QCOMPARE(answerOf(root, writeCall("faillock", denied, option("lock-root"))), written());
    // as before there, but nowhere else
    QCOMPARE(answerOf(root, writeCall("faillock", denied)), QByteArray("bool false; QString "));
    QCOMPARE(answerOf(root, writeCall("faillock", denied, option("on"))), refusal);
}

void ServiceTest::tellsSecretsToRootAlone_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("toldOf");
    QTest::addColumn<bool>("canBeRead");
    const QString folder = QStringLiteral("/etc/security");
    QTest::newRow("file") << faillockFile << QStringLiteral("600") << faillockFile << false;
    QTest::newRow("stack") << authStack << QStringLiteral("640") << authStack << false;
    QTest::newRow("folder") << folder << QStringLiteral("750") << faillockFile << false;
    QTest::newRow("linked file") << QStringLiteral("/usr/share/faillock.linked") << QStringLiteral("640")
                                 << QStringLiteral("/etc/pam.d/linked") << false;
    QTest::newRow("records") << QStringLiteral("/var/lib/pam/auth") << QStringLiteral("600")
                             << QStringLiteral("/var/lib/pam/auth") << false;
    const QString profile = QStringLiteral("/usr/share/pam-configs/unix");
    QTest::newRow("profile, which no read is made of") << profile << QStringLiteral("600") << profile << true;
}

void ServiceTest::tellsSecretsToRootAlone()
{
    QFETCH(QString, closed);
    QFETCH(QString, mode);
    QFETCH(QString, toldOf);
    QFETCH(bool, canBeRead);
    const QString linked = QStringLiteral("/usr/share/faillock.linked");
    writeContent(linked, "auth required pam_permit.so\n");
    QFile::link(linked, QStringLiteral("/etc/pam.d/linked"));
    const ServiceCall preview{QStringLiteral("PreviewPolicy"),
                              {QStringLiteral("faillock"), QVariantMap(), QVariantMap()}};
    const QByteArray read = answerOf(nobody, readCall("faillock"));
    const QByteArray modeBefore = runAs(root, QStringLiteral("stat"), {QStringLiteral("-c%a"), closed}).standardOutput;
    QCOMPARE(answerOf(nobody, preview), QByteArray("[]"));

    QCOMPARE(runAs(root, QStringLiteral("chmod"), {mode, closed}).exitCode, 0);
    const QByteArrayList answers{answerOf(nobody, readCall("faillock")),
                                 answerOf(nobody, preview),
                                 answerOf(root, readCall("faillock")),
                                 answerOf(root, preview)};
    runAs(root, QStringLiteral("chmod"), {QString::fromLatin1(modeBefore.trimmed()), closed});
    QFile::remove(QStringLiteral("/etc/pam.d/linked"));

    const QByteArray secret =
        serviceError("PrivateFile", ("only root is told what is in " + toldOf.toLatin1()).constData());
    QCOMPARE(answers, QByteArrayList({canBeRead ? read : secret, secret, read, "[]"}));
}

void ServiceTest::leavesAnEntryInTheJournal()
{
    endService(); // which knows of no journal
    const JournalSocket journal;
    const PolkitRule rule(serviceActions, "nobody", "YES");
    const auto caller = startCall(nobody, writeDeny(option("on")));
    const QByteArray process = QByteArray::number(caller->processId());
    QCOMPARE(answersTo(caller.get()), QByteArrayList{written()});
    const QByteArray login = contentOf("/proc/self/loginuid");
    const QByteArray loginUser = login == "4294967295" ? QByteArray() : login;
    QCOMPARE(journal.next().join('\n'),
             QByteArray("MESSAGE=User 65534, write-faillock, policy faillock: done\n"
                        "MESSAGE_ID=b6e1f2a3c7d84e5f9a0b1c2d3e4f5061\nPRIORITY=5\n"
                        "ACCOUNTPOLICIES_ACTION=write-faillock\nACCOUNTPOLICIES_SUBJECT=policy faillock\n"
                        "ACCOUNTPOLICIES_CALLER_UID=65534\nACCOUNTPOLICIES_CALLER_LOGINUID=")
                 + loginUser + "\nACCOUNTPOLICIES_CALLER_PID=" + process
                 + "\nACCOUNTPOLICIES_OLD={}\nACCOUNTPOLICIES_NEW={\"deny\":3}\n"
                   "ACCOUNTPOLICIES_OPTIONS={\"on\":true}\nACCOUNTPOLICIES_OLD_FORCE=none\n"
                   "ACCOUNTPOLICIES_NEW_FORCE=profiles\n"
                   "ACCOUNTPOLICIES_OUTCOME=done\nACCOUNTPOLICIES_REASON=");

    QCOMPARE(answerOf(nobody, unlockCall("alice")), QByteArray());
    QCOMPARE(journal.next().constFirst(), QByteArray("MESSAGE=User 65534, unlock, account alice: done"));
    // what changes nothing by its nature leaves none
    QCOMPARE(answerOf(nobody, listCall()), QByteArray("[]"));
    QCOMPARE(journal.next(), QByteArrayList{QByteArray()});
}

void ServiceTest::leavesAnEntryOfWhatCameToNothing_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QByteArray>("subject");
    const auto addWrite =
        [](const char *name, const char *policy, const QVariantMap &values, const QVariantMap &options) {
            QTest::newRow(name) << QStringLiteral("WritePolicy")
                                << QVariantList{QString::fromLatin1(policy), values, options}
                                << QByteArray("write-") + policy << QByteArray("policy ") + policy;
        };
    addWrite("unreadable file", "pwquality", {{QStringLiteral("minlen"), 12}}, option("merge"));
    addWrite("folder that root chooses", "faillock", {{QStringLiteral("dir"), QStringLiteral("/var")}}, {});
    addWrite("root locked", "faillock", {{QStringLiteral("even_deny_root"), true}}, option("on"));
    QTest::newRow("no account") << QStringLiteral("Unlock") << QVariantList{QStringLiteral("nosuch")}
                                << QByteArray("unlock") << QByteArray("account nosuch");
}

void ServiceTest::leavesAnEntryOfWhatCameToNothing()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, action);
    QFETCH(QByteArray, subject);
    endService(); // which knows of no journal
    const JournalSocket journal;
    const PolkitRule rule(serviceActions, "nobody", "YES");
    QVERIFY(QDir().mkpath(pwqualityFolder + QStringLiteral("/50-accountpolicies.conf")));
    const QByteArray answer = answerOf(nobody, {method, arguments});

    const QByteArray start = QByteArray(serviceName) + ".Error.";
    QCOMPARE(answer.left(start.size()), start);
    const QByteArray error = answer.mid(start.size());
    const auto end = error.indexOf(':');
    QCOMPARE(journal.next().constFirst(),
             "MESSAGE=User 65534, " + action + ", " + subject + ": " + error.left(end) + ',' + error.mid(end + 1));
}

void ServiceTest::followsTheRuleOfThePage()
{
    QCOMPARE(runAs(root, "useradd -M --user-group helpdesk").exitCode, 0);
    const int helpdesk = runAs(root, "id -u helpdesk").standardOutput.trimmed().toInt();
    const QStringList rules = onPage("(?s)^\\.Bd -literal\n(.*)\n\\.Ed");
    QCOMPARE(rules.size(), 1);
    writeContent(QStringLiteral("/etc/polkit-1/rules.d/20-helpdesk.rules"), rules.constFirst().toUtf8());

    QTRY_COMPARE_WITH_TIMEOUT(answerOf(helpdesk, listCall()), QByteArray("[]"), eventLimit);
    QCOMPARE(answerOf(helpdesk, unlockCall("alice")), QByteArray());
    QCOMPARE(answerOf(helpdesk, unlockCall("root")), refused());
    QCOMPARE(answerOf(helpdesk, writeDeny()), refused());
    QCOMPARE(answerOf(nobody, unlockCall("alice")), refused());
    QVERIFY(QFile::remove(QStringLiteral("/etc/polkit-1/rules.d/20-helpdesk.rules")));
}

/// At least as well as the helper: by the tool's tenths.
void ServiceTest::isConfined()
{
    const QByteArray unit = "/usr/lib/systemd/system/accountpoliciesd.service";
    const QByteArray judge = "systemd-analyze --no-pager security --offline=true --threshold=";

    QCOMPARE(runAs(root, (judge + "12 " + unit).constData()).exitCode, 0);
    QVERIFY(runAs(root, (judge + "11 " + unit).constData()).exitCode != 0);
    QCOMPARE(linesWith("ReadWritePaths=", unit.constData()),
             QByteArrayList{"ReadWritePaths=-/etc/security -/etc/pam.d -/var/lib/pam -/var/cache/debconf"});
    // whose accounts are in the network can be unlocked as well
    QCOMPARE(linesWith("BindReadOnlyPaths=", unit.constData()),
             QByteArrayList({"BindReadOnlyPaths=/run/dbus -/run/systemd/journal",
                             "BindReadOnlyPaths=-/run/systemd/userdb -/run/nscd -/run/nslcd -/run/samba/winbindd"}));
    QCOMPARE(linesWith("BusName=", unit.constData()), QByteArrayList{QByteArray("BusName=") + serviceName});
}

void ServiceTest::letsNobodyButRootOwnTheName()
{
    endService();
    const QByteArray request = QByteArray("dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus "
                                          "/org/freedesktop/DBus org.freedesktop.DBus.RequestName string:")
        + serviceName + " uint32:4";

    QCOMPARE(runAs(nobody, request.constData()).exitCode, 1);
    QCOMPARE(runAs(root, request.constData()), ProgramResult({0, "   uint32 1\n", {}}));
}

void ServiceTest::hasAPageThatTellsAll()
{
    QCOMPARE(runAs(nobody, (QByteArray("mandoc -T lint -W warning ") + servicePage).constData()),
             ProgramResult({0, {}, {}}));
    const QString interface =
        QString::fromUtf8(contentOf("/usr/share/dbus-1/interfaces/org.accountpolicies.Modules1.xml"));
    QStringList names;
    QRegularExpressionMatchIterator matches =
        QRegularExpression(QStringLiteral("<method name=\"(\\w+)\"")).globalMatch(interface);
    while (matches.hasNext()) {
        names += matches.next().captured(1);
    }
    QCOMPARE(names.size(), 7);
    QCOMPARE(onPage("^\\.It Fn (\\w+)"), names);
    const ProgramResult actions = runAs(nobody, "pkaction");
    QCOMPARE(onPage("^\\.Cm (org\\.accountpolicies\\.modules1\\..*)$").size(),
             actions.standardOutput.count(serviceActions));
    QCOMPARE(actions.standardOutput.count(serviceActions), 5);
}

void ServiceTest::hasExamplesThatWork()
{
    const QStringList examples = onPage("^\\.Dl (.*)$");
    QCOMPARE(examples.size(), 6);
    for (const QString &example : examples) {
        const QString call = QStringLiteral("busctl --timeout 60 call %1 %2 %1 ")
                                 .arg(QLatin1String(serviceName), QLatin1String(servicePath));
        const ProgramResult run = runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), QString(call + example)});
        QVERIFY2(run.exitCode == 0, (example.toUtf8() + '\n' + run.standardError).constData());
        QCOMPARE(run.standardError, QByteArray());
    }
    QCOMPARE(contentOf(faillockFile), m_stockFile + "deny = 5\nunlock_time = 900\n");
}

QTEST_GUILESS_MAIN(ServiceTest)
#include "ServiceTest.moc"
