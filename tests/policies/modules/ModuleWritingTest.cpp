// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleWriting.h"

#include "policies/modules/ModuleReading.h"
#include "tests/policies/pam/PamSystem.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <future>
#include <sys/file.h>
#include <sys/stat.h>
#include <vector>

namespace
{
using Kind = ModuleOutcome::Kind;
using Switch = ModuleWish::Switch;

const QString commonAuth = QStringLiteral("/etc/pam.d/common-auth");
const QString commonPassword = QStringLiteral("/etc/pam.d/common-password");
const QString faillockFile = QStringLiteral("/etc/security/faillock.conf");
const QString lockFile = QStringLiteral("/etc/security/.accountpolicies.lock");
const QString profileFolder = QStringLiteral("/usr/share/pam-configs/");
const QVariantMap five{{QStringLiteral("deny"), 5LL}};

/// All that a write may change.
FolderContent machine()
{
    FolderContent all;
    for (const char *folder : {"/etc/pam.d", "/etc/security", "/var/lib/pam", "/var/cache/debconf"}) {
        const FolderContent below = contentBelow(QLatin1String(folder));
        for (auto file = below.begin(); file != below.end(); ++file) {
            all.insert(QLatin1String(folder) + QLatin1Char('/') + file.key(), *file);
        }
    }
    // what debconf writes at each run, of whatever
    for (const char *noise : {"config.dat-old", "templates.dat", "templates.dat-old"}) {
        all.remove(QLatin1String("/var/cache/debconf/") + QLatin1String(noise));
    }
    all.remove(lockFile);
    return all;
}

/// Without what pam-auth-update has last told debconf that there is to choose from: that is no answer.
FolderContent withoutChoices(FolderContent files)
{
    QByteArray &database = files[QStringLiteral("/var/cache/debconf/config.dat")];
    QByteArrayList kept;
    for (const QByteArray &line : database.split('\n')) {
        if (!line.startsWith(" profile")) {
            kept += line;
        }
    }
    database = kept.join('\n');
    return files;
}

/// What debconf has for an answer.
QByteArray debconfAnswer(const QByteArray &question)
{
    const QByteArray answer = runAs(root, "debconf-communicate", "GET " + question + '\n').standardOutput;
    return answer.trimmed().mid(2); // behind a 0 for a success
}

/// The lines of a stack that aren't comments.
QByteArrayList linesOf(const QString &stack)
{
    QByteArrayList lines;
    for (const QByteArray &line : contentOf(stack).split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#')) {
            lines += line.simplified();
        }
    }
    return lines;
}

QByteArrayList linesCalling(const QByteArray &module, const QString &stack)
{
    QByteArrayList lines;
    for (const QByteArray &line : linesOf(stack)) {
        if (line.contains(module + ".so")) {
            lines += line;
        }
    }
    return lines;
}

ModuleOutcome write(const ModulePolicy &policy, const QVariantMap &values, Switch profiles, bool force = false)
{
    return writeModule(policy, {values, profiles, force});
}

/// In front of the profiles' lines, which pam-auth-update then leaves alone.
void editByHand()
{
    writeContent(
        commonAuth,
        contentOf(commonAuth)
            .replace("(the \"Primary\" block)\n", "(the \"Primary\" block)\nauth optional pam_permit.so debug\n"));
}

ProgramResult prerm(const QString &step)
{
    qputenv("DEBIAN_FRONTEND", "noninteractive");
    return runAs(
        root, QStringLiteral("/bin/sh"), {QStringLiteral(SOURCES "/debian/accountpolicies-common.prerm"), step});
}
}
Q_DECLARE_METATYPE(ModuleOutcome::Kind)
Q_DECLARE_METATYPE(ModuleWish::Switch)
Q_DECLARE_METATYPE(ModuleForce)

class ModuleWritingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void switchesFaillockOnAndOff();
    void takesFoldersOfRootAlone_data();
    void takesFoldersOfRootAlone();
    void switchesHistoryOnAndOff();
    void writesQualityBesideTheLibrarysFile();
    void changesNothingTheSecondTime();
    void mergesWhatIsNamed_data();
    void mergesWhatIsNamed();
    void keepsLinesWithoutMeaningAsItMerges();
    void losesNothingOfWritersAtOnce();
    void leavesValuesThatCantBeSet();
    void replacesWhatItsModuleDoesNotUnderstand();
    void waitsForNoPipe();
    void keepsOptionsThroughOtherRunsOfTool();
    void leavesEditedStacksAlone();
    void writesEditedStacksAnewByForce();
    void keepsOptionsOfOthersWhereStacksAreMadeAnew();
    void doublesNoOtherLine_data();
    void doublesNoOtherLine();
    void knowsItsLinesAmongOthers();
    void writesItsLineBesideThoseOfServices();
    void takesOptionsOfAnOlderModuleIntoTheFile();
    void saysWhatItCantSwitchOff();
    void putsBackStacksThatWouldNotWork_data();
    void putsBackStacksThatWouldNotWork();
    void putsBackStacksThatJumpElsewhere_data();
    void putsBackStacksThatJumpElsewhere();
    void putsBackWhatToolHasSpoiled();
    void putsBackWhatToolHasSwitchedInPart();
    void mendsWhatAKilledToolHasLeft_data();
    void mendsWhatAKilledToolHasLeft();
    void isBusyWhileOthersHaveDebconf();
    void putsBackItsOwnAnswerAlone();
    void refuses_data();
    void refuses();
    void writesBelowRootWhatItWritesHere();
    void isHeldUpByRootAlone();
    void usesNoLockOfOthers_data();
    void usesNoLockOfOthers();
    void replacesNoLink_data();
    void replacesNoLink();
    void goesOutOfForceWithItsPackage();
    void staysInEditedStacksAsItsPackageGoes();

private:
    FolderContent m_machine;
};

void ModuleWritingTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    for (const char *name :
         {"accountpolicies-faillock", "accountpolicies-faillock-preauth", "accountpolicies-pwhistory"}) {
        const QString profile = QLatin1String(name);
        writeContent(profileFolder + profile, contentOf(QLatin1String(SOURCES "/profiles/") + profile));
    }
    QVERIFY(QDir().mkpath(QStringLiteral("/usr/lib/pam.d"))); // not everywhere
    // the records know them from now on
    QCOMPARE(runAs(root, "env DEBIAN_FRONTEND=noninteractive pam-auth-update --package").exitCode, 0);
    m_machine = machine();
}

void ModuleWritingTest::init()
{
    const FolderContent now = machine();
    for (auto file = now.begin(); file != now.end(); ++file) {
        if (!m_machine.contains(file.key())) {
            QFile::remove(file.key());
        }
    }
    for (auto file = m_machine.begin(); file != m_machine.end(); ++file) {
        if (now.value(file.key()) != *file) {
            writeContent(file.key(), *file);
        }
    }
    QFile::remove(profileFolder + QLatin1String("own"));
}

void ModuleWritingTest::switchesFaillockOnAndOff()
{
    const QVariantMap values{{QStringLiteral("deny"), 5LL},
                             {QStringLiteral("unlock_time"), 0LL},
                             {QStringLiteral("audit"), true},
                             {QStringLiteral("silent"), false},
                             {QStringLiteral("dir"), QStringLiteral("/var/lib/faillock")}};
    const QVariantMap read{{QStringLiteral("deny"), 5LL},
                           {QStringLiteral("unlock_time"), 0LL},
                           {QStringLiteral("audit"), true},
                           {QStringLiteral("dir"), QStringLiteral("/var/lib/faillock")}};
    const QByteArray fileBefore = contentOf(faillockFile);
    QVERIFY(QDir().mkpath(QStringLiteral("/var/lib/faillock")));

    const ModuleOutcome on = write(faillockPolicy(), values, Switch::On);
    QCOMPARE(on.reason, QString());
    QCOMPARE(on.kind, Kind::Done);
    QCOMPARE(on.before, QVariantMap());
    QVERIFY(!on.wasOn && on.changed);
    QCOMPARE(contentOf(faillockFile), fileBefore + "deny = 5\nunlock_time = 0\naudit\ndir = /var/lib/faillock\n");
    QCOMPARE(linesOf(commonAuth).mid(0, 5),
             QByteArrayList({"auth requisite pam_faillock.so preauth",
                             "auth [success=2 default=ignore] pam_unix.so nullok try_first_pass",
                             "auth [default=die] pam_faillock.so authfail",
                             "auth requisite pam_deny.so",
                             "auth required pam_permit.so"}));
    QCOMPARE(linesCalling("pam_faillock", QStringLiteral("/etc/pam.d/common-account")),
             QByteArrayList{"account required pam_faillock.so"});
    const ModuleReading reading = readModule(faillockPolicy());
    QCOMPARE(reading.values, read);
    QCOMPARE(reading.force, ModuleForce::OurProfiles);

    const ModuleOutcome off = write(faillockPolicy(), read, Switch::Off);
    QCOMPARE(off.reason, QString());
    QCOMPARE(off.kind, Kind::Done);
    QCOMPARE(off.before, read);
    QVERIFY(off.wasOn && off.changed);
    QCOMPARE(contentOf(commonAuth), m_machine.value(commonAuth));
    QCOMPARE(readModule(faillockPolicy()).force, ModuleForce::None);

    QCOMPARE(write(faillockPolicy(), {}, Switch::Stay).kind, Kind::Done);
    QCOMPARE(contentOf(faillockFile), fileBefore);
}

void ModuleWritingTest::takesFoldersOfRootAlone_data()
{
    const Rows<RowText, RowText, RowText> row("preparation", "folder", "fault");
    row("root's", "mkdir /var/own", "/var/own", "");
    row("with more strokes", "mkdir /var/own", "//var/./own/", "");
    row("up and down", "mkdir /var/own", "/var/lib/../own", "");
    row("in a folder of all", "mkdir /tmp/own", "/tmp/own", "");
    row("by a link", "mkdir /var/own; ln -s own /var/link", "/var/link", "");
    row("none", "", "/var/own", "/var/own is no folder");
    row("a file", "touch /var/own", "/var/own", "/var/own is no folder");
    row("below a file", "touch /var/own", "/var/own/x", "/var/own is no folder");
    row("a link to itself", "ln -s link /var/link", "/var/link", "/var/link is no folder");
    row("a link to nowhere", "ln -s own /var/link", "/var/link", "/var/own is no folder");
    row("another's", "mkdir /var/own; chown nobody /var/own", "/var/own", "others than root may write in /var/own");
    row("a group's", "mkdir -m 775 /var/own", "/var/own", "others than root may write in /var/own");
    row("all people's", "mkdir -m 1777 /var/own", "/var/own", "others than root may write in /var/own");
    row("in another's",
        "mkdir -p /var/own/x; chown nobody /var/own",
        "/var/own/x",
        "others than root may write in /var/own");
    row("in a group's",
        "mkdir -p /var/own/x; chmod 775 /var/own",
        "/var/own/x",
        "others than root may write in /var/own");
    row("by a link in another's",
        "mkdir /var/own; chown nobody /var/own; ln -s /var/lib /var/own/x; ln -s own/x /var/link",
        "/var/link",
        "others than root may write in /var/own");
}

void ModuleWritingTest::takesFoldersOfRootAlone()
{
    QFETCH(const QString, preparation);
    QFETCH(const QString, folder);
    QFETCH(const QString, fault);
    const auto run = [](const QString &command) {
        QCOMPARE(runAs(root, QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command}).exitCode, 0);
    };
    run(QStringLiteral("rm -rf /var/own /var/link /tmp/own; ") + preparation);

    const ModuleOutcome outcome = write(faillockPolicy(), {{QStringLiteral("dir"), folder}}, Switch::Stay);
    QCOMPARE(outcome.reason, fault.isEmpty() ? QString() : QStringLiteral("dir cannot be %1: %2").arg(folder, fault));
    QCOMPARE(outcome.kind, fault.isEmpty() ? Kind::Done : Kind::Failed);
    run(QStringLiteral("rm -rf /var/own /var/link /tmp/own"));
    // what is set already is nobody's doing now
    const QVariantMap both{{QStringLiteral("dir"), folder}, {QStringLiteral("deny"), 5LL}};
    QCOMPARE(write(faillockPolicy(), both, Switch::Stay).succeeded(), fault.isEmpty());
}

void ModuleWritingTest::switchesHistoryOnAndOff()
{
    const QVariantMap values{{QStringLiteral("remember"), 5LL}, {QStringLiteral("enforce_for_root"), true}};

    const ModuleOutcome on = write(pwhistoryPolicy(), values, Switch::On);
    QCOMPARE(on.reason, QString());
    QCOMPARE(on.kind, Kind::Done);
    const ModuleReading reading = readModule(pwhistoryPolicy());
    QCOMPARE(reading.values, values);
    QCOMPARE(reading.force, ModuleForce::OurProfiles);
    const bool readsFile = moduleReadsFile(pwhistoryPolicy());
    QCOMPARE(reading.source, readsFile ? pwhistoryPolicy().path : commonPassword);
    QCOMPARE(linesCalling("pam_pwhistory", commonPassword),
             QByteArrayList{QByteArray("password requisite pam_pwhistory.so use_authtok")
                            + (readsFile ? "" : " remember=5 enforce_for_root")});

    QCOMPARE(write(pwhistoryPolicy(), {{QStringLiteral("remember"), 7LL}}, Switch::On).kind, Kind::Done);
    QCOMPARE(readModule(pwhistoryPolicy()).values, QVariantMap({{QStringLiteral("remember"), 7LL}}));

    QCOMPARE(write(pwhistoryPolicy(), {}, Switch::Off).kind, Kind::Done);
    QCOMPARE(contentOf(commonPassword), m_machine.value(commonPassword));
}

void ModuleWritingTest::writesQualityBesideTheLibrarysFile()
{
    const QVariantMap values{{QStringLiteral("minlen"), 12LL},
                             {QStringLiteral("dcredit"), -1LL},
                             {QStringLiteral("dictcheck"), false},
                             {QStringLiteral("usercheck"), true},
                             {QStringLiteral("enforce_for_root"), true}};

    const ModuleOutcome outcome = write(pwqualityPolicy(), values, Switch::On);
    QCOMPARE(outcome.reason, QString());
    QCOMPARE(outcome.kind, Kind::Done);
    QCOMPARE(contentOf(pwqualityPolicy().path),
             QByteArray("minlen = 12\ndcredit = -1\ndictcheck = 0\nusercheck = 1\nenforce_for_root\n"));
    QCOMPARE(readModule(pwqualityPolicy()).values, values);
    QCOMPARE(readModule(pwqualityPolicy()).force, ModuleForce::OtherLines);
    QCOMPARE(machine().value(QStringLiteral("/etc/security/pwquality.conf")),
             m_machine.value(QStringLiteral("/etc/security/pwquality.conf")));
}

void ModuleWritingTest::changesNothingTheSecondTime()
{
    for (const ModulePolicy *policy : modulePolicies()) {
        const QVariantMap values{{policy->settings.constFirst().name, 4LL}};
        QCOMPARE(write(*policy, values, Switch::On).kind, Kind::Done);
        const FolderContent once = machine();
        const ModuleOutcome outcome = write(*policy, values, Switch::On);
        QCOMPARE(outcome.kind, Kind::Done);
        QVERIFY(!outcome.changed);
        QCOMPARE(machine(), once);
    }
}

void ModuleWritingTest::mergesWhatIsNamed_data()
{
    const Rows<QVariantMap, QStringList, QByteArray> row("values", "unset", "file");
    const QVariantMap six{{QStringLiteral("deny"), 6LL}};
    row("nothing", {}, {}, "deny = 5\nunlock_time = 0\naudit\n");
    row("another value", six, {}, "deny = 6\nunlock_time = 0\naudit\n");
    row("one more", {{QStringLiteral("silent"), true}}, {}, "deny = 5\nunlock_time = 0\naudit\nsilent\n");
    row("one less", {}, {QStringLiteral("deny")}, "unlock_time = 0\naudit\n");
    row("none that isn't there", {}, {QStringLiteral("silent")}, "deny = 5\nunlock_time = 0\naudit\n");
    row("a flag less", {{QStringLiteral("audit"), false}}, {}, "deny = 5\nunlock_time = 0\n");
    row("both", six, {QStringLiteral("deny"), QStringLiteral("audit")}, "deny = 6\nunlock_time = 0\n");
}

void ModuleWritingTest::mergesWhatIsNamed()
{
    QFETCH(const QVariantMap, values);
    QFETCH(const QStringList, unset);
    QFETCH(const QByteArray, file);
    writeContent(faillockFile, "deny = 5\nunlock_time = 0\naudit\n");

    QCOMPARE(writeModule(faillockPolicy(), {values, Switch::Stay, false, true, unset}).reason, QString());
    QCOMPARE(contentOf(faillockFile), file);
}

void ModuleWritingTest::keepsLinesWithoutMeaningAsItMerges()
{
    const QByteArray lines = "deny = abc\nunlock_time = 700000 # too long\n";
    const QVariantMap silent{{QStringLiteral("silent"), true}};
    writeContent(faillockFile, lines);

    QCOMPARE(writeModule(faillockPolicy(), {silent, Switch::Stay, false, true}).reason, QString());
    QCOMPARE(contentOf(faillockFile), lines + "silent\n");
    QCOMPARE(writeModule(faillockPolicy(), {five, Switch::Stay, false, true}).reason, QString());
    QCOMPARE(contentOf(faillockFile), QByteArray("deny = 5\nunlock_time = 700000 # too long\nsilent\n"));
    const QStringList unset{QStringLiteral("unlock_time")};
    QCOMPARE(writeModule(faillockPolicy(), {{}, Switch::Stay, false, true, unset}).reason, QString());
    QCOMPARE(contentOf(faillockFile), QByteArray("deny = 5\n# too long\nsilent\n"));

    writeContent(faillockFile, lines);
    QCOMPARE(write(faillockPolicy(), {}, Switch::Stay).reason, QString());
    QCOMPARE(contentOf(faillockFile), QByteArray("# too long\n"));
}

void ModuleWritingTest::losesNothingOfWritersAtOnce()
{
    std::vector<std::future<ModuleOutcome>> writers;
    QVariantMap all;
    for (const char *name : {"audit", "silent", "no_log_info", "local_users_only", "nodelay"}) {
        const QVariantMap own{{QLatin1String(name), true}};
        all.insert(QLatin1String(name), true);
        writers.push_back(std::async(std::launch::async, [own] {
            return writeModule(faillockPolicy(), {own, Switch::Stay, false, true});
        }));
    }
    for (std::future<ModuleOutcome> &writer : writers) {
        QCOMPARE(writer.get().reason, QString());
    }
    QCOMPARE(readModule(faillockPolicy()).values, all);
}

void ModuleWritingTest::leavesValuesThatCantBeSet()
{
    const QVariantMap none{{QStringLiteral("deny"), 0LL}};
    const QVariantMap both{{QStringLiteral("deny"), 0LL}, {QStringLiteral("audit"), true}};
    writeContent(faillockFile, "deny = 0\n");
    QCOMPARE(writeModule(faillockPolicy(), {{{QStringLiteral("audit"), true}}, Switch::Stay, false, true}).reason,
             QString());
    QCOMPARE(contentOf(faillockFile), QByteArray("deny = 0\naudit\n"));
    QCOMPARE(write(faillockPolicy(), none, Switch::Stay).reason, QString());
    QCOMPARE(write(faillockPolicy(), both, Switch::Stay).reason, QString());
    QCOMPARE(contentOf(faillockFile), QByteArray("deny = 0\naudit\n"));

    writeContent(faillockFile, "deny = 1\n");
    QCOMPARE(write(faillockPolicy(), none, Switch::Stay).reason, QStringLiteral("deny cannot be 0"));
}

void ModuleWritingTest::replacesWhatItsModuleDoesNotUnderstand()
{
    const QString path = pwqualityPolicy().path;
    const QVariantMap ten{{QStringLiteral("minlen"), 10LL}};
    for (const char *line : {"minlen = abc", "unknown = 1", "maxrepeat = 3\nminlen ="}) {
        const QByteArray broken = QByteArray("# mine\n") + line + "\n\nretry = 2\n";
        writeContent(path, broken);
        const ModuleOutcome merged = writeModule(pwqualityPolicy(), {ten, Switch::Stay, false, true});
        QVERIFY(merged.reason.startsWith(path + QLatin1String(": ")));
        QCOMPARE(merged.kind, Kind::Failed);
        QCOMPARE(contentOf(path), broken);

        QCOMPARE(write(pwqualityPolicy(), ten, Switch::Stay).reason, QString());
        QCOMPARE(contentOf(path), QByteArray("# mine\nminlen = 10\n"));
    }
}

void ModuleWritingTest::waitsForNoPipe()
{
    const QString error = faillockFile + QLatin1String(": is a pipe");
    QFile::remove(faillockFile);
    QCOMPARE(mkfifo(faillockFile.toLatin1().constData(), S_IRUSR), 0);

    const QString read = readModule(faillockPolicy()).error;
    const QString written = write(faillockPolicy(), five, Switch::On).reason;
    QFile::remove(faillockFile);
    QCOMPARE(read, error);
    QCOMPARE(written, error);
}

void ModuleWritingTest::keepsOptionsThroughOtherRunsOfTool()
{
    const QVariantMap values{{QStringLiteral("remember"), 5LL}, {QStringLiteral("retry"), 2LL}};
    QCOMPARE(write(pwhistoryPolicy(), values, Switch::On).kind, Kind::Done);

    for (const char *options : {"--package", "--force --package", "--package --remove capability"}) {
        const QByteArray command = QByteArray("env DEBIAN_FRONTEND=noninteractive pam-auth-update ") + options;
        QCOMPARE(runAs(root, command.constData()).exitCode, 0);
        QCOMPARE(readModule(pwhistoryPolicy()).values, values);
    }
    QCOMPARE(write(faillockPolicy(), {}, Switch::On).kind, Kind::Done);
    QCOMPARE(readModule(pwhistoryPolicy()).values, values);
}

void ModuleWritingTest::leavesEditedStacksAlone()
{
    editByHand();
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    QCOMPARE(outcome.kind, Kind::StacksEdited);
    QCOMPARE(outcome.reason,
             QStringLiteral("the stacks were edited by hand, and pam-auth-update leaves them as they are"));
    QVERIFY(!outcome.changed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::writesEditedStacksAnewByForce()
{
    editByHand();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On, true);
    QCOMPARE(outcome.reason, QString());
    QCOMPARE(outcome.kind, Kind::Done);
    QCOMPARE(linesCalling("pam_permit", commonAuth), QByteArrayList{"auth required pam_permit.so"});
    QCOMPARE(readModule(faillockPolicy()).force, ModuleForce::OurProfiles);
}

void ModuleWritingTest::keepsOptionsOfOthersWhereStacksAreMadeAnew()
{
    const QVariantMap values{{QStringLiteral("remember"), 5LL}, {QStringLiteral("retry"), 2LL}};
    QCOMPARE(write(pwhistoryPolicy(), values, Switch::On).kind, Kind::Done);
    const QByteArrayList lines = linesCalling("pam_pwhistory", commonPassword);
    editByHand();

    QCOMPARE(write(faillockPolicy(), five, Switch::On, true).kind, Kind::Done);
    QCOMPARE(readModule(pwhistoryPolicy()).values, values);
    QCOMPARE(linesCalling("pam_pwhistory", commonPassword), lines);
}

void ModuleWritingTest::doublesNoOtherLine_data()
{
    const Rows<RowText, QByteArray, RowText, ModuleForce> row("stack", "lines", "line", "force");
    const QByteArray preauth = "auth required pam_faillock.so preauth\n";
    const QByteArray authfail = "auth [default=die] pam_faillock.so authfail\n";
    row("the common stack's", "common-auth", preauth + authfail, "common-auth:1", ModuleForce::OtherLines);
    row("with authsucc",
        "common-auth",
        authfail + "auth required pam_faillock.so authsucc\n",
        "common-auth:1",
        ModuleForce::OtherLines);
    row("what the common stack includes", "corporate", preauth + authfail, "corporate:1", ModuleForce::OtherLines);
    row("one that counts, and none that refuses", "common-auth", authfail, "common-auth:1", ModuleForce::None);
    row("one that refuses, and none that counts", "common-auth", preauth, "common-auth:1", ModuleForce::None);
    row("one that forgets, and nothing else",
        "common-account",
        "account required pam_faillock.so\n",
        "common-account:1",
        ModuleForce::None);
    row("a service's", "own", preauth + authfail, "own:2", ModuleForce::None);
    row("a service's that counts", "own", authfail, "own:1", ModuleForce::None);
}

void ModuleWritingTest::doublesNoOtherLine()
{
    QFETCH(const QString, stack);
    QFETCH(const QByteArray, lines);
    QFETCH(const QString, line);
    QFETCH(const ModuleForce, force);
    const QString path = QLatin1String("/etc/pam.d/") + stack;
    writeContent(commonAuth, "auth include corporate\n" + m_machine.value(commonAuth));
    writeContent("/etc/pam.d/corporate", "");
    writeContent(path, lines + (path == commonAuth ? contentOf(commonAuth) : QByteArray()));
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    QCOMPARE(outcome.reason, QLatin1String("pam_faillock is called already: /etc/pam.d/") + line);
    QCOMPARE(outcome.kind, Kind::InForceAlready);
    QCOMPARE(readModule(faillockPolicy()).values, five);
    QCOMPARE(readModule(faillockPolicy()).force, force);
    QCOMPARE(write(faillockPolicy(), {}, Switch::Stay).kind, Kind::Done);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::knowsItsLinesAmongOthers()
{
    QCOMPARE(write(faillockPolicy(), five, Switch::On).reason, QString());
    const QByteArray own = "auth\trequisite\tpam_faillock.so preauth\n";
    writeContent(commonAuth, own + contentOf(commonAuth));

    QStringList ours;
    for (const ModuleLine &line : readModule(faillockPolicy()).lines) {
        ours += line.isOurs ? line.path.section(QLatin1Char('-'), -1) : QStringLiteral("own");
    }
    QCOMPARE(ours.join(QLatin1Char(' ')), QStringLiteral("account own auth auth"));
    QCOMPARE(readModule(faillockPolicy()).force, ModuleForce::OurProfiles);
    const ModuleOutcome off = write(faillockPolicy(), five, Switch::Off);
    QCOMPARE(off.kind, Kind::NotOurs);
    QCOMPARE(off.reason, QStringLiteral("pam_faillock is still called: /etc/pam.d/common-auth:1"));
    QCOMPARE(contentOf(commonAuth), own + m_machine.value(commonAuth));
}

void ModuleWritingTest::writesItsLineBesideThoseOfServices()
{
    const QByteArray own = "password requisite pam_pwhistory.so remember=3\n";
    const QVariantMap seven{{QStringLiteral("remember"), 7LL}};
    QCOMPARE(write(pwhistoryPolicy(), {{QStringLiteral("remember"), 5LL}}, Switch::On).kind, Kind::Done);
    writeContent("/etc/pam.d/own", own);

    const ModuleOutcome outcome = write(pwhistoryPolicy(), seven, Switch::Stay);
    QCOMPARE(outcome.reason, QString());
    QCOMPARE(outcome.kind, Kind::Done);
    QCOMPARE(readModule(pwhistoryPolicy()).values, seven);
    QCOMPARE(contentOf("/etc/pam.d/own"), own);
    if (moduleReadsFile(pwhistoryPolicy())) {
        return;
    }
    // whose the values are isn't known where two are for all
    writeContent(commonPassword, own + contentOf(commonPassword));
    QCOMPARE(write(pwhistoryPolicy(), {{QStringLiteral("remember"), 8LL}}, Switch::Stay).reason,
             QStringLiteral("pam_pwhistory is called more than once: /etc/pam.d/common-password:1, "
                            "/etc/pam.d/common-password:27"));
}

void ModuleWritingTest::takesOptionsOfAnOlderModuleIntoTheFile()
{
    const QVariantMap ten{{QStringLiteral("remember"), 10LL}};
    const QVariantMap both{{QStringLiteral("remember"), 10LL}, {QStringLiteral("enforce_for_root"), true}};
    QCOMPARE(write(pwhistoryPolicy(), {}, Switch::On).kind, Kind::Done);
    const QByteArray line = "pam_pwhistory.so use_authtok";
    const QByteArray stack = contentOf(commonPassword);
    writeContent(commonPassword, QByteArray(stack).replace(line, line + " remember=24 enforce_for_root"));
    // one that knows the file has its path in its text
    const QString path = readModule(pwhistoryPolicy()).modulePath;
    const QByteArray module = contentOf(path);
    writeContent(path, module + pwhistoryPolicy().path.toLatin1());

    const ModuleOutcome outcome = writeModule(pwhistoryPolicy(), {ten, Switch::On, false, true});
    const ModuleReading reading = readModule(pwhistoryPolicy());
    writeContent(path, module);
    QCOMPARE(outcome.reason, QString());
    QCOMPARE(outcome.kind, Kind::Done);
    QCOMPARE(reading.values, both);
    QCOMPARE(reading.force, ModuleForce::OurProfiles);
    QCOMPARE(contentOf(pwhistoryPolicy().path).count('#'), m_machine.value(pwhistoryPolicy().path).count('#'));
    QCOMPARE(linesCalling("pam_pwhistory", commonPassword), QByteArrayList{"password requisite " + line});
}

void ModuleWritingTest::saysWhatItCantSwitchOff()
{
    writeContent(profileFolder + QLatin1String("own"),
                 "Name: Own\nDefault: no\nPriority: 512\nPassword-Type: Primary\nPassword:\n"
                 "\trequired pam_pwhistory.so remember=3 use_authtok\n");
    QCOMPARE(runAs(root, "env DEBIAN_FRONTEND=noninteractive pam-auth-update --package --enable own").exitCode, 0);
    const QByteArray stack = contentOf(commonPassword);

    const ModuleOutcome outcome = write(pwhistoryPolicy(), {{QStringLiteral("remember"), 3LL}}, Switch::Off);
    QCOMPARE(outcome.kind, Kind::NotOurs);
    QCOMPARE(outcome.reason, QStringLiteral("pam_pwhistory is still called: /etc/pam.d/common-password:26"));
    QCOMPARE(contentOf(commonPassword), stack);
}

void ModuleWritingTest::putsBackStacksThatWouldNotWork_data()
{
    const Rows<QByteArray, QString> row("lines", "fault");
    row("a module that is not installed",
        "required pam_absent.so",
        QStringLiteral("common-auth: auth: pam_absent.so is not installed"));
    row("a jump to nowhere",
        "[success=9 default=ignore] pam_permit.so",
        QStringLiteral("common-auth: auth: pam_permit.so jumps out of its stack"));
    row("a module that always fails",
        "requisite pam_deny.so",
        QStringLiteral("common-auth: auth: nothing can succeed"));
    row("a control that does not exist",
        "[success=maybe] pam_permit.so",
        QStringLiteral("common-auth: auth: pam_permit.so has the control \"success=maybe\", which does not exist"));
}

void ModuleWritingTest::putsBackStacksThatWouldNotWork()
{
    QFETCH(const QByteArray, lines);
    QFETCH(const QString, fault);
    // comes with the next run of the tool, whoever runs it
    writeContent(profileFolder + QLatin1String("own"),
                 "Name: Own\nDefault: yes\nPriority: 512\nAuth-Type: Primary\nAuth:\n\t" + lines + "\n");
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    QCOMPARE(outcome.reason, QLatin1String("the stacks would not work: ") + fault);
    QCOMPARE(outcome.kind, Kind::RolledBack);
    QVERIFY(!outcome.changed);
    QCOMPARE(withoutChoices(machine()), withoutChoices(before));
}

void ModuleWritingTest::putsBackStacksThatJumpElsewhere_data()
{
    const Rows<QByteArray, RowText> row("lines", "place");
    row("to the failed login",
        "auth [success=2 default=ignore] pam_localuser.so\n@include common-auth\n",
        "pam_faillock.so (2) in /etc/pam.d/common-auth");
    row("no longer behind the common stack",
        "auth [success=3 default=ignore] pam_localuser.so\n@include common-auth\nauth optional pam_permit.so\n",
        "pam_deny.so in /etc/pam.d/common-auth");
    row("to the same place",
        "auth [success=1 default=ignore] pam_localuser.so\nauth required pam_deny.so\n@include common-auth\n",
        "");
}

void ModuleWritingTest::putsBackStacksThatJumpElsewhere()
{
    QFETCH(const QByteArray, lines);
    QFETCH(const QString, place);
    writeContent("/etc/pam.d/own", lines);
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    QCOMPARE(outcome.reason,
             place.isEmpty()
                 ? QString()
                 : QLatin1String("the stacks would not work as before: own: auth: /etc/pam.d/own:1 jumps to ") + place);
    QCOMPARE(outcome.kind, place.isEmpty() ? Kind::Done : Kind::RolledBack);
    QVERIFY(place.isEmpty() || withoutChoices(machine()) == withoutChoices(before));
}

void ModuleWritingTest::putsBackWhatToolHasSpoiled()
{
    const FolderContent before = machine();
    ModulePlace place;
    place.pamAuthUpdate = {
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"),
         QStringLiteral("echo >/etc/pam.d/common-auth; rm /etc/pam.d/common-password /var/lib/pam/seen; "
                        "echo x >/var/lib/pam/auth.new; echo no disk >&2; exit 3")}};

    const ModuleOutcome outcome = writeModule(faillockPolicy(), {five, Switch::On, false}, place);
    QCOMPARE(outcome.reason, QStringLiteral("pam-auth-update has failed: exit code 3: no disk"));
    QCOMPARE(outcome.kind, Kind::Failed);
    QVERIFY(!outcome.changed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::putsBackWhatToolHasSwitchedInPart()
{
    const FolderContent before = machine();
    ModulePlace place;
    // as one that is killed between two stacks, which debconf's frontend hides
    place.pamAuthUpdate.program = QStringLiteral("/bin/sh");
    place.pamAuthUpdate.arguments = QStringList{
        QStringLiteral("-c"),
        QStringLiteral(
            "cd /etc/pam.d; cp common-account /run; cp /var/lib/pam/account /run/record; pam-auth-update \"$@\"; "
            "cp /run/common-account .; cp /run/record /var/lib/pam/account"),
        QStringLiteral("sh")};

    const ModuleOutcome outcome = writeModule(faillockPolicy(), {five, Switch::On, false}, place);
    QCOMPARE(outcome.reason, QStringLiteral("pam-auth-update has not switched the profiles"));
    QCOMPARE(outcome.kind, Kind::Failed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::mendsWhatAKilledToolHasLeft_data()
{
    const Rows<Switch, QByteArrayList> row("profiles", "lines");
    row("on", Switch::On, {"account required pam_faillock.so"});
    row("off", Switch::Off, {});
}

void ModuleWritingTest::mendsWhatAKilledToolHasLeft()
{
    QFETCH(const Switch, profiles);
    QFETCH(const QByteArrayList, lines);
    const QString account = QStringLiteral("/etc/pam.d/common-account");
    QCOMPARE(write(faillockPolicy(), five, Switch::On).reason, QString());
    // as between the two renames of the first type
    writeContent("/var/lib/pam/auth.new", contentOf("/var/lib/pam/auth"));
    for (const QString &path : {QStringLiteral("/var/lib/pam/auth"), QStringLiteral("/var/lib/pam/account"), account}) {
        writeContent(path, m_machine.value(path));
    }
    const FolderContent before = machine();
    QCOMPARE(readModule(faillockPolicy()).force, ModuleForce::OtherLines);

    QCOMPARE(write(faillockPolicy(), five, profiles).kind, Kind::StacksEdited);
    QCOMPARE(machine(), before);
    const ModuleOutcome forced = write(faillockPolicy(), five, profiles, true);
    QCOMPARE(forced.reason, QString());
    QCOMPARE(forced.kind, Kind::Done);
    QCOMPARE(linesCalling("pam_faillock", account), lines);
    QCOMPARE(readModule(faillockPolicy()).force, profiles == Switch::On ? ModuleForce::OurProfiles : ModuleForce::None);
}

void ModuleWritingTest::isBusyWhileOthersHaveDebconf()
{
    const FolderContent before = machine();
    QFile database(QStringLiteral("/var/cache/debconf/config.dat"));
    QVERIFY(database.open(QIODevice::ReadWrite));
    QCOMPARE(flock(database.handle(), LOCK_EX), 0);

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    database.close();
    QCOMPARE(outcome.kind, Kind::Busy);
    QVERIFY(!outcome.changed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::putsBackItsOwnAnswerAlone()
{
    const QByteArray chosen = debconfAnswer("libpam-runtime/profiles");
    QVERIFY(!chosen.isEmpty());
    ModulePlace place;
    // another package asks meanwhile
    place.pamAuthUpdate.program = QStringLiteral("/bin/sh");
    place.pamAuthUpdate.arguments = QStringList{
        QStringLiteral("-c"),
        QStringLiteral("(echo SET libpam-runtime/profiles unix; echo SET debconf/priority low) | debconf-communicate; "
                       "exit 3")};

    QCOMPARE(writeModule(faillockPolicy(), {five, Switch::On, false}, place).kind, Kind::Failed);
    QCOMPARE(debconfAnswer("libpam-runtime/profiles"), chosen);
    QCOMPARE(debconfAnswer("debconf/priority"), QByteArray("low"));
}

void ModuleWritingTest::refuses_data()
{
    const Rows<QVariantMap, QString> row("values", "reason");
    row("a setting of nobody's", {{QStringLiteral("denied"), 1LL}}, QStringLiteral("faillock has no setting denied"));
    row("another type", {{QStringLiteral("deny"), true}}, QStringLiteral("deny has another type"));
    row("a narrower number", {{QStringLiteral("deny"), 3}}, QStringLiteral("deny has another type"));
    row("too small a number", {{QStringLiteral("deny"), 0LL}}, QStringLiteral("deny cannot be 0"));
    row("too large a number",
        {{QStringLiteral("unlock_time"), 604801LL}},
        QStringLiteral("unlock_time cannot be 604801"));
    row("a comment in a text",
        {{QStringLiteral("admin_group"), QStringLiteral("a#b")}},
        QStringLiteral("admin_group cannot be a#b"));
    row("a line end in a text",
        {{QStringLiteral("admin_group"), QStringLiteral("a\nb")}},
        QStringLiteral("admin_group cannot be a\nb"));
    row("no text", {{QStringLiteral("admin_group"), QString()}}, QStringLiteral("admin_group cannot be "));
    row("a path from nowhere", {{QStringLiteral("dir"), QStringLiteral("a/b")}}, QStringLiteral("dir cannot be a/b"));
}

void ModuleWritingTest::refuses()
{
    QFETCH(const QVariantMap, values);
    QFETCH(const QString, reason);
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), values, Switch::On);
    QCOMPARE(outcome.reason, reason);
    QCOMPARE(outcome.kind, Kind::Failed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::writesBelowRootWhatItWritesHere()
{
    const QTemporaryDir folder;
    const QString copies = folder.path();
    QDir().mkpath(copies + QLatin1String("/var/cache/debconf"));
    for (const QString &path : modulePolicyFolders() + QStringList{QStringLiteral("/etc/security")}) {
        QDir().mkpath(QFileInfo(copies + path).path());
        QCOMPARE(runAs(root, QStringLiteral("/bin/cp"), {QStringLiteral("-r"), path, copies + path}).exitCode, 0);
    }
    writeContent(copies + QLatin1String("/debconf.conf"),
                 "Config: config\nTemplates: templates\n\nName: config\nDriver: File\nFilename: " + copies.toUtf8()
                     + "/config.dat\n\nName: templates\nDriver: File\nFilename: " + copies.toUtf8()
                     + "/templates.dat\n");
    ModulePlace place;
    place.root = copies;
    place.pamAuthUpdate.arguments = QStringList{QStringLiteral("--root"), copies};
    place.pamAuthUpdate.environment.insert(QStringLiteral("DEBCONF_SYSTEMRC"), copies + QLatin1String("/debconf.conf"));
    const FolderContent before = machine();

    for (const ModulePolicy *policy : modulePolicies()) {
        const QVariantMap values{{policy->settings.constFirst().name, 4LL}};
        const ModuleOutcome outcome = writeModule(*policy, {values, Switch::On, false}, place);
        QCOMPARE(outcome.reason, QString());
        QCOMPARE(readModule(*policy, copies).values, values);
    }
    QCOMPARE(machine(), before);
    for (const ModulePolicy *policy : modulePolicies()) {
        QCOMPARE(write(*policy, {{policy->settings.constFirst().name, 4LL}}, Switch::On).kind, Kind::Done);
    }
    for (const char *path : {"/etc/pam.d", "/var/lib/pam", "/etc/security"}) {
        FolderContent here = contentBelow(QLatin1String(path));
        here.remove(QStringLiteral(".accountpolicies.lock"));
        FolderContent there = contentBelow(copies + QLatin1String(path));
        there.remove(QStringLiteral(".accountpolicies.lock"));
        QCOMPARE(there, here);
    }
}

void ModuleWritingTest::isHeldUpByRootAlone()
{
    QVERIFY(write(faillockPolicy(), {}, Switch::Stay).succeeded());
    const QString lockAll = QStringLiteral("exec 3<$0 && flock -n 3 && echo held && sleep 60");
    for (const QString &path : {QStringLiteral("/etc/security"), faillockFile}) {
        QProcess holder;
        holder.start(QStringLiteral("setpriv"),
                     {QStringLiteral("--reuid=65534"),
                      QStringLiteral("--clear-groups"),
                      QStringLiteral("sh"),
                      QStringLiteral("-c"),
                      lockAll,
                      path});
        QVERIFY(holder.waitForReadyRead());
        QCOMPARE(holder.readAll(), QByteArray("held\n"));
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(write(faillockPolicy(), {}, Switch::Stay).reason, QString());
        QVERIFY(waited.elapsed() < 25000); // it would wait for longer than that
        holder.kill();
        holder.waitForFinished();
    }
    QCOMPARE(runAs(nobody, QStringLiteral("sh"), {QStringLiteral("-c"), lockAll, lockFile}).exitCode, 2);
}

void ModuleWritingTest::usesNoLockOfOthers_data()
{
    const Rows<RowText, QString> row("preparation", "reason");
    row("readable for a group",
        "touch $0; chmod 640 $0",
        QStringLiteral("/etc/security/.accountpolicies.lock is not root's alone"));
    row("another's",
        "touch $0; chmod 600 $0; chown nobody $0",
        QStringLiteral("/etc/security/.accountpolicies.lock is not root's alone"));
    row("a link",
        "ln -s /etc/passwd $0",
        QStringLiteral("/etc/security/.accountpolicies.lock: Too many levels of symbolic links"));
}

void ModuleWritingTest::usesNoLockOfOthers()
{
    QFETCH(const QString, preparation);
    QFETCH(const QString, reason);
    QFile::remove(lockFile);
    QCOMPARE(runAs(root, QStringLiteral("sh"), {QStringLiteral("-c"), preparation, lockFile}).exitCode, 0);
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On);
    QFile::remove(lockFile);
    QCOMPARE(outcome.reason, reason);
    QCOMPARE(outcome.kind, Kind::Failed);
    QCOMPARE(machine(), before);
}

void ModuleWritingTest::replacesNoLink_data()
{
    const Rows<RowText> row("path");
    row("a stack", "/etc/pam.d/common-auth");
    row("a stack of another type", "/etc/pam.d/common-password");
    row("a record", "/var/lib/pam/auth");
    row("what the tool keeps", "/etc/pam.d/common-auth.pam-old");
}

void ModuleWritingTest::replacesNoLink()
{
    QFETCH(const QString, path);
    const QString elsewhere = QStringLiteral("/var/elsewhere");
    const QByteArray content = contentOf(path);
    writeContent(elsewhere, content);
    QFile::remove(path);
    QVERIFY(QFile::link(elsewhere, path));
    const FolderContent before = machine();

    const ModuleOutcome outcome = write(faillockPolicy(), five, Switch::On, true);
    const QString target = QFile::symLinkTarget(path);
    const FolderContent after = machine();
    QFile::remove(path); // for the next write would be through it
    if (m_machine.contains(path)) {
        writeContent(path, content);
    }
    QCOMPARE(outcome.reason,
             path + QLatin1String(" is no plain file, and pam-auth-update would put one in its place: do so first"));
    QCOMPARE(outcome.kind, Kind::Failed);
    QVERIFY(!outcome.changed);
    QCOMPARE(target, elsewhere);
    QCOMPARE(contentOf(elsewhere), content);
    QCOMPARE(after, before);
}

void ModuleWritingTest::goesOutOfForceWithItsPackage()
{
    const QString seen = QStringLiteral("/var/lib/pam/seen");
    QByteArray ofOthers;
    for (const QByteArray &name : contentOf(seen).split('\n')) {
        ofOthers += name.isEmpty() || name.startsWith("accountpolicies-") ? QByteArray() : name + '\n';
    }
    QVERIFY(contentOf(seen) != ofOthers);
    QCOMPARE(prerm(QStringLiteral("remove")).exitCode, 0);
    QCOMPARE(contentOf(seen), ofOthers);
    const FolderContent before = machine();
    QCOMPARE(runAs(root, "mv /usr/sbin/pam-auth-update /usr/sbin/pam-auth-update.moved").exitCode, 0);
    QCOMPARE(prerm(QStringLiteral("remove")).exitCode, 0);
    QCOMPARE(runAs(root, "mv /usr/sbin/pam-auth-update.moved /usr/sbin/pam-auth-update").exitCode, 0);
    QCOMPARE(machine(), before);
    for (const ModulePolicy *policy : {&faillockPolicy(), &pwhistoryPolicy()}) {
        QCOMPARE(write(*policy, {}, Switch::On).kind, Kind::Done);
    }
    const FolderContent on = machine();
    QCOMPARE(prerm(QStringLiteral("upgrade")).exitCode, 0);
    QCOMPARE(machine(), on);

    QCOMPARE(prerm(QStringLiteral("remove")), (ProgramResult{0, {}, {}}));
    for (const ModulePolicy *policy : {&faillockPolicy(), &pwhistoryPolicy()}) {
        QCOMPARE(readModule(*policy).force, ModuleForce::None);
    }
    for (const QString &stack : {commonAuth, commonPassword}) {
        QCOMPARE(contentOf(stack), m_machine.value(stack));
    }
}

void ModuleWritingTest::staysInEditedStacksAsItsPackageGoes()
{
    QCOMPARE(write(faillockPolicy(), five, Switch::On).reason, QString());
    editByHand();
    const QByteArray stack = contentOf(commonAuth);

    QCOMPARE(prerm(QStringLiteral("remove")).exitCode, 0);
    QCOMPARE(contentOf(commonAuth), stack);
}

QTEST_GUILESS_MAIN(ModuleWritingTest)
#include "ModuleWritingTest.moc"
