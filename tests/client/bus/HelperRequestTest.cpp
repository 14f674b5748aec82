// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A request to a helper that isn't the real one: answers that come late, or for somebody else.

#include "client/bus/HelperRequest.h"

#include "HelperId.h"
#include "tests/support/ErrorTerminal.h"
#include "tests/support/Sandbox.h"

#include <KAuth/ActionReply>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDataStream>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <functional>
#include <memory>

namespace
{
QVariantMap wanted()
{
    return {{QStringLiteral("maxInterval"), 7}};
}

QByteArray answerOf(const QVariantMap &data)
{
    KAuth::ActionReply reply = KAuth::ActionReply::SuccessReply();
    reply.setData(data);
    return reply.serialized();
}

QVariantMap decoded(const QByteArray &arguments)
{
    QVariantMap values;
    QDataStream stream(arguments);
    stream >> values;
    return values;
}

/// What somebody else's request was answered with.
QVariantMap foreignSuccess()
{
    return {{QStringLiteral("maxInterval"), 4711}, {QStringLiteral("request"), QStringLiteral("another")}};
}

QVariantMap foreignFailure()
{
    QVariantMap data = foreignSuccess();
    data.insert(QStringLiteral("error"), true);
    data.insert(QStringLiteral("description"), QStringLiteral("of another"));
    data.insert(QStringLiteral("message"), QStringLiteral("reason of another"));
    return data;
}

HelperReply write(HelperLimits limits)
{
    HelperRequest request(
        HelperRequest::Kind::Write, QStringLiteral("writepasswordexpirationpolicy"), wanted(), false, limits);
    return request.execute();
}
}

/// Takes the helper's name on the bus, and answers as it is told.
class StandIn : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kf5auth")

public:
    /// Gets the number of the call, from 1, and its arguments; an empty answer is none.
    using Answer = std::function<QByteArray(int, const QVariantMap &)>;

    bool start()
    {
        return m_bus.registerObject(QStringLiteral("/"), this, QDBusConnection::ExportAllSlots)
            && m_bus.registerService(QLatin1String(helperId));
    }
    void answerBy(const Answer &answer)
    {
        m_answer = answer;
        m_calls = 0;
    }
    int calls() const
    {
        return m_calls;
    }

public Q_SLOTS:
    QByteArray performAction(const QString &action,
                             const QByteArray &caller,
                             const QVariantMap &details,
                             const QByteArray &arguments)
    {
        Q_UNUSED(action)
        Q_UNUSED(caller)
        Q_UNUSED(details)
        const QByteArray answer = m_answer(++m_calls, decoded(arguments));
        setDelayedReply(answer.isEmpty());
        return answer;
    }

private:
    // not the connection of the request, which would answer itself without the bus
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("stand-in"));
    Answer m_answer;
    int m_calls = 0;
};

class HelperRequestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void repeatsUntilTheAnswerIsItsOwn_data();
    void repeatsUntilTheAnswerIsItsOwn();
    void neverTakesAnothersAnswer_data();
    void neverTakesAnothersAnswer();
    void tellsThatTheHelperIsBusy();
    void tellsThatABusyHelperWasLeft();
    void isCancelledBetweenTwoAttempts();
    void tellsWhyTheHelperRefuses();
    void takesTheWaitingLineAway();
    void sendsNothingMoreWhileAnAnswerIsDue();
    void tellsThatAWriteMayStillBeCarriedOut();
    void tellsThatAReadWasNotAnswered();

private:
    static void addForeignRows();

    ErrorTerminal m_terminal;
    StandIn m_helper;
};

void HelperRequestTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QVERIFY(m_helper.start());
}

void HelperRequestTest::addForeignRows()
{
    QTest::addColumn<QVariantMap>("foreign");
    QTest::newRow("another's success") << foreignSuccess();
    QTest::newRow("another's failure") << foreignFailure();
    QVariantMap nobodys = foreignSuccess();
    nobodys.remove(QStringLiteral("request"));
    QTest::newRow("nobody's success") << nobodys;
    QTest::newRow("nothing") << QVariantMap();
}

void HelperRequestTest::repeatsUntilTheAnswerIsItsOwn_data()
{
    addForeignRows();
}

void HelperRequestTest::repeatsUntilTheAnswerIsItsOwn()
{
    QFETCH(QVariantMap, foreign);
    m_helper.answerBy([&foreign](int call, const QVariantMap &arguments) {
        return answerOf(call == 1 ? foreign : arguments);
    });

    const HelperReply reply = write({});

    QCOMPARE(m_helper.calls(), 2);
    QCOMPARE(reply.outcome.error, QString());
    QCOMPARE(reply.outcome.code, ExitCode::Done);
    QCOMPARE(reply.values, wanted());
}

void HelperRequestTest::neverTakesAnothersAnswer_data()
{
    addForeignRows();
}

void HelperRequestTest::neverTakesAnothersAnswer()
{
    QFETCH(QVariantMap, foreign);
    m_helper.answerBy([&foreign](int, const QVariantMap &) {
        return answerOf(foreign);
    });

    const HelperReply reply = write({1000, 1000});

    QVERIFY(m_helper.calls() > 1);
    QCOMPARE(reply.outcome.error, QStringLiteral("the helper is busy; try again later"));
    QCOMPARE(reply.outcome.code, ExitCode::Busy);
    QCOMPARE(reply.values, QVariantMap());
}

void HelperRequestTest::tellsThatTheHelperIsBusy()
{
    m_helper.answerBy([](int, const QVariantMap &) {
        return KAuth::ActionReply::HelperBusyReply().serialized();
    });

    const HelperReply reply = write({1000, 1000});

    // with a pause of 20 ms or more
    QVERIFY2(m_helper.calls() > 1 && m_helper.calls() <= 52, qPrintable(QString::number(m_helper.calls())));
    QCOMPARE(reply.outcome.error, QStringLiteral("the helper is busy; try again later"));
    QCOMPARE(reply.outcome.code, ExitCode::Busy);
    QVERIFY(!reply.outcome.mayHappen);
}

void HelperRequestTest::tellsThatABusyHelperWasLeft()
{
    m_helper.answerBy([](int, const QVariantMap &) {
        std::raise(SIGINT);
        return KAuth::ActionReply::HelperBusyReply().serialized();
    });

    const HelperReply reply = write({});

    QCOMPARE(m_helper.calls(), 1);
    QCOMPARE(reply.outcome.error, QStringLiteral("cancelled"));
    QCOMPARE(reply.outcome.code, ExitCode::NotAuthorized);
    QVERIFY(!reply.outcome.mayHappen);
}

void HelperRequestTest::isCancelledBetweenTwoAttempts()
{
    const auto inPause = std::make_shared<bool>(false);
    HelperReply reply;
    QElapsedTimer timer;
    // a machine under load may come to the interrupt only when the pause is over
    for (int i = 0; i < 50 && !*inPause; ++i) {
        m_helper.answerBy([inPause](int call, const QVariantMap &arguments) {
            if (call == 3) {
                QElapsedTimer sinceAnswer;
                sinceAnswer.start();
                QTimer::singleShot(5, [inPause, sinceAnswer] {
                    *inPause = sinceAnswer.elapsed() < 15; // ms
                    std::raise(SIGINT);
                });
            }
            return call > 3 ? answerOf(arguments) : KAuth::ActionReply::HelperBusyReply().serialized();
        });
        timer.start();
        reply = write({});
    }

    QVERIFY(*inPause);
    QCOMPARE(m_helper.calls(), 3);
    QCOMPARE(reply.outcome.error, QStringLiteral("cancelled"));
    QCOMPARE(reply.outcome.code, ExitCode::NotAuthorized);
    QVERIFY(!reply.outcome.mayHappen);
    QVERIFY(timer.elapsed() < 2000);
}

void HelperRequestTest::tellsWhyTheHelperRefuses()
{
    m_helper.answerBy([](int, const QVariantMap &) {
        KAuth::ActionReply refusal = KAuth::ActionReply::NoSuchActionReply();
        refusal.setErrorDescription(QStringLiteral("why"));
        return refusal.serialized();
    });

    const HelperReply reply = write({});

    QCOMPARE(reply.outcome.error, QStringLiteral("the helper refuses the request (error 2)\nwhy"));
    QCOMPARE(reply.outcome.code, ExitCode::Failed);
}

void HelperRequestTest::takesTheWaitingLineAway()
{
    m_helper.answerBy([](int, const QVariantMap &arguments) {
        QThread::msleep(1500);
        return answerOf(arguments);
    });
    m_terminal.shown();
    HelperRequest request(
        HelperRequest::Kind::Write, QStringLiteral("writepasswordexpirationpolicy"), wanted(), false, {});

    request.execute();

    QCOMPARE(m_terminal.shown(), QByteArray("waiting for the helper\xe2\x80\xa6\r\033[K"));
}

void HelperRequestTest::sendsNothingMoreWhileAnAnswerIsDue()
{
    m_helper.answerBy([](int call, const QVariantMap &) {
        return call == 1 ? KAuth::ActionReply::HelperBusyReply().serialized() : QByteArray();
    });

    const HelperReply reply = write({1000, 1000});

    QCOMPARE(m_helper.calls(), 2);
    QVERIFY(reply.outcome.mayHappen);
}

void HelperRequestTest::tellsThatAWriteMayStillBeCarriedOut()
{
    m_helper.answerBy([](int, const QVariantMap &) {
        return QByteArray();
    });

    const HelperReply reply = write({1000, 1000});

    QCOMPARE(m_helper.calls(), 1);
    QCOMPARE(reply.outcome.error,
             QStringLiteral("the helper has not answered in time; it may still carry the change out"));
    QCOMPARE(reply.outcome.code, ExitCode::Busy);
    QVERIFY(reply.outcome.mayHappen);
}

void HelperRequestTest::tellsThatAReadWasNotAnswered()
{
    m_helper.answerBy([](int, const QVariantMap &) {
        return QByteArray();
    });
    HelperRequest request(
        HelperRequest::Kind::Read, QStringLiteral("readpasswordexpirationpolicy"), {}, false, {1000, 1000});

    const HelperReply reply = request.execute();

    QCOMPARE(reply.outcome.error, QStringLiteral("the helper is busy; try again later"));
    QCOMPARE(reply.outcome.code, ExitCode::Busy);
    QVERIFY(!reply.outcome.mayHappen);
}

QTEST_GUILESS_MAIN(HelperRequestTest)
#include "HelperRequestTest.moc"
