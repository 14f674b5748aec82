// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Several clients at once: each must learn the truth of its own request, never another's.

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
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

/// What a writer may say: that its value is in force, or that another's is, which is true then.
bool isTruth(const ProgramResult &result, int asked)
{
    if (result == success("expiration: in force\n")) {
        return true;
    }
    static const QRegularExpression line(
        QStringLiteral("^accountpolicyctl: the expiration policy was written, but is not in force\n"
                       "maxInterval: asked for (\\d+) days?, found (\\d+) days?\n$"));
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(result.standardError));
    return result.exitCode == 4 && result.standardOutput.isEmpty() && match.captured(1).toInt() == asked
        && match.captured(2).toInt() != asked;
}

QByteArray described(const ProgramResult &result)
{
    return QByteArray::number(result.exitCode) + ": " + result.standardOutput + result.standardError;
}

QString setMaximum(int value)
{
    return QStringLiteral("set expiration maxInterval=%1").arg(value);
}

QByteArrayList pwqualityLines(int minimum)
{
    const QByteArray line = "requisite\t\t\tpam_pwquality.so retry=3 minlen=" + QByteArray::number(minimum);
    return {line, line};
}

ProgramResult interruptedAfter(int delay)
{
    const ScopedVariable counters = uncounted();
    RunningClient writer(root, setMaximum(100 + delay));
    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
    writer.interrupt();
    return writer.result();
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
        client(user, "--version"); // makes the state folder
    }
}

void ManyClientsTest::init()
{
    m_stockPam.restore();
    writeContent(loginDefsFile, "PASS_MAX_DAYS 1\nUMASK 022\n");
    writeContent(useraddFile, "INACTIVE=-1\nSHELL=/bin/sh\n");
}

void ManyClientsTest::writersOfOnePolicyLearnTheirOwnResults()
{
    for (int round = 1; round <= 5; ++round) {
        std::vector<std::unique_ptr<RunningClient>> writers;
        for (int i = 0; i < 8; ++i) {
            writers.push_back(std::make_unique<RunningClient>(root, setMaximum(100 * round + i)));
        }
        QByteArrayList inForce;
        for (std::size_t i = 0; i < writers.size(); ++i) {
            const ProgramResult result = writers.at(i)->result();
            const int value = 100 * round + static_cast<int>(i);
            QVERIFY2(isTruth(result, value), described(result).constData());
            if (result.exitCode == 0) {
                inForce += "PASS_MAX_DAYS " + QByteArray::number(value) + "\nUMASK 022\n";
            }
        }
        // nobody wrote after one of these
        QVERIFY2(inForce.contains(contentOf(loginDefsFile)), contentOf(loginDefsFile).constData());
        QCOMPARE(contentOf(useraddFile), QByteArray("INACTIVE=-1\nSHELL=/bin/sh\n"));
    }
}

void ManyClientsTest::writersReadersAndRefusedUsersLearnTheirOwnResults()
{
    for (int round = 1; round <= 5; ++round) {
        const int first = 100 * round;
        RunningClient writers[] = {{root, setMaximum(first)}, {root, setMaximum(first + 1)}};
        RunningClient complexity(root, QStringLiteral("set complexity minlen=%1").arg(8 + round));
        RunningClient refused[] = {{nobody, setMaximum(7777)}, {nobody, QStringLiteral("set complexity minlen=77")}};
        RunningClient readers[] = {{nobody, QStringLiteral("show expiration")},
                                   {root, QStringLiteral("show expiration --json")},
                                   {nobody, QStringLiteral("show")}};

        for (int i = 0; i < 2; ++i) {
            const ProgramResult result = writers[i].result();
            QVERIFY2(isTruth(result, first + i), described(result).constData());
        }
        QCOMPARE(complexity.result(), success("complexity: in force\n"));
        for (RunningClient &one : refused) {
            QCOMPARE(one.result(), failure(3, withoutTerminal));
        }
        for (RunningClient &one : readers) {
            const ProgramResult result = one.result();
            QCOMPARE(result.exitCode, 0);
            // the writers may take longer than a reader waits
            const QByteArrayList notes{{},
                                       complaint("the helper does not answer; the policies are read without it"),
                                       complaint("the helper is busy; the policies are read without it")};
            QVERIFY2(notes.contains(result.standardError), result.standardError.constData());
            QVERIFY(!result.standardOutput.isEmpty() && !result.standardOutput.contains("7777"));
        }
        QCOMPARE(linesWith("pam_pwquality.so", pwqualityFile), pwqualityLines(8 + round));
    }
}

void ManyClientsTest::interruptedClientsLeaveTheHelperFree()
{
    // a helper whose caller is gone too early never answers anybody again
    for (int delay = 0; delay < 60; ++delay) {
        const ProgramResult interrupted = interruptedAfter(delay);
        // before the client can hear it, cancelled in between, or too late
        QVERIFY2(interrupted.exitCode == -1 || interrupted.exitCode == 3 || interrupted.exitCode == 0,
                 described(interrupted).constData());

        const ProgramResult reader = client(nobody, "show lockout");
        QCOMPARE(reader, success(reader.standardOutput)); // by the helper, or it would say so
    }
}

void ManyClientsTest::interruptedWriteKeepsItsWayBack()
{
    const QByteArray tool = contentOf(toolFile);
    replaceTool("touch /run/tool-started; until [ -e /run/client-has-ended ]; do sleep 0.1; done");
    QDir(stateFolder(root)).removeRecursively();
    client(root, "--version");
    RunningClient writer(root, QStringLiteral("set complexity minlen=20 --replace"));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(QStringLiteral("/run/tool-started")), eventLimit);

    writer.interrupt();

    QCOMPARE(writer.result(), failure(3, "cancelled; the helper may still carry it out"));
    QVERIFY(client(root, "history").standardOutput.endsWith("set complexity minlen=20 --replace\n"));
    // and so it does
    writeContent("/run/client-has-ended", {});
    QTRY_COMPARE_WITH_TIMEOUT(client(nobody, "show lockout").standardError, QByteArray(), eventLimit);
    QCOMPARE(linesWith("pam_pwquality.so", pwqualityFile), pwqualityLines(20));
    writeProgram(toolFile, tool);
}

QTEST_GUILESS_MAIN(ManyClientsTest)
#include "ManyClientsTest.moc"
