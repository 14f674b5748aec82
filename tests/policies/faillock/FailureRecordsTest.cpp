// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/faillock/FailureRecords.h"

#include "policies/modules/ModuleWriting.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cstring>
#include <sys/file.h>

namespace
{
const QString file = QStringLiteral("/etc/security/faillock.conf");
const QString folder = QStringLiteral("/var/lib/failures");
const QString profiles = QStringLiteral("/usr/share/pam-configs/");
const QString tester = QStringLiteral("tester");
const QByteArray password("Right-1-Word\n");

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

/// A record of the module: so many seconds ago.
QByteArray entry(qint64 ago, const char *source = "tty1", quint16 status = 1)
{
    QByteArray bytes(64, '\0');
    const quint64 time = quint64(now() - ago);
    std::memcpy(bytes.data(), source, qMin<size_t>(strlen(source), 52));
    std::memcpy(bytes.data() + 54, &status, sizeof status);
    std::memcpy(bytes.data() + 56, &time, sizeof time);
    return bytes;
}

/// The common stack, with options of the line that refuses and of the one that counts.
void writeStack(const QByteArray &refusing, const QByteArray &counting)
{
    writeContent("/etc/pam.d/common-auth",
                 "auth required pam_faillock.so preauth " + refusing
                     + "\nauth [success=1 default=bad] pam_unix.so nodelay\n"
                       "auth [default=die] pam_faillock.so authfail "
                     + counting + "\nauth required pam_permit.so\n");
}

void setUp(const QByteArray &settings)
{
    writeContent(file, "dir = /var/lib/failures\n" + settings);
    writeStack({}, {});
}

/// "name: failures, source, first and last so long ago, locked until so far from now", a line each; seconds in full tens.
QString text(const FailureListing &listing)
{
    const auto tens = [](const QDateTime &time) {
        return QString::number(qRound(double(time.toSecsSinceEpoch() - now()) / 10) * 10);
    };
    QString text = listing.error;
    for (const FailureRecord &record : listing.accounts) {
        const QString lock = !record.isLocked ? QStringLiteral("open")
            : record.until                    ? QStringLiteral("locked until ") + tens(*record.until)
                                              : QStringLiteral("locked");
        text += QStringLiteral("%1: %2, %3, %4 to %5, %6\n")
                    .arg(record.account,
                         QString::number(record.failures),
                         record.source,
                         tens(record.first),
                         tens(record.last),
                         lock);
    }
    return text;
}

QString listed()
{
    return text(failureRecords());
}

int login(const QByteArray &typed)
{
    return runAs(root, "pamtester quick tester authenticate", typed).exitCode;
}
}

class FailureRecordsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void lists_data();
    void lists();
    void countsItsLastSecond();
    void listsRootAsItIsLocked_data();
    void listsRootAsItIsLocked();
    void listsAdministratorsAsRoot();
    void listsStrangersAsOpenWhereTheyAreIgnored();
    void tellsWhatCannotBeRead();
    void readsNoMoreThanTheModule();
    void readsPlainFilesAlone();
    void takesOptionsOfLine_data();
    void takesOptionsOfLine();
    void locksNoAccountThatIsNoMore();
    void tellsWhereAccountsCannotBeLookedUp();
    void listsNobodyAsLockedWhereNobodyIs_data();
    void listsNobodyAsLockedWhereNobodyIs();
    void forgetsOneAccount();
    void forgetsNothingOfStrangers();
    void tellsWhatCannotBeForgotten();
    void tellsWhatIsNotForgotten();
    void waitsForNobodyWhoHoldsARecord_data();
    void waitsForNobodyWhoHoldsARecord();
    void agreesWithRealLogins();
    void opensAfterItsTime();
    void locksRootOnlyIfAsked_data();
    void locksRootOnlyIfAsked();

private:
    QByteArray m_stack;
};

void FailureRecordsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    for (const char *name : {"accountpolicies-faillock", "accountpolicies-faillock-preauth"}) {
        const QString profile = QLatin1String(name);
        writeContent(profiles + profile, contentOf(QLatin1String(SOURCES "/profiles/") + profile));
    }
    QCOMPARE(runAs(root, "useradd tester").exitCode, 0);
    QCOMPARE(runAs(root, "chpasswd", "tester:" + password).exitCode, 0);
    // as others, but without a delay after failures
    writeContent("/etc/pam.d/quick", "@include common-auth\n");
    m_stack = contentOf("/etc/pam.d/common-auth");
}

void FailureRecordsTest::init()
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    writeContent("/etc/pam.d/common-auth", m_stack);
}

void FailureRecordsTest::cleanup()
{
    if (!contentOf("/etc/pam.d/common-auth").contains("per-package modules")) {
        writeContent("/etc/pam.d/common-auth", m_stack);
    }
    QCOMPARE(writeModule(faillockPolicy(), {{}, ModuleWish::Switch::Off, false}).kind, ModuleOutcome::Kind::Done);
}

void FailureRecordsTest::lists_data()
{
    const Rows<QByteArray, QByteArray, RowText> row("settings", "entries", "expected");
    const QByteArray three = entry(300) + entry(200, "198.51.100.7", 3) + entry(100, "2001:db8::7", 3);
    row("no failure", "", "", "");
    row("one", "", entry(100), "tester: 1, tty1, -100 to -100, open\n");
    row("enough", "", three, "tester: 3, 2001:db8::7, -300 to -100, locked until 500\n");
    row("not enough", "deny = 4\n", three, "tester: 3, 2001:db8::7, -300 to -100, open\n");
    row("for ever", "unlock_time = never\n", three, "tester: 3, 2001:db8::7, -300 to -100, locked\n");
    row("open again", "unlock_time = 90\n", three, "tester: 3, 2001:db8::7, -300 to -100, open\n");
    row("too far from each other", "fail_interval = 150\n", three, "tester: 2, 2001:db8::7, -200 to -100, open\n");
    row("not those before a login", "", entry(300, "tty1", 0) + entry(100), "tester: 1, tty1, -100 to -100, open\n");
    row("out of their order",
        "",
        entry(100) + entry(200) + entry(300, "tty3"),
        "tester: 3, tty1, -300 to -100, locked until 500\n");
    row("the longest source",
        "",
        entry(100, "0123456789012345678901234567890123456789012345678901"),
        "tester: 1, 0123456789012345678901234567890123456789012345678901, -100 to -100, open\n");
    row("no line of its own",
        "",
        entry(100, "tty1\nroot  3\t\x1b[1m\x7f\xff\xe2\x80\xae\xc3\xa4"),
        "tester: 1, tty1\xef\xbf\xbdroot  3\xef\xbf\xbd\xef\xbf\xbd[1m\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xc3\xa4, "
        "-100 to -100, open\n");
    row("a part of an entry", "", entry(100) + entry(50).left(63), "tester: 1, tty1, -100 to -100, open\n");
}

void FailureRecordsTest::lists()
{
    QFETCH(const QByteArray, settings);
    QFETCH(const QByteArray, entries);
    QFETCH(const QString, expected);
    setUp(settings);
    writeContent(folder + QLatin1String("/tester"), entries);

    QCOMPARE(listed(), expected);
}

void FailureRecordsTest::countsItsLastSecond()
{
    setUp("");
    QVector<bool> areLocked;
    qint64 begin = 0;
    do {
        begin = now();
        areLocked.clear();
        for (const qint64 ago : {600, 601}) {
            writeContent(folder + QLatin1String("/tester"), entry(ago) + entry(ago) + entry(ago));
            areLocked += failureRecords().accounts.constFirst().isLocked;
        }
    } while (now() != begin);
    QCOMPARE(areLocked, QVector<bool>({true, false}));
}

void FailureRecordsTest::listsRootAsItIsLocked_data()
{
    const Rows<QByteArray, RowText> row("settings", "lock");
    row("never", "", "open");
    row("as others", "even_deny_root\n", "locked until 500");
    row("for its own time", "even_deny_root\nroot_unlock_time = 200\n", "locked until 100");
    row("for ever", "even_deny_root\nroot_unlock_time = 0\n", "locked");
    row("never by its time alone", "root_unlock_time = 200\n", "open");
}

void FailureRecordsTest::listsRootAsItIsLocked()
{
    QFETCH(const QByteArray, settings);
    QFETCH(const QString, lock);
    setUp(settings);
    writeContent(folder + QLatin1String("/root"), entry(100) + entry(100) + entry(100));

    QCOMPARE(listed(), QStringLiteral("root: 3, tty1, -100 to -100, ") + lock + QLatin1Char('\n'));
}

void FailureRecordsTest::listsAdministratorsAsRoot()
{
    setUp("admin_group = sudo\n");
    const QByteArray three = entry(100) + entry(100) + entry(100);
    writeContent(folder + QLatin1String("/tester"), three);
    QCOMPARE(listed(), QStringLiteral("tester: 3, tty1, -100 to -100, locked until 500\n"));

    QCOMPARE(runAs(root, "usermod -aG sudo tester").exitCode, 0);
    QCOMPARE(listed(), QStringLiteral("tester: 3, tty1, -100 to -100, open\n"));
    QCOMPARE(runAs(root, "gpasswd -d tester sudo").exitCode, 0);
}

void FailureRecordsTest::listsStrangersAsOpenWhereTheyAreIgnored()
{
    // whoever asks for an account gets one behind a blank, and whoever looks for its line doesn't: as from elsewhere
    const QByteArray local = contentOf("/etc/passwd");
    writeContent("/etc/passwd", local + " stranger:x:4242:4242::/:/bin/sh\n teste:x:4243:4243::/:/bin/sh\n");
    const QByteArray three = entry(100) + entry(100) + entry(100);
    for (const char *name : {"/stranger", "/teste", "/tester"}) {
        writeContent(folder + QLatin1String(name), three);
    }
    setUp("");
    QCOMPARE(listed().count(QLatin1String("locked until 500")), 3);
    setUp("local_users_only\n");
    QCOMPARE(listed(),
             QStringLiteral("stranger: 3, tty1, -100 to -100, open\n"
                            "teste: 3, tty1, -100 to -100, open\n"
                            "tester: 3, tty1, -100 to -100, locked until 500\n"));
    writeContent("/etc/passwd", local);
}

void FailureRecordsTest::tellsWhatCannotBeRead()
{
    setUp("");
    writeContent(folder + QLatin1String("/alone"), entry(100));
    QFile::setPermissions(folder + QLatin1String("/alone"), QFile::ReadOwner);
    const QString program = copyForEverybody(QCoreApplication::applicationFilePath());
    const ProgramResult result =
        runAs(nobody, QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("LISTS=1 ") + program});
    QCOMPARE(result.standardOutput, QByteArray("/var/lib/failures/alone: Permission denied"));
}

void FailureRecordsTest::readsNoMoreThanTheModule()
{
    setUp("deny = 2\nnodelay\n");
    const QString records = folder + QLatin1String("/tester");
    const QByteArray two = entry(100) + entry(100);
    const struct {
        QByteArray content;
        bool isLocked;
    } files[] = {{QByteArray(64 * 1022, '\0') + two, true}, {QByteArray(64 * 1023, '\0') + two, false}, {two, true}};
    for (const auto &file : files) {
        writeContent(records, file.content);
        QCOMPARE(failureRecords().accounts.constFirst().isLocked, file.isLocked);
        QCOMPARE(login(password), file.isLocked ? 1 : 0);
    }

    // takes no room on the disk, and would take all of the memory
    writeContent(records, entry(100) + entry(100));
    QCOMPARE(runAs(root, "truncate -s 1T /var/lib/failures/tester").exitCode, 0);
    QCOMPARE(listed(), QStringLiteral("tester: 2, tty1, -100 to -100, locked until 500\n"));
    QCOMPARE(forgetFailures(tester), QString());
}

void FailureRecordsTest::readsPlainFilesAlone()
{
    setUp("");
    writeContent("/var/lib/stranger", entry(100));
    for (const char *command : {"mkfifo /var/lib/failures/tester", "ln -s ../stranger /var/lib/failures/tester"}) {
        QCOMPARE(runAs(root, command).exitCode, 0);
        QCOMPARE(listed(), QString());
        QCOMPARE(runAs(root, "rm /var/lib/failures/tester").exitCode, 0);
    }
}

void FailureRecordsTest::takesOptionsOfLine_data()
{
    const Rows<QByteArray, QByteArray, RowText> row("refusing", "counting", "lock");
    row("of both", "deny=1", "deny=1", "locked until 500");
    row("of the one that refuses", "deny=1", "deny=3", "locked until 500");
    row("not of the one that counts", "deny=2", "deny=1", "open");
    row("another file", "conf=/run/limits", "", "locked until 3500");
    row("the last of other files", "conf=/run/none conf=/run/limits", "", "locked until 3500");
    row("over another file", "conf=/run/limits deny=2", "", "open");
}

void FailureRecordsTest::takesOptionsOfLine()
{
    QFETCH(const QByteArray, refusing);
    QFETCH(const QByteArray, counting);
    QFETCH(const QString, lock);
    setUp("deny = 9\n");
    writeContent("/run/limits", "dir = /var/lib/failures\nunlock_time = 3600\ndeny = 1\n");
    writeStack(refusing, counting);
    writeContent(folder + QLatin1String("/tester"), entry(100));

    QCOMPARE(listed(), QStringLiteral("tester: 1, tty1, -100 to -100, ") + lock + QLatin1Char('\n'));
    QCOMPARE(login(password), lock == QLatin1String("open") ? 0 : 1);
}

void FailureRecordsTest::locksNoAccountThatIsNoMore()
{
    setUp("deny = 1\n");
    writeContent(folder + QLatin1String("/departed"), entry(100));

    QCOMPARE(listed(), QStringLiteral("departed: 1, tty1, -100 to -100, open\n"));
}

void FailureRecordsTest::tellsWhereAccountsCannotBeLookedUp()
{
    const QString path = QStringLiteral("/etc/nsswitch.conf");
    setUp("deny = 1\n");
    writeContent(folder + QLatin1String("/tester"), entry(100));
    const QByteArray before = contentOf(path);
    writeContent(path, "passwd: nosuch\n");
    // a process that has asked already goes on by what it has read
    const ProgramResult result = runAs(
        root, QStringLiteral("/usr/bin/env"), {QStringLiteral("LISTS=1"), QCoreApplication::applicationFilePath()});
    writeContent(path, before);

    QCOMPARE(result.standardOutput,
             QByteArray("tester cannot be looked up among the accountstester: 1, tty1, -100 to -100, open\n"));
    QCOMPARE(listed(), QStringLiteral("tester: 1, tty1, -100 to -100, locked until 500\n"));
}

void FailureRecordsTest::listsNobodyAsLockedWhereNobodyIs_data()
{
    const Rows<QByteArray, RowText> row("stack", "lock");
    row("no line", "auth required pam_unix.so nodelay\n", "open");
    row("one that counts",
        "auth [success=1 default=bad] pam_unix.so nodelay\nauth [default=die] pam_faillock.so authfail\n"
        "auth required pam_permit.so\n",
        "open");
    row("one that refuses",
        "auth required pam_faillock.so preauth\nauth required pam_unix.so nodelay\n",
        "locked until 500");
    row("one that refuses then",
        "auth required pam_unix.so nodelay\nauth required pam_faillock.so authsucc\n",
        "locked until 500");
}

void FailureRecordsTest::listsNobodyAsLockedWhereNobodyIs()
{
    QFETCH(const QByteArray, stack);
    QFETCH(const QString, lock);
    setUp("deny = 1\n");
    writeContent("/etc/pam.d/common-auth", stack);
    writeContent(folder + QLatin1String("/tester"), entry(100));

    QCOMPARE(listed(), QStringLiteral("tester: 1, tty1, -100 to -100, ") + lock + QLatin1Char('\n'));
    QCOMPARE(login(password), lock == QLatin1String("open") ? 0 : 1);
}

void FailureRecordsTest::forgetsOneAccount()
{
    setUp("");
    writeContent(folder + QLatin1String("/root"), entry(100));
    writeContent(folder + QLatin1String("/tester"), entry(100));

    QCOMPARE(forgetFailures(tester), QString());
    QCOMPARE(listed(), QStringLiteral("root: 1, tty1, -100 to -100, open\n"));
    QCOMPARE(forgetFailures(tester), QString());
}

void FailureRecordsTest::forgetsNothingOfStrangers()
{
    setUp("");
    writeContent("/var/lib/stranger", entry(100));
    for (const char *name : {"../stranger", "nobody", "", "--dir"}) {
        QCOMPARE(forgetFailures(QLatin1String(name)), QString());
    }
    QCOMPARE(contentOf("/var/lib/stranger").size(), 64);
    QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList());
}

void FailureRecordsTest::tellsWhatCannotBeForgotten()
{
    setUp("");
    const QString records = folder + QLatin1String("/tester");
    writeContent(records, entry(100));
    const ScopedMount mount = ScopedMount::readOnly(records);

    QCOMPARE(forgetFailures(tester),
             QStringLiteral(
                 "faillock has failed: /usr/sbin/faillock: Error opening the tally file for tester:Read-only file "
                 "system"));
}

void FailureRecordsTest::tellsWhatIsNotForgotten()
{
    setUp("");
    writeContent(folder + QLatin1String("/tester"), entry(100));
    const QString tool = QStringLiteral("/usr/sbin/faillock");
    const QByteArray real = contentOf(tool);
    writeProgram(tool, "#!/bin/sh\n");

    QCOMPARE(forgetFailures(tester), QStringLiteral("tester still has failures"));
    writeProgram(tool, real);
}

void FailureRecordsTest::waitsForNobodyWhoHoldsARecord_data()
{
    const Rows<int> row("operation");
    row("alone", LOCK_EX);
    row("with others", LOCK_SH);
}

void FailureRecordsTest::waitsForNobodyWhoHoldsARecord()
{
    QFETCH(const int, operation);
    setUp("");
    const QString records = folder + QLatin1String("/tester");
    writeContent(records, entry(100));
    const QString tool = QStringLiteral("/usr/sbin/faillock");
    const QByteArray real = contentOf(tool);
    writeProgram(tool, "#!/bin/sh\ntouch /run/waits\n");
    QFile held(records);
    QVERIFY(held.open(QIODevice::ReadOnly));
    QCOMPARE(flock(held.handle(), operation), 0);

    const QString told = forgetFailures(tester);
    writeProgram(tool, real);
    QCOMPARE(told, QStringLiteral("a process holds /var/lib/failures/tester locked: end it, or remove the file"));
    QVERIFY(!QFile::exists(QStringLiteral("/run/waits")));
    QCOMPARE(listed(), QStringLiteral("tester: 1, tty1, -100 to -100, open\n"));
    held.close();
    QCOMPARE(forgetFailures(tester), QString());
    QCOMPARE(listed(), QString());
}

void FailureRecordsTest::agreesWithRealLogins()
{
    writeContent(file, "");
    QCOMPARE(writeModule(
                 faillockPolicy(),
                 {{{QStringLiteral("dir"), folder}, {QStringLiteral("nodelay"), true}}, ModuleWish::Switch::On, false})
                 .reason,
             QString());
    QCOMPARE(login(password), 0);
    for (int failures = 1; failures <= 3; ++failures) {
        QCOMPARE(login("wrong\n"), 1);
        QCOMPARE(failureRecords().accounts.constFirst().failures, failures);
        QCOMPARE(failureRecords().accounts.constFirst().isLocked, failures == 3);
    }
    QCOMPARE(login(password), 1);
    const QByteArray seen = runAs(root, "faillock --dir /var/lib/failures --user tester").standardOutput;
    QCOMPARE(seen.count(" quick "), 3);
    QCOMPARE(failureRecords().accounts.constFirst().source, QStringLiteral("quick"));

    QCOMPARE(forgetFailures(tester), QString());
    QCOMPARE(login(password), 0);
    QCOMPARE(writeModule(faillockPolicy(), {{}, ModuleWish::Switch::Off, false}).reason, QString());
    for (int failures = 1; failures <= 4; ++failures) {
        QCOMPARE(login("wrong\n"), 1);
    }
    QCOMPARE(login(password), 0);
}

void FailureRecordsTest::opensAfterItsTime()
{
    const QVariantMap values{{QStringLiteral("deny"), 2LL},
                             {QStringLiteral("unlock_time"), 4LL},
                             {QStringLiteral("dir"), folder},
                             {QStringLiteral("nodelay"), true}};
    QCOMPARE(writeModule(faillockPolicy(), {values, ModuleWish::Switch::On, false}).reason, QString());

    QCOMPARE(login("wrong\n"), 1);
    QCOMPARE(login("wrong\n"), 1);
    const FailureRecord record = failureRecords().accounts.value(0);
    QVERIFY(record.isLocked);
    QCOMPARE(record.last.secsTo(*record.until), 4);
    QCOMPARE(login(password), 1);
    // the module counts whole seconds
    QTRY_COMPARE_WITH_TIMEOUT(failureRecords().accounts.value(0).isLocked, false, 6000);
    QTest::qWait(1000);
    QCOMPARE(login(password), 0);
}

void FailureRecordsTest::locksRootOnlyIfAsked_data()
{
    const Rows<bool> row("asked");
    row("not asked", false);
    row("asked", true);
}

void FailureRecordsTest::locksRootOnlyIfAsked()
{
    QFETCH(const bool, asked);
    const QVariantMap values{{QStringLiteral("deny"), 2LL},
                             {QStringLiteral("even_deny_root"), asked},
                             {QStringLiteral("dir"), folder},
                             {QStringLiteral("nodelay"), true}};
    QCOMPARE(writeModule(faillockPolicy(), {values, ModuleWish::Switch::On, false}).reason, QString());
    QCOMPARE(runAs(root, "chpasswd", "root:" + password).exitCode, 0);
    const auto rootLogin = [](const QByteArray &typed) {
        return runAs(root, "pamtester su-l root authenticate", typed).exitCode;
    };
    writeContent("/etc/pam.d/su-l", "@include common-auth\n");

    QCOMPARE(rootLogin("wrong\n"), 1);
    QCOMPARE(rootLogin("wrong\n"), 1);
    QCOMPARE(failureRecords().accounts.value(0).isLocked, asked);
    QCOMPARE(rootLogin(password), asked ? 1 : 0);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet("LISTS")) {
        fputs(qPrintable(listed()), stdout);
        return 0;
    }
    FailureRecordsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "FailureRecordsTest.moc"
