// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the client's checkup finds on an installation with one thing wrong at a time.

#include "HelperId.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTest>

#include <csignal>
#include <memory>
#include <vector>

namespace
{
constexpr char busServiceOfModules[] = "/usr/share/dbus-1/system-services/org.accountpolicies.Modules1.service";
constexpr char busPolicyOfModules[] = "/usr/share/dbus-1/system.d/org.accountpolicies.Modules1.conf";
constexpr char actionsOfModules[] = "/usr/share/polkit-1/actions/org.accountpolicies.modules1.policy";

QString id()
{
    return QLatin1String(helperId);
}

/// A file that has another content, or is away for a null one, until this object ends.
class ScopedFile
{
public:
    ScopedFile(const QString &path, const QByteArray &content) : m_path(path), m_away(path + QStringLiteral(".away"))
    {
        m_wasThere = QFile::rename(path, m_away);
        if (!content.isNull()) {
            writeProgram(path, content);
        }
    }
    ~ScopedFile()
    {
        QFile::remove(m_path);
        if (m_wasThere) {
            QFile::rename(m_away, m_path);
        }
    }

private:
    Q_DISABLE_COPY_MOVE(ScopedFile)

    QString m_path;
    QString m_away;
    bool m_wasThere = false;
};

/// By dpkg's word.
QByteArray packageOf(const char *path)
{
    const QByteArray found = runAs(root, (QByteArray("dpkg-query --search ") + path).constData()).standardOutput;
    return found.left(found.indexOf(": "));
}

QByteArrayList stockLines()
{
    const QByteArray name = id().toLatin1();
    return {
        QByteArray("ok    helper: ") + helperFile,
        "ok    bus service: /usr/share/dbus-1/system-services/" + name + ".service",
        "ok    bus policy: /usr/share/dbus-1/system.d/" + name + ".conf",
        QByteArray("ok    bus policy of KAuth: ") + kauthPolicyFile,
        "ok    polkit actions: /usr/share/polkit-1/actions/" + name + ".policy",
        "ok    password prompt for terminals: /usr/bin/pkttyagent",
        "ok    system bus",
        "ok    the bus starts the helper",
        "ok    polkit knows the six actions",
        "ok    the helper takes requests",
        QByteArray("ok    bus service: ") + busServiceOfModules,
        QByteArray("ok    bus policy: ") + busPolicyOfModules,
        QByteArray("ok    polkit actions: ") + actionsOfModules,
        "ok    the service takes requests",
        "ok    pam-auth-update: /usr/sbin/pam-auth-update",
        "note  the lockout policy cannot be written: there is no profile /usr/share/pam-configs/tally",
        "      install a package that brings one, or do without this policy",
        "ok    profile: /usr/share/pam-configs/pwquality",
        "note  pam_tally.so is not installed: no account is locked after failed logins",
        "      Debian has dropped this module after version 10",
        "ok    defaults of passwords: /etc/login.defs",
        "ok    defaults of useradd: /etc/default/useradd",
        "ok    faillock: switched off",
        "ok    pwquality: in force",
        "ok    pwhistory: switched off",
        "ok    nothing was left behind",
    };
}

/// The lines of the checkup that aren't those of a stock installation.
QByteArrayList unusualLines(const QByteArray &output)
{
    QByteArrayList unusual;
    const QByteArrayList stock = stockLines();
    for (const QByteArray &line : output.trimmed().split('\n')) {
        if (!stock.contains(line)) {
            unusual += line;
        }
    }
    return unusual;
}

/// Paths, and their other contents; null ones for files that are away.
using OtherFiles = QMap<QString, QByteArray>;

/// @param command run once the files are as they are said to be
/// @param lines   what is unusual in the checkup's output then
void addFault(const char *name,
              const OtherFiles &files,
              const QByteArrayList &lines,
              const QByteArray &command = "true")
{
    QTest::newRow(name) << files << command << lines;
}

// clang-format off
void addFileFaults()
{
    const QString helper = QString::fromLatin1(helperFile);
    const QString bus = QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id());
    const QByteArray path = helperFile;
    const OtherFiles otherHelper{{helper, contentOf(helper)}};
    const QByteArrayList replaceable{"WRONG others than root may replace the helper: " + path,
                                     "      chown root " + path + "; chmod 755 " + path};
    addFault("bus policy missing", {{bus, {}}},
             {"WRONG bus policy is missing: " + bus.toLatin1(), "      install the helper again"});
    addFault("bus policy of KAuth missing", {{QString::fromLatin1(kauthPolicyFile), {}}},
             {QByteArray("WRONG bus policy of KAuth is missing: ") + kauthPolicyFile,
              QByteArray("      apt install ") + kauthPolicyPackage});
    addFault("actions of the service missing", {{QString::fromLatin1(actionsOfModules), {}}},
             {QByteArray("WRONG polkit actions is missing: ") + actionsOfModules,
              "      apt install --reinstall accountpolicies-service"});
    addFault("agent missing", {{QStringLiteral("/usr/bin/pkttyagent"), {}}},
             {"WRONG password prompt for terminals is missing: /usr/bin/pkttyagent", "      apt install polkitd"});
    addFault("helper not executable", otherHelper,
             {"WRONG the helper cannot be executed: " + path, "      chmod 755 " + path},
             "chmod 644 " + path);
    addFault("helper open to all", otherHelper, replaceable, "chmod 777 " + path);
    addFault("helper open to a group", otherHelper, replaceable,
             "install -g 4 -m 775 " + path + ".away " + path);
    addFault("helper open to root's group", otherHelper, {}, "chmod 775 " + path);
    addFault("helper of another owner", otherHelper, replaceable,
             "chown 65534 " + path);
}

void addPamFaults()
{
    const QString tally = QString::fromLatin1(tallyFile);
    const QString pwquality = QString::fromLatin1(pwqualityFile);
    const QString cracklib = QStringLiteral("/usr/share/pam-configs/cracklib");
    addFault("nothing wrong", {}, {});
    addFault("profile without its module", {{tally, tallyProfile()}},
             {"WRONG /usr/share/pam-configs/tally names pam_tally.so, which is not installed",
              "      install the module, or remove the profile"});
    addFault("profile that the tool leaves out",
             {{tally, tallyProfile()}, {QStringLiteral("/usr/lib/security/pam_tally.so"), "x"}},
             {"WRONG /usr/share/pam-configs/tally can be written, but never comes into force",
              "      pam-auth-update of this system leaves out every profile that names pam_tally",
              "ok    module: /usr/lib/security/pam_tally.so"});
    addFault("profile that doesn't name its module", {{pwquality, "Name: empty\n# pam_pwquality.so\n"}},
             {"WRONG /usr/share/pam-configs/pwquality does not name pam_pwquality.so",
              "      bring its line back: dpkg -S /usr/share/pam-configs/pwquality",
              "note  /usr/share/pam-configs/pwquality was changed, and the next version of libpam-pwquality brings its own "
              "again",
              "      keep what accountpolicyctl export prints, and give it to accountpolicyctl apply after each upgrade"});
    addFault("pwquality switched off", {{QString::fromLatin1(passwordStack), "password required pam_unix.so\n"}},
             {"note  pam_pwquality is installed, but switched off: /etc/pam.d/common-password does not call it",
              "      pam-auth-update --enable pwquality"});
    addFault("pwquality called by nobody, and without its profile",
             {{QString::fromLatin1(passwordStack), "password required pam_unix.so\n"}, {pwquality, {}}},
             {"note  the complexity policy cannot be written: there is no profile /usr/share/pam-configs/pwquality, "
              "/usr/share/pam-configs/cracklib"});
    addFault("rules that do not count",
             {{QString::fromLatin1(passwordStack), "password requisite pam_pwquality.so minlen=12 gecoscheck\n"},
              {QStringLiteral("/etc/security/pwquality.conf"), "minlen = 16\nenforcing = 0\n"}},
             {"note  weak passwords are not refused: enforcing = 0 in /etc/security/pwquality.conf",
              "      mend it there; accountpolicyctl show complexity has what is in force",
              "note  pam_pwquality does not take the option gecoscheck of /etc/pam.d/common-password",
              "      mend it there; accountpolicyctl show complexity has what is in force",
              "note  minlen = 16 in /etc/security/pwquality.conf does not count: /etc/pam.d/common-password sets minlen to "
              "12",
              "      remove one of the two"});
    addFault("rules of a folder that do not count",
             {{QString::fromLatin1(passwordStack), "password requisite pam_pwquality.so minlen=12\n"},
              {QStringLiteral("/etc/security/pwquality.conf.d/50-length.conf"), "minlen = 16\n"}},
             {"note  minlen = 16 in /etc/security/pwquality.conf.d/50-length.conf does not count: "
              "/etc/pam.d/common-password sets minlen to 12",
              "      remove one of the two"});
    addFault("no profile for complexity", {{pwquality, {}}},
             {"note  the complexity policy cannot be written: there is no profile /usr/share/pam-configs/pwquality, "
              "/usr/share/pam-configs/cracklib"});
    addFault("second profile without its module", {{cracklib, "required pam_cracklib.so\n"}},
             {"WRONG /usr/share/pam-configs/cracklib names pam_cracklib.so, which is not installed",
              "      install the module, or remove the profile"});
    addFault("no dictionary", {{QStringLiteral("/var/cache/cracklib/cracklib_dict.pwd"), {}}},
             {"WRONG pam_pwquality has no dictionary, and refuses every password", "      apt install cracklib-runtime"});
    addFault("no stack", {{QString::fromLatin1(passwordStack), {}}},
             {"WRONG /etc/pam.d/common-password is missing", "      apt install --reinstall libpam-runtime"});
    addFault("no pam-auth-update", {{QString::fromLatin1(toolFile), {}}},
             {"WRONG pam-auth-update is missing: /usr/sbin/pam-auth-update", "      apt install libpam-runtime"});
    addFault("no login.defs", {{QString::fromLatin1(loginDefsFile), {}}},
             {"WRONG defaults of passwords is missing: /etc/login.defs",
              "      apt install --reinstall " + packageOf(loginDefsFile)});
    addFault("no defaults of useradd", {{QString::fromLatin1(useraddFile), {}}},
             {"WRONG defaults of useradd is missing: /etc/default/useradd", "      apt install --reinstall passwd"});
}

void addLeftovers()
{
    OtherFiles files;
    QByteArrayList lines;
    for (const char *path : {"/usr/share/pam-configs/.hidden.tmp", "/usr/share/pam-configs/tally.tmp",
                             "/etc/login.defs.tmp", "/etc/default/useradd.tmp", "/etc/pam.d/common-auth.tmp"}) {
        const bool profile = qstrncmp(path, "/usr", 4) == 0;
        files.insert(QString::fromLatin1(path), "");
        lines += profile ? QByteArray("WRONG left behind: ") + path + ", which pam-auth-update takes for a profile"
                         : QByteArray("note  left behind: ") + path;
        lines += QByteArray("      rm ") + path;
    }
    addFault("leftovers", files, lines);
}
// clang-format on

/// The bus looks into its folders when it is told to, or notices by itself.
void reloadBus()
{
    QCOMPARE(runAs(root, "pkill -HUP dbus-daemon").exitCode, 0);
}

/// Waits until the bus or polkit know of the files' change, too.
void checkThatDoctorFinds(const QByteArrayList &lines)
{
    QTRY_COMPARE_WITH_TIMEOUT(unusualLines(client(root, "doctor").standardOutput), lines, eventLimit);
    QCOMPARE(client(root, "doctor").exitCode, lines.isEmpty() ? 0 : 1);
}

/// Two findings, each with its remedy: the one that is given, and what follows from it.
void checkThatBusCannotStart(const QByteArray &cause, const QByteArray &error)
{
    checkThatDoctorFinds({cause,
                          "      install the helper again",
                          "WRONG the bus cannot start the helper: " + error,
                          "      look into the system's journal, then install the helper again"});
}
}

class DoctorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void findsNothingWrongOnStockMachine();
    void findsWhatIsWrong_data();
    void findsWhatIsWrong();
    void tellsByWhatAccountsAreLocked();
    void tellsOfLinesThatCountAlone();
    void findsHelperThatCannotStart();
    void findsMissingBusService();
    void findsMissingActions_data();
    void findsMissingActions();
    void findsPolkitThatDoesNotAnswer();
    void findsNoBus();
    void findsThatTheHelperIsLeftOut();
    void findsThatTheServiceIsLeftOut();
    void findsServiceThatCannotStart();
    void findsHelperThatTakesNoRequest_data();
    void findsHelperThatTakesNoRequest();
    void printsDocument();
};

void DoctorTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void DoctorTest::findsNothingWrongOnStockMachine()
{
    QCOMPARE(client(nobody, "doctor"), success(stockLines().join('\n') + '\n'));
}

void DoctorTest::findsWhatIsWrong_data()
{
    QTest::addColumn<OtherFiles>("files");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArrayList>("lines");
    addFileFaults();
    addPamFaults();
    addLeftovers();
}

void DoctorTest::findsWhatIsWrong()
{
    QFETCH(OtherFiles, files);
    QFETCH(QByteArray, command);
    QFETCH(QByteArrayList, lines);
    std::vector<std::unique_ptr<ScopedFile>> others;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        others.push_back(std::make_unique<ScopedFile>(it.key(), it.value()));
    }
    QCOMPARE(runAs(root, command.constData()), success());

    const ProgramResult doctor = client(root, "doctor");

    QCOMPARE(unusualLines(doctor.standardOutput), lines);
    QCOMPARE(doctor.exitCode, lines.join().contains("WRONG") ? 1 : 0);
}

void DoctorTest::tellsByWhatAccountsAreLocked()
{
    const ScopedFile stack(QString::fromLatin1(authStack),
                           "auth required pam_faillock.so preauth deny=5\nauth required pam_faillock.so authfail\n");
    const ScopedFile limits(QStringLiteral("/etc/security/faillock.conf"), "unlock_time = never\n");
    QByteArrayList lines = stockLines();
    const auto lockout = lines.indexOf("note  pam_tally.so is not installed: no account is locked after failed logins");
    lines.replace(lockout, "note  accounts are locked by pam_faillock: deny 5, fail_interval 900, unlock_time never");
    lines.replace(lockout + 1, "      the lockout policy does not change that; see faillock.conf(5)");
    const auto faillock = lines.indexOf("ok    faillock: switched off");
    lines.replace(faillock,
                  "note  the faillock policy: deny is another one at /etc/pam.d/common-auth:2 than at "
                  "/etc/pam.d/common-auth:1, which is shown");
    lines.insert(faillock + 1, "      accountpolicyctl show faillock has what is in force");
    lines.insert(
        faillock + 2,
        "note  the faillock policy: failed logins count on after a good one: no common stack calls pam_faillock "
        "for the account or with authsucc");
    lines.insert(faillock + 3, "      accountpolicyctl show faillock has what is in force");

    QCOMPARE(client(nobody, "doctor"), success(lines.join('\n') + '\n'));
}

void DoctorTest::tellsOfLinesThatCountAlone()
{
    const ScopedFile stack(QString::fromLatin1(authStack), "auth required pam_faillock.so authfail\n");
    QByteArrayList lines = stockLines();
    const auto faillock = lines.indexOf("ok    faillock: switched off");
    lines.replace(
        faillock,
        "note  the faillock policy: accounts are not locked: /etc/pam.d/common-auth:1 calls pam_faillock, but "
        "none does with preauth");
    lines.insert(faillock + 1, "      take that line out, or add what is missing");

    QCOMPARE(client(nobody, "doctor"), success(lines.join('\n') + '\n'));
}

void DoctorTest::findsHelperThatCannotStart()
{
    endHelper();
    const ScopedFile missing(QString::fromLatin1(helperFile), {});

    checkThatBusCannotStart(QByteArray("WRONG the helper is missing: ") + helperFile,
                            "Cannot launch daemon, file not found or permissions invalid");
}

void DoctorTest::findsMissingBusService()
{
    const QString service = QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id());
    endHelper();
    const ScopedFile missing(service, {});
    reloadBus();

    checkThatBusCannotStart("WRONG bus service is missing: " + service.toLatin1(),
                            "The name " + id().toLatin1() + " was not provided by any .service files");
}

void DoctorTest::findsMissingActions_data()
{
    QTest::addColumn<QByteArray>("missing"); // the ends of names
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("the first of two") << QByteArray("accountslockoutpolicy") << QByteArray("readaccountslockoutpolicy");
    for (const char *verb : {"read", "write"}) {
        for (const char *policy : {"accountslockout", "passwordcomplexity", "passwordexpiration"}) {
            const QByteArray action = QByteArray(verb) + policy + "policy";
            QTest::newRow(action.constData()) << action << action;
        }
    }
}

void DoctorTest::findsMissingActions()
{
    QFETCH(QByteArray, missing);
    QFETCH(QByteArray, action);
    const QString policy = QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id());
    {
        const ScopedFile other(policy, contentOf(policy).replace(missing, missing + "2"));
        checkThatDoctorFinds({"WRONG polkit does not know the action " + id().toLatin1() + '.' + action,
                              "      install the helper again"});
    }
    checkThatDoctorFinds({});
}

void DoctorTest::findsPolkitThatDoesNotAnswer()
{
    {
        const ScopedFile missing(QStringLiteral("/usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service"),
                                 {});
        reloadBus();
        QCOMPARE(runAs(root, "pkill polkitd").exitCode, 0);
        checkThatDoctorFinds({"WRONG polkit does not answer", "      apt install polkitd"});
    }
    reloadBus();
    checkThatDoctorFinds({});
}

void DoctorTest::findsNoBus()
{
    const ScopedVariable address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
    QByteArrayList lines = stockLines();
    const auto bus = lines.indexOf("ok    system bus");
    lines.replace(bus, "WRONG the system bus cannot be reached");
    lines.replace(bus + 1, "      start the service dbus");
    lines.replace(bus + 2, "note  without it root reads and changes policies by itself, and others only read");
    lines.replace(bus + 3, "      see --local in accountpolicyctl(1)");
    lines.removeOne("ok    the service takes requests");

    const ProgramResult doctor = client(root, "doctor");

    QCOMPARE(doctor.standardOutput.trimmed().split('\n'), lines);
    QCOMPARE(doctor.exitCode, 1);
}

void DoctorTest::findsThatTheHelperIsLeftOut()
{
    endHelper();
    std::vector<std::unique_ptr<ScopedFile>> missing;
    for (const QString &path : {QString::fromLatin1(helperFile),
                                QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id()),
                                QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id()),
                                QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id())}) {
        missing.push_back(std::make_unique<ScopedFile>(path, QByteArray()));
    }
    QByteArrayList lines = stockLines();
    lines.erase(lines.begin(), lines.begin() + 10); // of the helper, the bus and polkit
    lines.prepend("      apt install accountpolicies-helper, where others are to change them");
    lines.prepend(
        "note  the helper is not installed: root reads and changes policies without it, and others only read");

    QCOMPARE(client(nobody, "doctor"), success(lines.join('\n') + '\n'));
}

void DoctorTest::findsThatTheServiceIsLeftOut()
{
    std::vector<std::unique_ptr<ScopedFile>> missing;
    for (const char *path : {busServiceOfModules, busPolicyOfModules, actionsOfModules}) {
        missing.push_back(std::make_unique<ScopedFile>(QString::fromLatin1(path), QByteArray()));
    }
    QByteArrayList lines = stockLines();
    const auto service = lines.indexOf(QByteArray("ok    bus service: ") + busServiceOfModules);
    lines.erase(lines.begin() + service, lines.begin() + service + 4);
    lines.insert(service, "      apt install accountpolicies-service, where others are to change them");
    lines.insert(service,
                 "note  the service is not installed: root changes the policies of modules without it, and others only "
                 "read");

    QCOMPARE(client(nobody, "doctor"), success(lines.join('\n') + '\n'));
}

void DoctorTest::findsServiceThatCannotStart()
{
    endService();
    const ScopedFile missing(QStringLiteral("/usr/libexec/accountpoliciesd"), {});

    checkThatDoctorFinds(
        {"WRONG the service takes no request: Cannot launch daemon, file not found or permissions invalid",
         "      look into the system's journal, then install the service again"});
}

void DoctorTest::findsHelperThatTakesNoRequest_data()
{
    QTest::addColumn<bool>("bySystemd");
    QTest::addColumn<bool>("isHeld");
    QTest::addColumn<QByteArray>("hindrance");
    QTest::newRow("silent, by systemd") << true << false << QByteArray("the helper does not answer");
    QTest::newRow("silent, by the bus alone") << false << false << QByteArray("the helper does not answer");
    QTest::newRow("held by a question that polkit never answers") << false << true << QByteArray("the helper is busy");
}

void DoctorTest::findsHelperThatTakesNoRequest()
{
    QFETCH(bool, bySystemd);
    QFETCH(bool, isHeld);
    QFETCH(QByteArray, hindrance);
    if (bySystemd) {
        QVERIFY(QDir().mkpath(QStringLiteral("/run/systemd/system")));
    }
    QCOMPARE(client(nobody, "show lockout").exitCode, 0);
    const auto process = static_cast<pid_t>(helperProcess());
    if (isHeld) {
        holdHelper();
    } else {
        QCOMPARE(kill(process, SIGSTOP), 0);
    }

    const ProgramResult doctor = client(nobody, "doctor");
    QDir(QStringLiteral("/run/systemd")).removeRecursively();
    kill(process, SIGKILL);

    const QByteArray number = QByteArray::number(process);
    const QByteArray end =
        bySystemd ? QByteArray("systemctl stop accountpolicieshelper.service") : "kill -KILL " + number;
    QCOMPARE(
        unusualLines(doctor.standardOutput),
        QByteArrayList({"WRONG the helper takes no request: " + hindrance,
                        "      process " + number
                            + " works for somebody else, waits for a password, or is held by a caller that has gone "
                              "away; if it stays so, as root: "
                            + end}));
    QCOMPARE(doctor.exitCode, 1);
}

void DoctorTest::printsDocument()
{
    const ScopedFile noDefaults(QString::fromLatin1(useraddFile), {});
    const ProgramResult text = client(nobody, "doctor");

    const ProgramResult document = client(nobody, "doctor --json");

    QCOMPARE(document.exitCode, 1);
    QByteArray retold;
    const QJsonArray findings =
        QJsonDocument::fromJson(document.standardOutput).object().value(QStringLiteral("findings")).toArray();
    for (const QJsonValue &finding : findings) {
        const QByteArray grade = finding[QStringLiteral("grade")].toString().toUtf8();
        const QByteArray remedy = finding[QStringLiteral("remedy")].toString().toUtf8();
        retold += (grade == "wrong" ? grade.toUpper() : grade.leftJustified(5)) + ' '
            + finding[QStringLiteral("text")].toString().toUtf8() + '\n';
        retold += remedy.isEmpty() ? QByteArray() : "      " + remedy + '\n';
    }
    QCOMPARE(retold, text.standardOutput);
}

QTEST_GUILESS_MAIN(DoctorTest)
#include "DoctorTest.moc"
