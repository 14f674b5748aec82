// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Several clients at once: each must learn the truth of its own request, never another's.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace
{
constexpr int timeLimit = 120000; // ms

/// One client that runs beside others.
class RunningClient
{
public:
    RunningClient(int user, const QString &words)
    {
        const QString id = QString::number(user);
        const QStringList command{QStringLiteral("--reuid"),
                                  id,
                                  QStringLiteral("--regid"),
                                  id,
                                  QStringLiteral("--clear-groups"),
                                  QStringLiteral("env"),
                                  QStringLiteral("XDG_STATE_HOME=") + stateFolder(user),
                                  QStringLiteral("accountpolicyctl")};
        m_process.start(QStringLiteral("setpriv"), command + splitWords(words));
    }

    /// As by Ctrl-C.
    void interrupt()
    {
        m_process.waitForStarted();
        kill(static_cast<pid_t>(m_process.processId()), SIGINT);
    }

    ProgramResult result()
    {
        if (!m_process.waitForFinished(timeLimit) || m_process.exitStatus() != QProcess::NormalExit) {
            return {};
        }
        return {m_process.exitCode(), m_process.readAllStandardOutput(), m_process.readAllStandardError()};
    }

private:
    QProcess m_process;
};

using RunningClients = std::vector<std::unique_ptr<RunningClient>>;

/// What a writer may say: that its value is in force, or that another's is, which is true then.
bool isTruth(const ProgramResult &result, int asked)
{
    if (result.exitCode == 0) {
        return result.standardOutput == "expiration: in force\n" && result.standardError.isEmpty();
    }
    static const QRegularExpression line(
        QStringLiteral("^accountpolicyctl: the expiration policy was written, but is not in force\n"
                       "maxInterval: asked for (\\d+), found (\\d+)\n$"));
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(result.standardError));
    return result.exitCode == 4 && result.standardOutput.isEmpty() && match.captured(1).toInt() == asked
        && match.captured(2).toInt() != asked;
}

QByteArray described(const ProgramResult &result)
{
    return QByteArray::number(result.exitCode) + ": " + result.standardOutput + result.standardError;
}
}

class ManyClientsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void writersOfOnePolicyLearnTheirOwnResults();
    void writersReadersAndRefusedUsersLearnTheirOwnResults();
    void interruptedClientsLeaveTheHelperFree();
    void interruptedWriteKeepsItsWayBack();

private:
    PamState m_stockPam;
};

void ManyClientsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    for (int user : {root, nobody}) {
        client(user, QStringLiteral("--version")); // makes the state folder
    }
}

void ManyClientsTest::init()
{
    m_stockPam.restore();
    writeContent(QStringLiteral("/etc/login.defs"), "PASS_MAX_DAYS 1\nUMASK 022\n");
    writeContent(QStringLiteral("/etc/default/useradd"), "INACTIVE=-1\nSHELL=/bin/sh\n");
}

void ManyClientsTest::writersOfOnePolicyLearnTheirOwnResults()
{
    constexpr int writers = 8;
    for (int round = 1; round <= 5; ++round) {
        RunningClients running;
        for (int i = 0; i < writers; ++i) {
            const int value = 100 * round + i;
            running.push_back(
                std::make_unique<RunningClient>(root, QStringLiteral("set expiration maxInterval=%1").arg(value)));
        }
        std::vector<ProgramResult> results;
        for (const auto &one : running) {
            results.push_back(one->result());
        }

        const QByteArray content = contentOf(QStringLiteral("/etc/login.defs"));
        int inForce = 0;
        for (int i = 0; i < writers; ++i) {
            const ProgramResult &result = results.at(static_cast<std::size_t>(i));
            const int value = 100 * round + i;
            QVERIFY2(isTruth(result, value), described(result).constData());
            if (content == "PASS_MAX_DAYS " + QByteArray::number(value) + "\nUMASK 022\n") {
                ++inForce;
                // nobody wrote after this one
                QCOMPARE(result.exitCode, 0);
            }
        }
        QCOMPARE(inForce, 1);
        QCOMPARE(contentOf(QStringLiteral("/etc/default/useradd")), QByteArray("INACTIVE=-1\nSHELL=/bin/sh\n"));
    }
}

void ManyClientsTest::writersReadersAndRefusedUsersLearnTheirOwnResults()
{
    for (int round = 1; round <= 5; ++round) {
        const int first = 100 * round;
        RunningClients running;
        const auto start = [&running](int user, const QString &words) {
            running.push_back(std::make_unique<RunningClient>(user, words));
            return running.back().get();
        };
        RunningClient *writers[] = {start(root, QStringLiteral("set expiration maxInterval=%1").arg(first)),
                                    start(root, QStringLiteral("set expiration maxInterval=%1").arg(first + 1))};
        RunningClient *complexity = start(root, QStringLiteral("set complexity minlen=%1").arg(8 + round));
        RunningClient *refused[] = {start(nobody, QStringLiteral("set expiration maxInterval=7777")),
                                    start(nobody, QStringLiteral("set complexity minlen=77"))};
        RunningClient *readers[] = {start(nobody, QStringLiteral("show expiration")),
                                    start(root, QStringLiteral("show expiration --json")),
                                    start(nobody, QStringLiteral("show"))};

        for (int i = 0; i < 2; ++i) {
            const ProgramResult result = writers[i]->result();
            QVERIFY2(isTruth(result, first + i), described(result).constData());
        }
        QCOMPARE(described(complexity->result()), QByteArray("0: complexity: in force\n"));
        for (RunningClient *one : refused) {
            QCOMPARE(described(one->result()), QByteArray("3: accountpolicyctl: not authorized\n"));
        }
        for (RunningClient *one : readers) {
            const ProgramResult result = one->result();
            QCOMPARE(result.standardError, QByteArray());
            QCOMPARE(result.exitCode, 0);
            QVERIFY(!result.standardOutput.contains("7777"));
        }
        QVERIFY(contentOf(QStringLiteral("/usr/share/pam-configs/pwquality"))
                    .contains("pam_pwquality.so retry=3 minlen=" + QByteArray::number(8 + round) + '\n'));
    }
}

void ManyClientsTest::interruptedClientsLeaveTheHelperFree()
{
    // a helper whose caller is gone too early never answers anybody again
    for (int delay = 0; delay < 60; ++delay) {
        RunningClient writer(root, QStringLiteral("set expiration maxInterval=%1").arg(100 + delay));
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        writer.interrupt();
        const ProgramResult interrupted = writer.result();
        // before the client can hear it, cancelled in between, or too late
        QVERIFY2(interrupted.exitCode == -1 || interrupted.exitCode == 3 || interrupted.exitCode == 0,
                 described(interrupted).constData());

        QCOMPARE(described(client(nobody, QStringLiteral("show lockout"))).left(2), QByteArray("0:"));
    }
}

void ManyClientsTest::interruptedWriteKeepsItsWayBack()
{
    const QString tool = QStringLiteral("/usr/sbin/pam-auth-update");
    const QByteArray original = contentOf(tool);
    writeProgram(tool, "#!/bin/sh\ntouch /run/tool-started\nsleep 4\n");
    QDir(stateFolder(root)).removeRecursively();
    client(root, QStringLiteral("--version"));
    RunningClient writer(root, QStringLiteral("set complexity minlen=20 --replace"));
    QTRY_VERIFY(QFile::exists(QStringLiteral("/run/tool-started")));

    writer.interrupt();

    QCOMPARE(described(writer.result()),
             QByteArray("3: accountpolicyctl: cancelled; the helper may still carry it out\n"));
    QVERIFY(client(root, QStringLiteral("history")).standardOutput.endsWith("set complexity minlen=20 --replace\n"));
    // and so it does
    QCOMPARE(client(nobody, QStringLiteral("show lockout")).exitCode, 0);
    QVERIFY(contentOf(QStringLiteral("/usr/share/pam-configs/pwquality")).contains(" minlen=20\n"));
    writeProgram(tool, original);
}

QTEST_GUILESS_MAIN(ManyClientsTest)
#include "ManyClientsTest.moc"
