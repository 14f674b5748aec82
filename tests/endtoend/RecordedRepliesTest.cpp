// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Requests as bytes, and what the helper answers to them to the byte: the same with every Qt that it is built for.

#include "client/bus/PerformAction.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDBusConnection>
#include <QDBusReply>
#include <QTest>

namespace
{
constexpr int timeLimit = 100000; // ms

/// Each recorded request: what it is, the action, the arguments and the reply, the last two in hexadecimal digits.
QList<QByteArrayList> recordedRequests()
{
    QList<QByteArrayList> requests;
    const auto lines = contentOf(QStringLiteral(RECORDED_REPLIES)).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("# ")) {
            requests += QByteArrayList{line.mid(2)};
        } else if (!line.isEmpty() && !line.startsWith("//")) {
            requests.last() += line.split(' ');
        }
    }
    return requests;
}

QByteArray answerTo(const QByteArray &action, const QByteArray &arguments)
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    const QDBusMessage call = performAction(
        QLatin1String(helperId) + QLatin1Char('.') + QString::fromLatin1(action), bus.baseService(), arguments);
    const QDBusReply<QByteArray> reply = bus.call(call, QDBus::Block, timeLimit);
    return reply.isValid() ? reply.value().toHex() : reply.error().message().toUtf8();
}
}

class RecordedRepliesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void answersAsRecorded_data();
    void answersAsRecorded();
    void takesTheLaterOfTwoArgumentsOfOneName();

private:
    PamState m_stockPam;
};

void RecordedRepliesTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void RecordedRepliesTest::init()
{
    m_stockPam.restore();
    writeContent(authStack, "auth required pam_tally.so deny=3 unlock_time=600 per_user onerr=fail\n");
    writeContent(passwordStack, "password requisite pam_pwquality.so retry=3 minlen=9 dcredit=-1 enforce_for_root\n");
    writeContent(tallyFile, tallyProfile());
    writeContent(loginDefsFile, "UMASK 022\nPASS_MAX_DAYS\t99999\nPASS_MIN_DAYS 0 # no minimum\n");
    writeContent(useraddFile, "SHELL=/bin/sh\nINACTIVE=-1\nEXPIRE=1970-01-02\n");
}

void RecordedRepliesTest::answersAsRecorded_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QByteArray>("reply");
    const auto requests = recordedRequests();
    QVERIFY(!requests.isEmpty());
    for (const QByteArrayList &request : requests) {
        QCOMPARE(request.size(), 4);
        QTest::newRow(request.at(0).constData())
            << request.at(1) << QByteArray::fromHex(request.at(2)) << request.at(3);
    }
}

void RecordedRepliesTest::answersAsRecorded()
{
    QFETCH(QByteArray, action);
    QFETCH(QByteArray, arguments);
    QTEST(answerTo(action, arguments), "reply");
}

void RecordedRepliesTest::takesTheLaterOfTwoArgumentsOfOneName()
{
    QByteArray arguments;
    QDataStream stream(&arguments, QIODevice::WriteOnly);
    const QString name = QStringLiteral("maxInterval");
    stream << quint32(2) << name << QVariant(30) << name << QVariant(60);

    const QByteArray answer = answerTo("writepasswordexpirationpolicy", arguments);

    // with Qt 5 both come back, with Qt 6 one
    QByteArray key;
    QDataStream keyStream(&key, QIODevice::WriteOnly);
    keyStream << name;
    QCOMPARE(static_cast<int>(answer.count(key.toHex())), QT_VERSION_MAJOR == 5 ? 2 : 1);
    QCOMPARE(contentOf(loginDefsFile), QByteArray("UMASK 022\nPASS_MAX_DAYS 60\n\t# no minimum\n"));
}

QTEST_GUILESS_MAIN(RecordedRepliesTest)
#include "RecordedRepliesTest.moc"
