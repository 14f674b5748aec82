// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What anybody can send to the service, and what others notice of it.

#include "service/ServiceNames.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/endtoend/StandInForPolkit.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <unistd.h>
#include <vector>

namespace
{
/// Bytes that count for the unit's LimitDATA.
qint64 dataOf(qint64 process)
{
    const QByteArray status = contentOf(QStringLiteral("/proc/%1/status").arg(process));
    const QRegularExpression form(QStringLiteral("VmData:\\s+(\\d+) kB"));
    return form.match(QString::fromLatin1(status)).captured(1).toLongLong() * 1024;
}

/// How long it has had a processor, in ms: that doesn't depend on what else the machine does.
qint64 workOf(qint64 process)
{
    const QByteArray status = contentOf(QStringLiteral("/proc/%1/stat").arg(process));
    const QByteArrayList fields = status.mid(status.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toLongLong() + fields.value(12).toLongLong()) * 1000 / sysconf(_SC_CLK_TCK);
}

QByteArray read()
{
    return answerOf(root, {QStringLiteral("ReadPolicy"), {QStringLiteral("faillock")}});
}

/// How many callers' ends it waits for, and more that doesn't change.
uint watchesOf(const char *service)
{
    QDBusMessage question = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                           QStringLiteral("/org/freedesktop/DBus"),
                                                           QStringLiteral("org.freedesktop.DBus.Debug.Stats"),
                                                           QStringLiteral("GetConnectionStats"));
    question << QLatin1String(service);
    const QDBusReply<QVariantMap> statistics = QDBusConnection::systemBus().call(question);
    return statistics.value().value(QStringLiteral("MatchRules")).toUInt();
}

/// Whether a tool runs for it.
bool hasChild(qint64 process)
{
    QDirIterator threads(QStringLiteral("/proc/%1/task").arg(process), QDir::Dirs | QDir::NoDotAndDotDot);
    while (threads.hasNext()) {
        if (!contentOf(threads.next() + QLatin1String("/children")).isEmpty()) {
            return true;
        }
    }
    return false;
}

/// Ends all processes of a program, as the unit does with what is left of one that was killed: Qt 6 has a process wait for
/// its parent before it becomes a tool, and until then it holds the connection; for a dead parent it would wait for good.
void endAll(const QString &program)
{
    const auto processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &process : processes) {
        if (QFile::symLinkTarget(QLatin1String("/proc/") + process + QLatin1String("/exe")) == program) {
            kill(process.toInt(), SIGKILL);
        }
    }
}

ServiceCall sixteen(const char *method)
{
    const QVariantMap on{{QStringLiteral("on"), true}};
    return {QString::fromLatin1(method), {QStringLiteral("faillock"), QVariantMap(), on}, true, 16};
}

std::unique_ptr<QProcess> startAttack(const QString &words)
{
    auto attacker = std::make_unique<QProcess>();
    attacker->start(QStringLiteral("setpriv"),
                    splitWords(QStringLiteral("--reuid 65534 --regid 65534 --clear-groups"))
                        + QStringList{copyForEverybody(QStringLiteral(SERVICEATTACKER))} + splitWords(words));
    attacker->waitForStarted();
    return attacker;
}

QByteArrayList policyFilesNow()
{
    return {contentOf("/etc/security/faillock.conf"),
            contentOf("/etc/security/pwquality.conf.d/50-accountpolicies.conf"),
            contentOf("/etc/pam.d/common-auth"),
            contentOf("/etc/pam.d/common-password")};
}
}

class ServiceAttacksTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void answersOthersWithinASecond_data();
    void answersOthersWithinASecond();
    void comesBackAfterACrash_data();
    void comesBackAfterACrash();
    void isHeldUpByNoQuestion();
};

void ServiceAttacksTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ServiceAttacksTest::answersOthersWithinASecond_data()
{
    QTest::addColumn<QString>("attack");
    QTest::addColumn<QByteArray>("answers");
    QTest::addColumn<qint64>("mostData");
    const qint64 megabyte = 1024 * 1024;
    QTest::newRow("random messages") << "random 1 10000" << QByteArray("10000\n") << 32 * megabyte;
    QTest::newRow("flood of reads") << "flood 10000" << QByteArray("10000\n") << 32 * megabyte;
    // each of 30 MB, together less than the 127 MB that the bus keeps for it; what the unit lets it have
    QTest::newRow("other random messages") << "random 2 10000" << QByteArray("10000\n") << 32 * megabyte;
    QTest::newRow("callers that leave") << "leave 1000" << QByteArray() << 32 * megabyte;
    QTest::newRow("large messages") << "large 4" << QByteArray("4\n") << 384 * megabyte;
}

void ServiceAttacksTest::answersOthersWithinASecond()
{
    QFETCH(QString, attack);
    QFETCH(qint64, mostData);
    const QByteArray expected = read();
    const qint64 process = serviceProcess();
    const QByteArrayList files = policyFilesNow();
    const uint watches = watchesOf(serviceName);
    QVERIFY(watches > 0);
    const auto attacker = startAttack(attack);
    qint64 longest = 0;
    qint64 mostWork = 0;
    qint64 seenData = 0;
    while (!attacker->waitForFinished(0) && attacker->state() == QProcess::Running) {
        QElapsedTimer time;
        time.start();
        const qint64 before = workOf(process);
        QCOMPARE(read(), expected);
        longest = std::max(longest, time.elapsed());
        mostWork = std::max(mostWork, workOf(process) - before);
        seenData = std::max(seenData, dataOf(process));
    }
    qInfo("the longest read meanwhile took %lld ms, of which the service worked %lld ms at most; it had %lld bytes of "
          "data",
          longest,
          mostWork,
          seenData);

    QTEST(attacker->readAllStandardOutput(), "answers");
    QVERIFY(longest > 0);
    QVERIFY(mostWork < 1000);
    QCOMPARE(serviceProcess(), process);
    QVERIFY(seenData < mostData);
    QCOMPARE(policyFilesNow(), files);
    // the last preview may go on
    QTRY_COMPARE_WITH_TIMEOUT(watchesOf(serviceName), watches, 30000);
}

void ServiceAttacksTest::comesBackAfterACrash_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("killed") << SIGKILL;
    QTest::newRow("crashed") << SIGSEGV;
}

void ServiceAttacksTest::comesBackAfterACrash()
{
    QFETCH(int, signal);
    const QByteArray expected = read();
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(serviceProcess()));
    QVERIFY(!program.isEmpty());
    const auto isGone = [&program] {
        endAll(program);
        return serviceProcess() == 0;
    };
    for (int i = 0; i < 10; ++i) {
        const qint64 process = serviceProcess();
        const auto others = startCall(nobody, sixteen("PreviewPolicy"));
        QTRY_VERIFY_WITH_TIMEOUT(hasChild(process), eventLimit);
        kill(static_cast<pid_t>(process), signal);
        QTRY_VERIFY_WITH_TIMEOUT(isGone(), 30000);

        QCOMPARE(read(), expected);
        QVERIFY(workOf(serviceProcess()) < 1000);
        const QByteArray lost = "org.freedesktop.DBus.Error.NoReply: Message recipient disconnected from message bus "
                                "without replying\n";
        QCOMPARE(answersTo(others.get()).join('\n') + '\n', lost.repeated(16));
    }
}

void ServiceAttacksTest::isHeldUpByNoQuestion()
{
    StandInForPolkit polkit; // as with an agent that never answers
    const QByteArray expected = read();
    const qint64 process = serviceProcess();
    std::vector<std::unique_ptr<QProcess>> callers;
    for (const int user : {1, 2, 3, nobody}) {
        callers.push_back(startCall(user, sixteen("WritePolicy")));
    }
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 64, eventLimit);

    const qint64 before = workOf(process);
    QCOMPARE(read(), expected);
    const auto writer = startCall(root, {QStringLiteral("Unlock"), {QStringLiteral("root")}});
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 65, eventLimit);
    polkit.answer(polkit.questions.constLast(), true);
    QCOMPARE(answersTo(writer.get()), QByteArrayList{QByteArray()});
    QVERIFY(workOf(process) - before < 1000);
    QVERIFY(dataOf(process) < 32 * 1024 * 1024);

    for (const auto &caller : callers) {
        caller->kill();
        caller->waitForFinished();
    }
    QTRY_COMPARE_WITH_TIMEOUT(polkit.cancelled.size(), 64, eventLimit);
    QCOMPARE(read(), expected);
}

QTEST_GUILESS_MAIN(ServiceAttacksTest)
#include "ServiceAttacksTest.moc"
