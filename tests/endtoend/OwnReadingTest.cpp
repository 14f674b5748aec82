// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The client that reads where the helper is away, held, silent or crashing.

#include "HelperId.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/ClientFixture.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

namespace
{
/// Something that keeps the helper from answering.
struct Hindrance {
    const char *name;
    void (*begin)();
    void (*end)();
    /// What the client says about it.
    const char *reason;
    /// Whether the client can only find out by waiting.
    bool isSilent;
};

QString helperAway()
{
    return QString::fromLatin1(helperFile) + QStringLiteral(".away");
}

void removeHelper()
{
    endHelper();
    QVERIFY(QFile::rename(QString::fromLatin1(helperFile), helperAway()));
}

void bringHelperBack()
{
    QFile::remove(QString::fromLatin1(helperFile));
    QVERIFY(QFile::rename(helperAway(), QString::fromLatin1(helperFile)));
}

void stopHelper()
{
    QCOMPARE(client(nobody, "show lockout").exitCode, 0); // starts it
    QCOMPARE(kill(static_cast<pid_t>(helperProcess()), SIGSTOP), 0);
}

void continueHelper()
{
    QCOMPARE(kill(static_cast<pid_t>(helperProcess()), SIGCONT), 0);
}

void stopPolkit()
{
    QCOMPARE(runAs(root, "pkill -STOP -x polkitd").exitCode, 0);
}

void continuePolkit()
{
    QCOMPARE(runAs(root, "pkill -CONT -x polkitd").exitCode, 0);
}

void hideBus()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
}

void showBus()
{
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

constexpr Hindrance hindrances[] = {
    {"helper missing", removeHelper, bringHelperBack, "the helper cannot be started", false},
    {"helper held", holdHelper, endHelper, "the helper is busy", true},
    {"helper silent", stopHelper, continueHelper, "the helper does not answer", true},
    {"polkit silent", stopPolkit, continuePolkit, "polkit does not answer", true},
    {"no bus", hideBus, showBus, "the system bus cannot be reached", false},
};

/// The helper, which is killed at its first so many starts, when it opens the expiration policy's file.
void replaceHelperByDying(int deaths)
{
    QFile::remove(QStringLiteral("/run/starts"));
    writeProgram(helperFile,
                 "#!/bin/sh\nprintf x >>/run/starts\nhelper=" + helperAway().toLatin1()
                     + "\n[ $(wc -c </run/starts) -gt " + QByteArray::number(deaths)
                     + " ] || exec strace -o /dev/null -P " + loginDefsFile
                     + " -e inject=openat:signal=KILL $helper\nexec $helper\n");
}

QByteArray noteOf(const char *reason)
{
    return complaint(QByteArray(reason) + "; the policies are read without it");
}

/// As read by the helper.
ProgramResult readByHelper(const QString &words)
{
    const ProgramResult result = client(nobody, words);
    if (result.standardError.contains("without it")) {
        qFatal("%s", result.standardError.constData());
    }
    return result;
}
}
Q_DECLARE_METATYPE(const Hindrance *)

class OwnReadingTest : public ClientFixture
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheSame_data();
    void readsTheSame();
    void waitsNoLongerThanForItsTurn();
    void leavesAHelperFreeThatWasAtWork();
    void asksNoHelperAboutActionUnknownToPolkit();
    void obeysABusThatRefuses();
    void changesNothingWithoutAHelperThatIsThere_data();
    void changesNothingWithoutAHelperThatIsThere();
    void asksAgainWhereTheHelperEnds_data();
    void asksAgainWhereTheHelperEnds();
    void readsWhileHelpersCrash();
};

void OwnReadingTest::readsTheSame_data()
{
    QTest::addColumn<const Hindrance *>("hindrance");
    QTest::addColumn<QString>("words");
    for (const Hindrance &hindrance : hindrances) {
        QTest::newRow(hindrance.name) << &hindrance << QStringLiteral("show");
    }
    for (const char *words : {"show lockout --json",
                              "show complexity",
                              "export",
                              "check /run/wanted.json",
                              "report /run/tmp/report.html",
                              "check /run/unreadable.json"}) {
        QTest::newRow(words) << &hindrances[0] << QString::fromLatin1(words);
    }
}

void OwnReadingTest::readsTheSame()
{
    QFETCH(const Hindrance *, hindrance);
    QFETCH(QString, words);
    writeContent("/run/wanted.json", document(R"({"maxInterval": 30})"));
    writeContent("/run/unreadable.json", R"({"version": 1, "policies": {"complexity": {"minlen": 12}}})");
    if (words.contains(QLatin1String("unreadable"))) {
        QFile::remove(QString::fromLatin1(passwordStack));
    }
    const ProgramResult expected = readByHelper(words);

    hindrance->begin();
    QElapsedTimer clock;
    clock.start();
    const ProgramResult seen = client(nobody, words);
    const qint64 waited = clock.elapsed();
    hindrance->end();

    QCOMPARE(seen,
             ProgramResult(
                 {expected.exitCode, expected.standardOutput, noteOf(hindrance->reason) + expected.standardError}));
    QVERIFY2(hindrance->isSilent == (waited > 2500) && waited < 15000, qPrintable(QString::number(waited)));
    QTRY_COMPARE_WITH_TIMEOUT(client(nobody, words), expected, eventLimit);
}

void OwnReadingTest::waitsNoLongerThanForItsTurn()
{
    holdHelper();

    // three policies, and three seconds in all
    QElapsedTimer clock;
    clock.start();
    const ProgramResult seen = client(nobody, "export");
    const qint64 waited = clock.elapsed();
    endHelper();

    QCOMPARE(seen.exitCode, 0);
    QVERIFY2(waited > 2500 && waited < 6000, qPrintable(QString::number(waited)));
}

void OwnReadingTest::leavesAHelperFreeThatWasAtWork()
{
    replaceTool("touch /run/tool-started; until [ -e /run/go ]; do sleep 0.1; done");
    const ProgramResult expected = readByHelper(QStringLiteral("show expiration"));
    ProgramResult written;
    std::thread writer([&written] {
        written = client(root, "set complexity minlen=20 --replace");
    });
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(QStringLiteral("/run/tool-started")), eventLimit);

    const ProgramResult seen = client(nobody, "show expiration");
    writeContent("/run/go", {});
    writer.join();

    QCOMPARE(seen, ProgramResult({0, expected.standardOutput, noteOf("the helper does not answer")}));
    // a call that was left behind, by a caller that is gone, would hold it now
    QCOMPARE(client(nobody, "show expiration"), expected);
    QCOMPARE(written.exitCode, 4); // this tool puts nothing in force
    QFile::remove(QStringLiteral("/run/go"));
    QFile::remove(QStringLiteral("/run/tool-started"));
}

void OwnReadingTest::asksNoHelperAboutActionUnknownToPolkit()
{
    const QString actions = QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(QLatin1String(helperId));
    const ProgramResult expected = readByHelper(QStringLiteral("show lockout"));
    const ProgramResult seen({0, expected.standardOutput, noteOf("polkit does not answer")});

    QVERIFY(QFile::rename(actions, actions + QStringLiteral(".away")));
    endHelper();
    runAs(root, "pkill -x polkitd");
    QTRY_COMPARE_WITH_TIMEOUT(client(nobody, "show lockout"), seen, eventLimit);
    QVERIFY(QFile::rename(actions + QStringLiteral(".away"), actions));
    runAs(root, "pkill -x polkitd");

    // it would be held by the question
    QCOMPARE(client(nobody, "show lockout"), expected);
}

void OwnReadingTest::obeysABusThatRefuses()
{
    const QString rule = QStringLiteral("/usr/share/dbus-1/system.d/zz-test.conf");
    const ProgramResult expected = readByHelper(QStringLiteral("show lockout"));
    writeContent(rule,
                 QByteArray("<busconfig><policy user=\"nobody\"><deny send_destination=\"") + helperId
                     + "\"/></policy></busconfig>");
    runAs(root, "pkill -HUP dbus-daemon");
    QTRY_COMPARE_WITH_TIMEOUT(client(nobody, "show lockout").exitCode, 1, eventLimit);

    const ProgramResult seen = client(nobody, "show");
    QFile::remove(rule);
    runAs(root, "pkill -HUP dbus-daemon");

    // of the other policies the helper knows nothing
    QCOMPARE(seen.standardOutput,
             client(nobody, "show faillock").standardOutput + '\n' + client(nobody, "show pwquality").standardOutput
                 + '\n' + client(nobody, "show pwhistory").standardOutput);
    // the bus tells the rest, with numbers of processes
    QCOMPARE(seen.standardError.split('\n').constFirst(), QByteArray("accountpolicyctl: the helper does not answer"));
    QTRY_COMPARE_WITH_TIMEOUT(client(nobody, "show lockout"), expected, eventLimit);
}

void OwnReadingTest::changesNothingWithoutAHelperThatIsThere_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("error");
    const QByteArray reason = complaint("the helper does not answer\n"
                                        "Cannot launch daemon, file not found or permissions invalid");
    QTest::newRow("set") << QStringLiteral("set expiration maxInterval=7")
                         << reason + "what is not known cannot be kept; --replace writes just what is typed\n";
    QTest::newRow("set --replace")
        << QStringLiteral("set expiration maxInterval=7 --replace")
        << complaint("the expiration policy could not be read, so that there is no way back from this change") + reason;
    QTest::newRow("apply") << QStringLiteral("apply /run/wanted.json") << reason;
}

void OwnReadingTest::changesNothingWithoutAHelperThatIsThere()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, error);
    writeContent("/run/wanted.json", document(R"({"maxInterval": 30})"));
    const QFile::Permissions permissions = QFile::permissions(QString::fromLatin1(helperFile));
    endHelper();
    QVERIFY(QFile::setPermissions(QString::fromLatin1(helperFile), QFile::ReadOwner));

    const ProgramResult seen = client(root, words);
    QVERIFY(QFile::setPermissions(QString::fromLatin1(helperFile), permissions));

    QCOMPARE(seen, ProgramResult({1, {}, error}));
    QCOMPARE(contentOf(loginDefsFile), QByteArray("PASS_MAX_DAYS 90\n"));
}

void OwnReadingTest::asksAgainWhereTheHelperEnds_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("deaths");
    QTest::addColumn<int>("starts");
    QTest::addColumn<int>("exitCode");
    const QString change = QStringLiteral("set expiration maxInterval=7 --dry-run");
    QTest::newRow("showing") << QStringLiteral("show expiration") << 1 << 2 << 0;
    QTest::newRow("before a change") << change << 4 << 5 << 0;
    QTest::newRow("before a change, for good") << change << 9 << 5 << 1;
}

void OwnReadingTest::asksAgainWhereTheHelperEnds()
{
    QFETCH(QString, words);
    QFETCH(int, deaths);
    QFETCH(int, exitCode);
    const ProgramResult expected = readByHelper(words);
    removeHelper();
    replaceHelperByDying(deaths);

    const ProgramResult seen = client(nobody, words);
    endHelper();
    bringHelperBack();

    QTEST(static_cast<int>(contentOf("/run/starts").size()), "starts");
    QCOMPARE(seen,
             exitCode == 0
                 ? expected
                 : ProgramResult({exitCode,
                                  {},
                                  complaint("the helper does not answer\n"
                                            "Message recipient disconnected from message bus without replying\n"
                                            "what is not known cannot be kept; --replace writes just what is typed")}));
}

void OwnReadingTest::readsWhileHelpersCrash()
{
    const ProgramResult expected = readByHelper(QStringLiteral("show"));
    const QByteArrayList notes{noteOf("the helper ends before it answers"),
                               noteOf("the helper cannot be started"),
                               noteOf("the helper does not answer"),
                               // on a busy machine
                               noteOf("the helper is busy"),
                               noteOf("polkit does not answer")};
    constexpr int readers = 4;
    constexpr int reads = 50;
    std::atomic<bool> done{false};
    std::atomic<int> good{0};
    std::atomic<int> own{0};
    int kills = 0;
    std::thread killer([&] {
        while (!done) {
            const qint64 process = helperProcess();
            kills += process != 0 && kill(static_cast<pid_t>(process), SIGKILL) == 0 ? 1 : 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    std::vector<std::thread> threads;
    for (int reader = 0; reader < readers; ++reader) {
        threads.emplace_back([&] {
            for (int read = 0; read < reads; ++read) {
                const ProgramResult seen = client(nobody, "show");
                const bool isTold = seen.standardError.isEmpty() || notes.contains(seen.standardError);
                const bool isGood = seen.exitCode == 0 && seen.standardOutput == expected.standardOutput && isTold;
                good += isGood ? 1 : 0;
                if (!isGood) {
                    qWarning("%d: %s", seen.exitCode, seen.standardError.constData());
                }
                own += seen.standardError.isEmpty() ? 0 : 1;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    done = true;
    killer.join();

    qInfo("%d of %d reads, %d without the helper, while it was killed %d times",
          good.load(),
          readers * reads,
          own.load(),
          kills);
    QCOMPARE(good.load(), readers * reads);
    QVERIFY(kills > reads);
}

QTEST_GUILESS_MAIN(OwnReadingTest)
#include "OwnReadingTest.moc"
