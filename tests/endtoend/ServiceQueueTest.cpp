// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the service does with requests that have to wait: for polkit, for their turn, for their caller's patience.

#include "service/ServiceNames.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/endtoend/StandInForPolkit.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QTest>

#include <csignal>

namespace
{
const char faillockFile[] = "/etc/security/faillock.conf";

ServiceCall readCall()
{
    return {QStringLiteral("ReadPolicy"), {QStringLiteral("faillock")}};
}

ServiceCall writeCall(const QVariantMap &options = {})
{
    return {QStringLiteral("WritePolicy"),
            {QStringLiteral("faillock"), QVariantMap{{QStringLiteral("deny"), 5}}, options}};
}

ServiceCall previewCall()
{
    return {QStringLiteral("PreviewPolicy"),
            {QStringLiteral("faillock"), QVariantMap(), QVariantMap{{QStringLiteral("on"), true}}}};
}

ServiceCall putInForce()
{
    return writeCall({{QStringLiteral("on"), true}});
}

/// What the tool that does nothing makes of putInForce().
QByteArray leftAlone()
{
    return serviceError("StacksEdited", "the stacks were edited by hand, and pam-auth-update leaves them as they are");
}

QByteArray refused()
{
    return serviceError("NotAuthorized", "not authorized");
}

QByteArray tooMany()
{
    return serviceError("TooManyRequests", "this user has 16 pending requests");
}

/// A pam-auth-update that does nothing, and takes its time.
void replaceToolBySlowOne(const char *seconds)
{
    writeProgram(QStringLiteral("/usr/sbin/pam-auth-update"),
                 QByteArray("#!/bin/sh\ntouch /run/tool\nsleep ") + seconds + '\n');
    QFile::remove(QStringLiteral("/run/tool"));
}

bool isToolRunning()
{
    return QFile::exists(QStringLiteral("/run/tool"));
}

/// For whose end, and for what else, the service has the bus tell it.
uint watchesOfService()
{
    const QDBusReply<QVariantMap> statistics = QDBusConnection::systemBus().call(
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                       QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus.Debug.Stats"),
                                       QStringLiteral("GetConnectionStats"))
        << QLatin1String(serviceName));
    return statistics.value().value(QStringLiteral("MatchRules"), 0).toUInt();
}

/// Messages whose senders are gone when the service looks at them.
void callAndLeave(int count)
{
    const pid_t service = static_cast<pid_t>(serviceProcess());
    kill(service, SIGSTOP);
    const QByteArray call =
        QByteArray("dbus-send --system --dest=") + serviceName + ' ' + servicePath + ' ' + serviceName + ".ListLocked";
    for (int i = 0; i < count; ++i) {
        QCOMPARE(runAs(nobody, call.constData()).exitCode, 0);
    }
    kill(service, SIGCONT);
}

int linesOf(const QByteArray &output)
{
    return static_cast<int>(output.count('\n'));
}
}

class ServiceQueueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void asksAsTheCallerWants_data();
    void asksAsTheCallerWants();
    void touchesNothingBeforeTheAnswer();
    void tellsThatPolkitDoesNotDecide();
    void tellsThatTheBusDoesNotSayWhoAsks();
    void takesTheQuestionBackWhenTheCallerLeaves();
    void takesSixteenRequestsOfAUser();
    void watchesNobodyWhoHasNoRequest();
    void readsWhileItWrites();
    void letsUsersTakeTurns();
    void leavesOutWhatHasNotBegunWhenTheCallerLeaves();
    void beginsNothingForWhoHasLeftBefore();
    void finishesItsWriteWhenItIsEnded();
    void endsWhenNobodyWantsAnything();

private:
    PamState m_stockPam;
    QByteArray m_stockFile = contentOf(faillockFile);
    QByteArray m_stockTool = contentOf("/usr/sbin/pam-auth-update");
};

void ServiceQueueTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void ServiceQueueTest::init()
{
    m_stockPam.restore();
    writeContent(faillockFile, m_stockFile);
    writeProgram(QStringLiteral("/usr/sbin/pam-auth-update"), m_stockTool);
}

void ServiceQueueTest::asksAsTheCallerWants_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<bool>("mayAsk");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("account");
    const auto addWrite = [](const char *name, bool mayAsk) {
        const QString policy = QString::fromLatin1(name).section(QLatin1Char(' '), 0, 0);
        QTest::newRow(name) << QStringLiteral("WritePolicy") << QVariantList{policy, QVariantMap(), QVariantMap()}
                            << mayAsk << QString(QStringLiteral("org.accountpolicies.modules1.write-") + policy)
                            << QString();
    };
    addWrite("faillock", true);
    addWrite("faillock without a prompt", false);
    addWrite("pwquality", true);
    addWrite("pwhistory", true);
    QTest::newRow("list") << QStringLiteral("ListLocked") << QVariantList() << false
                          << QStringLiteral("org.accountpolicies.modules1.list-locked") << QString();
    QTest::newRow("unlock") << QStringLiteral("Unlock") << QVariantList{QStringLiteral("root")} << true
                            << QStringLiteral("org.accountpolicies.modules1.unlock") << QStringLiteral("root");
}

void ServiceQueueTest::asksAsTheCallerWants()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(bool, mayAsk);
    StandInForPolkit polkit;
    const auto caller = startCall(nobody, {method, arguments, mayAsk});
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 1, eventLimit);
    const StandInForPolkit::Question question = polkit.questions.constFirst();

    QTEST(question.action, "action");
    QTEST(question.account, "account");
    QCOMPARE(question.flags, mayAsk ? 1U : 0U);
    QVERIFY2(question.caller.startsWith(QLatin1Char(':')), qPrintable(question.caller));
    // polkit finds nobody to ask, or may ask nobody
    polkit.answer(question, false, true);
    QCOMPARE(answersTo(caller.get()),
             QByteArrayList{mayAsk ? refused()
                                   : serviceError("InteractiveAuthorizationRequired",
                                                  "a password is needed, and the caller lets nobody be asked for it")});
    QCOMPARE(polkit.cancelled, QStringList());
}

void ServiceQueueTest::touchesNothingBeforeTheAnswer()
{
    StandInForPolkit polkit;
    const auto caller = startCall(nobody, writeCall());
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 1, eventLimit);
    QTest::qWait(300);

    QCOMPARE(contentOf(faillockFile), m_stockFile);
    polkit.admitAll();
    QCOMPARE(answersTo(caller.get()), QByteArrayList{"bool true; QString "});
    QCOMPARE(contentOf(faillockFile), m_stockFile + "deny = 5\n");
}

void ServiceQueueTest::tellsThatPolkitDoesNotDecide()
{
    StandInForPolkit polkit;
    const auto caller = startCall(root, writeCall());
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 1, eventLimit);
    polkit.fail(polkit.questions.takeFirst());

    QCOMPARE(answersTo(caller.get()),
             QByteArrayList{serviceError("AuthorizationFailed", "polkit has not decided about it")});
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

void ServiceQueueTest::tellsThatTheBusDoesNotSayWhoAsks()
{
    answerOf(nobody, readCall()); // starts the service
    const QString denial = QStringLiteral("/etc/dbus-1/system.d/denial.conf");
    writeContent(
        denial,
        "<busconfig><policy context=\"mandatory\"><deny send_destination=\"org.freedesktop.DBus\" "
        "send_interface=\"org.freedesktop.DBus\" send_member=\"GetConnectionCredentials\"/></policy></busconfig>\n");
    reloadBusConfiguration();
    const QByteArray unknown = serviceError("Failed", "the bus does not say who asks");
    ServiceCall previews = previewCall();
    previews.count = 3;

    QCOMPARE(answersOf(nobody, previews), QByteArrayList({unknown, unknown, unknown}));
    QCOMPARE(answerOf(root, writeCall()), unknown);
    QCOMPARE(contentOf(faillockFile), m_stockFile);

    QVERIFY(QFile::remove(denial));
    reloadBusConfiguration();
    QCOMPARE(answerOf(root, writeCall()), QByteArray("bool true; QString "));
}

void ServiceQueueTest::takesTheQuestionBackWhenTheCallerLeaves()
{
    StandInForPolkit polkit;
    const auto caller = startCall(nobody, writeCall());
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 1, eventLimit);
    const StandInForPolkit::Question question = polkit.questions.takeFirst();
    caller->kill();

    QTRY_COMPARE_WITH_TIMEOUT(polkit.cancelled, QStringList{question.id}, eventLimit);
    polkit.answer(question, true);
    QCOMPARE(answerOf(nobody, readCall()).left(4), QByteArray("{}; "));
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

void ServiceQueueTest::takesSixteenRequestsOfAUser()
{
    StandInForPolkit polkit;
    ServiceCall many = writeCall();
    many.count = 20;
    const auto caller = startCall(nobody, many);
    QByteArray early;
    QTRY_COMPARE_WITH_TIMEOUT(linesOf(early += caller->readAllStandardOutput()), 4, eventLimit);

    QCOMPARE(early, (tooMany() + '\n').repeated(4));
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 16, eventLimit);
    QCOMPARE(answerOf(nobody, readCall()), tooMany());
    // others are served meanwhile
    const auto other = startCall(root, writeCall());
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 17, eventLimit);
    polkit.answer(polkit.questions.takeLast(), true);
    QCOMPARE(answersTo(other.get()), QByteArrayList{"bool true; QString "});
    for (const StandInForPolkit::Question &question : polkit.questions) {
        polkit.answer(question, false);
    }
    QCOMPARE(answersTo(caller.get()).join('\n'), (refused() + '\n').repeated(16).chopped(1));
}

void ServiceQueueTest::watchesNobodyWhoHasNoRequest()
{
    StandInForPolkit polkit;
    endService(); // which may still let go of an earlier caller
    QVERIFY(QDBusConnection::systemBus().interface()->startService(QLatin1String(serviceName)).isValid());
    const uint before = watchesOfService();
    QVERIFY(before > 0);
    ServiceCall many = writeCall();
    many.count = 16;
    const auto caller = startCall(nobody, many);
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 16, eventLimit);
    QTRY_COMPARE_WITH_TIMEOUT(watchesOfService(), before + 1, eventLimit);

    QCOMPARE(answerOf(nobody, writeCall()), tooMany());
    QTRY_COMPARE_WITH_TIMEOUT(watchesOfService(), before + 1, eventLimit);
    callAndLeave(3);
    answerOf(root, readCall()); // which comes after those
    QTRY_COMPARE_WITH_TIMEOUT(watchesOfService(), before + 1, eventLimit);

    caller->kill();
    QVERIFY(caller->waitForFinished());
    QTRY_COMPARE_WITH_TIMEOUT(watchesOfService(), before, eventLimit);
}

void ServiceQueueTest::readsWhileItWrites()
{
    answerOf(nobody, readCall()); // starts the service
    replaceToolBySlowOne("4");
    const auto writer = startCall(root, putInForce());
    QTRY_VERIFY_WITH_TIMEOUT(isToolRunning(), eventLimit);

    QElapsedTimer time;
    time.start();
    const QByteArray answer = answerOf(nobody, readCall());
    const qint64 took = time.elapsed();

    QCOMPARE(writer->state(), QProcess::Running);
    QVERIFY2(took < 1000, QByteArray::number(took).constData());
    QCOMPARE(answer,
             QByteArray("{deny: qlonglong 5}; {deny: QString /etc/security/faillock.conf}; "
                        "{force: QString none, installed: bool true, lines: QStringList }"));
    QCOMPARE(answersTo(writer.get()), QByteArrayList{leftAlone()});
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

void ServiceQueueTest::letsUsersTakeTurns()
{
    replaceToolBySlowOne("0.5");
    ServiceCall many = previewCall();
    many.count = 8;
    const auto first = startCall(nobody, many);
    QTRY_VERIFY_WITH_TIMEOUT(isToolRunning(), eventLimit);

    const QByteArray answer = answerOf(root, previewCall());
    first->waitForReadyRead(0);
    const QByteArray before = first->readAllStandardOutput();

    QCOMPARE(answer, leftAlone());
    QVERIFY2(linesOf(before) <= 3, before.constData());
    QCOMPARE(linesOf(before) + answersTo(first.get()).size(), 8);
}

void ServiceQueueTest::leavesOutWhatHasNotBegunWhenTheCallerLeaves()
{
    replaceToolBySlowOne("2");
    const auto first = startCall(root, putInForce());
    QTRY_VERIFY_WITH_TIMEOUT(isToolRunning(), eventLimit);
    const auto second = startCall(root, writeCall());
    QTest::qWait(1000); // polkit has admitted it by then
    second->kill();

    QCOMPARE(answersTo(first.get()), QByteArrayList{leftAlone()});
    QTest::qWait(500);
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

/// Not for one whom it has got to know by a read, either.
void ServiceQueueTest::beginsNothingForWhoHasLeftBefore()
{
    replaceToolBySlowOne("0");
    const QString name = QStringLiteral("leaver");
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    const QString caller = bus.baseService();
    const auto message = [](const ServiceCall &call) {
        QDBusMessage made = QDBusMessage::createMethodCall(
            QLatin1String(serviceName), QLatin1String(servicePath), QLatin1String(serviceName), call.method);
        made.setArguments(call.arguments);
        return made;
    };
    const auto isThere = [&caller](const QDBusConnection &asked) {
        return asked.interface()->isServiceRegistered(caller).value();
    };
    QCOMPARE(bus.call(message(readCall())).type(), QDBusMessage::ReplyMessage);
    kill(static_cast<pid_t>(serviceProcess()), SIGSTOP);
    bus.send(message(previewCall()));
    QVERIFY(isThere(bus)); // by when the message has been sent
    QDBusConnection::disconnectFromBus(name);
    bus = QDBusConnection(QString());
    QTRY_VERIFY_WITH_TIMEOUT(!isThere(QDBusConnection::systemBus()), eventLimit);
    kill(static_cast<pid_t>(serviceProcess()), SIGCONT);

    QCOMPARE(answerOf(root, {QStringLiteral("ListLocked")}), QByteArray("[]"));
    QVERIFY(!isToolRunning());
}

void ServiceQueueTest::finishesItsWriteWhenItIsEnded()
{
    replaceToolBySlowOne("2");
    const auto writer = startCall(root, putInForce());
    QTRY_VERIFY_WITH_TIMEOUT(isToolRunning(), eventLimit);
    QCOMPARE(contentOf(faillockFile), m_stockFile + "deny = 5\n");
    kill(static_cast<pid_t>(serviceProcess()), SIGTERM);

    QCOMPARE(answersTo(writer.get()), QByteArrayList{leftAlone()});
    QTRY_COMPARE_WITH_TIMEOUT(serviceProcess(), 0, eventLimit);
    QCOMPARE(contentOf(faillockFile), m_stockFile);
}

void ServiceQueueTest::endsWhenNobodyWantsAnything()
{
    replaceToolBySlowOne("34");
    const auto writer = startCall(root, putInForce());
    QTRY_VERIFY_WITH_TIMEOUT(isToolRunning(), eventLimit);
    const qint64 process = serviceProcess();
    // a tool has half a minute
    QCOMPARE(answersTo(writer.get()).size(), 1);
    QElapsedTimer time;
    time.start();

    QCOMPARE(serviceProcess(), process);
    QTRY_COMPARE_WITH_TIMEOUT(serviceProcess(), 0, 40000);
    QVERIFY2(time.elapsed() > 29000, QByteArray::number(time.elapsed()).constData());
}

QTEST_GUILESS_MAIN(ServiceQueueTest)
#include "ServiceQueueTest.moc"
