// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A request to a helper that isn't the real one, for a person who isn't real either: answers that come late, or for
// somebody else, and each thing that may happen meanwhile.

#include "client/bus/HelperRequest.h"

#include "HelperId.h"
#include "client/bus/PasswordPrompt.h"
#include "client/bus/RequestWait.h"
#include "client/bus/TerminalPrompt.h"
#include "tests/support/ErrorTerminal.h"
#include "tests/support/Sandbox.h"
#include "tests/support/StandInForHelper.h"

#include <KAuth/ActionReply>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDataStream>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <cstring>
#include <functional>
#include <utility>

namespace
{
struct Ending {
    ExitCode code;
    const char *error;
    bool mayHappen;
};
constexpr Ending done{ExitCode::Done, "", false};
constexpr Ending failed{ExitCode::Failed, "what\nreason", false};
constexpr Ending refused{ExitCode::Failed, "the helper refuses the request (error 2)\nwhy", false};
// debconf translates the system's words, but not its own
constexpr Ending locked{ExitCode::Busy, "what\nconfig.dat is locked by another process: Ressource gesperrt", false};
constexpr Ending busy{ExitCode::Busy, "the helper is busy; try again later", false};
constexpr Ending open{ExitCode::Busy, "the helper has not answered in time; it may still carry the change out", true};
constexpr Ending denied{ExitCode::NotAuthorized, "not authorized", false};
constexpr Ending speechless{ExitCode::NotAuthorized,
                            "not authorized\nthere is no terminal to ask for a password on; use \"ssh -t\" or sudo, or "
                            "have a rule of polkit allow it",
                            false};
constexpr Ending unanswered{
    ExitCode::NotAuthorized, "not authorized: nobody has answered the question for a password in time", false};
constexpr Ending undecided{ExitCode::NotAuthorized, "not authorized: polkit has ended before it could decide", false};
constexpr Ending decided{ExitCode::NotAuthorized, "polkit has ended; the helper may still carry it out", true};
constexpr Ending cancelled{ExitCode::NotAuthorized, "cancelled", false};
constexpr Ending left{ExitCode::NotAuthorized, "cancelled; the helper may still carry it out", true};

constexpr int many = -1;

struct Case {
    const char *name;
    /// 'w' to write or 'r' to read; in upper case where polkit's question has a place.
    char kind;
    /// What the helper answers to one call after the other, the last for good; see answerBy().
    const char *answers;
    /// What happens at one call after the other; see Person::act().
    const char *deeds;
    /// What the helper answers when the question is taken away.
    char atLast;
    /// Which limit is short: 'a' for the answer, 'p' for the prompt, 't' for its turn.
    char limit;
    Ending ending;
    int calls;
    int questions;
};
// clang-format off
constexpr Case cases[] = {
    {"own answer",                     'w', "y",   "",   ' ', ' ', done,       1,    1},
    {"read",                           'r', "y",   "",   ' ', ' ', done,       1,    0},
    {"failure",                        'w', "e",   "",   ' ', ' ', failed,     1,    1},
    {"debconf is locked",              'w', "l",   "",   ' ', ' ', locked,     1,    1},
    {"refusal",                        'w', "r",   "",   ' ', ' ', refused,    1,    1},
    {"busy, then its own",             'w', "bby", "",   ' ', ' ', done,       3,    1},
    {"another's success first",        'w', "sy",  "",   ' ', ' ', done,       2,    1},
    {"another's failure first",        'w', "fy",  "",   ' ', ' ', done,       2,    1},
    {"nobody's success first",         'w', "ay",  "",   ' ', ' ', done,       2,    1},
    {"nothing first",                  'w', "0y",  "",   ' ', ' ', done,       2,    1},
    {"busy for good",                  'w', "b",   "",   ' ', 'a', busy,       many, 1},
    {"another's success for good",     'w', "s",   "",   ' ', 'a', busy,       many, 1},
    {"another's failure for good",     'w', "f",   "",   ' ', 'a', busy,       many, 1},
    {"nobody's success for good",      'w', "a",   "",   ' ', 'a', busy,       many, 1},
    {"nothing for good",               'w', "0",   "",   ' ', 'a', busy,       many, 1},
    {"busy past its turn",             'r', "b",   "",   ' ', 't', busy,       many, 0},
    {"answer within its turn",         'r', "bby", "",   ' ', 't', done,       3,    0},
    {"write without answer",           'w', ".",   "",   ' ', 'a', open,       1,    1},
    {"read without answer",            'r', ".",   "",   ' ', 'a', busy,       1,    0},
    {"busy, then no answer",           'w', "b.",  "",   ' ', 'a', open,       2,    1},
    {"late answer",                    'w', ".",   "",   'y', 'a', done,       1,    1},
    {"late, and the helper was busy",  'w', ".",   "",   'b', 'a', busy,       1,    1},
    {"late denial",                    'w', ".",   "",   'n', 'a', denied,     1,    1},
    {"late denial of reading",         'R', ".",   "",   'n', 'a', denied,     1,    0},
    {"denied",                         'w', "n",   "",   ' ', ' ', denied,     1,    1},
    {"no terminal",                    'w', "n",   "t",  ' ', ' ', speechless, 1,    1},
    {"no terminal for reading",        'r', "n",   "t",  ' ', ' ', speechless, 1,    1},
    {"no terminal, and late",          'w', ".",   "t",  'n', 'a', denied,     1,    1},
    {"cancelled elsewhere",            'w', "u",   "",   ' ', ' ', denied,     1,    1},
    {"password asked for",             'W', "y",   "",   ' ', 'a', done,       1,    1},
    {"busy before it asks",            'W', "by",  "",   ' ', 'a', done,       2,    1},
    {"wrong password",                 'W', "n",   "a",  ' ', ' ', denied,     1,    1},
    {"no password in time",            'W', ".",   "",   'n', 'p', unanswered, 1,    1},
    {"none after it was busy",         'W', "b.",  "",   'n', 'p', unanswered, 2,    1},
    {"wrong password, not yet known",  'W', ".",   "o",  'n', 'p', denied,     1,    1},
    {"password at the last moment",    'W', ".",   "",   'y', 'p', done,       1,    1},
    {"no password, busy at last",      'W', ".",   "",   'b', 'p', busy,       1,    1},
    {"no password and no answer",      'W', ".",   "",   ' ', 'p', open,       1,    1},
    {"password and no answer",         'W', ".",   "a",  ' ', 'a', open,       1,    1},
    {"password, then a late denial",   'W', ".",   "a",  'n', 'a', denied,     1,    1},
    {"password for reading",           'R', "ny",  "",   ' ', ' ', done,       2,    1},
    {"wrong password for reading",     'R', "nn",  " a", ' ', ' ', denied,     2,    1},
    {"none in time for reading",       'R', "n.",  "",   'n', 'p', unanswered, 2,    1},
    {"no password for reading",        'r', "n",   "",   ' ', ' ', denied,     1,    1},
    {"polkit ends at the question",    'W', ".",   "q",  ' ', ' ', undecided,  1,    1},
    {"polkit ends before it asks",     'W', ".",   "k",  ' ', ' ', decided,    1,    1},
    {"polkit ends after the answer",   'W', ".",   "m",  'y', 'a', done,       1,    1},
    {"the same, not yet known",        'W', ".",   "d",  'y', 'p', done,       1,    1},
    {"cancelled in time",              'W', ".",   "c",  'n', ' ', cancelled,  1,    1},
    {"cancelled while it was busy",    'w', ".",   "c",  'b', ' ', cancelled,  1,    1},
    {"cancelled too late",             'w', ".",   "c",  'y', ' ', done,       1,    1},
    {"cancelled, and no answer",       'w', ".",   "c",  ' ', ' ', left,       1,    1},
    {"cancelled when late",            'w', ".",   "",   'c', 'a', left,       1,    1},
    {"cancelled during a pause",       'w', "bbb", "  w", ' ', ' ', cancelled, 3,    1},
    {"denied before it is known",      'W', "n",   "s",  ' ', ' ', cancelled,  1,    1},
    {"busy before it is known",        'w', "b",   "s",  ' ', ' ', cancelled,  1,    1},
    {"done before it is known",        'w', "y",   "s",  ' ', ' ', done,       1,    1},
};
// clang-format on

QVariantMap wanted()
{
    return {{QStringLiteral("maxInterval"), 7}};
}

QVariantMap decoded(const QByteArray &arguments)
{
    QVariantMap values;
    QDataStream stream(arguments);
    stream >> values;
    return values;
}

QByteArray success(const QVariantMap &data)
{
    KAuth::ActionReply reply = KAuth::ActionReply::SuccessReply();
    reply.setData(data);
    return reply.serialized();
}

QByteArray failure(QVariantMap data, const char *message)
{
    data.insert(QStringLiteral("error"), true);
    data.insert(QStringLiteral("description"), QStringLiteral("what"));
    data.insert(QStringLiteral("message"), QString::fromLatin1(message));
    return success(data);
}

/// What a letter stands for; empty for any other.
QByteArray answerBy(char letter, const QVariantMap &arguments)
{
    const QVariantMap nobodys{{QStringLiteral("maxInterval"), 4711}};
    QVariantMap anothers = nobodys;
    anothers.insert(QStringLiteral("request"), QStringLiteral("another"));
    KAuth::ActionReply refusal = KAuth::ActionReply::NoSuchActionReply();
    refusal.setErrorDescription(QStringLiteral("why"));
    const QMap<char, QByteArray> answers{
        {'y', success(arguments)},
        {'e', failure(arguments, "reason")},
        {'l', failure(arguments, locked.error + std::strlen("what\n"))},
        {'s', success(anothers)},
        {'f', failure(anothers, "reason")},
        {'a', success(nobodys)},
        {'0', success({})},
        {'r', refusal.serialized()},
        {'b', KAuth::ActionReply::HelperBusyReply().serialized()},
        {'n', KAuth::ActionReply::AuthorizationDeniedReply().serialized()},
        {'u', KAuth::ActionReply::UserCancelledReply().serialized()},
    };
    return answers.value(letter);
}

/// The letter for this number, from 1, or the last one.
char letterAt(const char *letters, int number)
{
    const int count = static_cast<int>(qstrlen(letters));
    return count == 0 ? ' ' : letters[qMin(number, count) - 1];
}

HelperCall callOf(HelperCall::Kind kind)
{
    return {kind, QStringLiteral("writepasswordexpirationpolicy"), wanted()};
}

QString polkit()
{
    return QStringLiteral("org.freedesktop.PolicyKit1");
}

void killPolkit()
{
    const QDBusReply<uint> process = QDBusConnection::systemBus().interface()->servicePid(polkit());
    QVERIFY(process.isValid() && kill(static_cast<pid_t>(process.value()), SIGKILL) == 0);
}
}
Q_DECLARE_METATYPE(const Case *)

/// Takes the helper's name on the bus, and answers as it is told.
class StandIn : public StandInForHelper
{
    Q_OBJECT

public:
    void answerBy(const char *answers)
    {
        m_answers = answers;
        m_calls = 0;
    }

    /// Answers the last call, which was left without.
    void answerAtLast(char letter)
    {
        const QByteArray late = ::answerBy(letter, m_arguments);
        if (!late.isEmpty()) {
            bus().send(m_unanswered.createReply(late));
            // has reached the bus when this is answered
            bus().interface()->isServiceRegistered(polkit());
        }
    }

    int calls() const
    {
        return m_calls;
    }

Q_SIGNALS:
    /// With the number of the call, from 1, before it is answered.
    void called(int call);

private:
    QByteArray answer(const QDBusMessage &call, const QByteArray &arguments) override
    {
        m_arguments = decoded(arguments);
        m_unanswered = call;
        const QByteArray answer = ::answerBy(letterAt(m_answers, ++m_calls), m_arguments);
        Q_EMIT called(m_calls);
        return answer;
    }

    const char *m_answers = "";
    QVariantMap m_arguments;
    QDBusMessage m_unanswered;
    int m_calls = 0;
};

/// Who does at a call what a letter stands for.
class Person : public PasswordPrompt
{
    Q_OBJECT

public:
    Person(bool mayBeAsked, std::function<void()> closed) : m_mayBeAsked(mayBeAsked), m_closed(std::move(closed))
    {
    }

    bool open(const QString &action) override
    {
        questions += action;
        m_isOpen = m_mayBeAsked && questions.size() == 1;
        return m_isOpen;
    }
    void close() override
    {
        m_isOpen = false;
        std::exchange(m_closed, [] {})();
    }
    bool isOpen() const override
    {
        return m_isOpen;
    }
    bool isAsking() const override
    {
        return m_isAsking;
    }
    bool lacksTerminal(const QString & /*action*/) const override
    {
        return m_lacksTerminal;
    }
    bool isCancelled() const override
    {
        if (m_waits) {
            // when the answer, which is asked about here, has been looked at
            QTimer::singleShot(0, this, &PasswordPrompt::cancelled);
        }
        return m_isCancelled;
    }

    void act(char deed)
    {
        m_isAsking = deed == 'q';
        m_lacksTerminal = deed == 't';
        m_isOpen = m_isOpen && std::strchr("amdo", deed) == nullptr;
        m_isCancelled = deed == 's'; // but the signal is late
        m_waits = deed == 'w';
        if (std::strchr("am", deed)) {
            Q_EMIT answered();
        }
        if (std::strchr("qkmd", deed)) {
            killPolkit();
        }
        if (deed == 'c') {
            Q_EMIT cancelled();
        }
    }

    QStringList questions;

private:
    bool m_mayBeAsked;
    std::function<void()> m_closed;
    bool m_isOpen = false;
    bool m_isAsking = false;
    bool m_lacksTerminal = false;
    bool m_isCancelled = false;
    bool m_waits = false;
};

class HelperRequestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void waitsAsLongAsPeopleAreTold();
    void initTestCase();

    void tellsWhatCameOfIt_data();
    void tellsWhatCameOfIt();
    void waitsForAnAnswerPastItsTurn();
    void isCancelledByCtrlC();
    void takesTheWaitingLineAway();

private:
    ErrorTerminal m_terminal;
    StandIn m_helper;
};

void HelperRequestTest::waitsAsLongAsPeopleAreTold()
{
    QCOMPARE(HelperLimits().answer, 70000);
    QCOMPARE(HelperLimits().prompt, 300000);
}

void HelperRequestTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QVERIFY(m_helper.start());
}

void HelperRequestTest::tellsWhatCameOfIt_data()
{
    QTest::addColumn<const Case *>("row");
    for (const Case &row : cases) {
        QTest::newRow(row.name) << &row;
    }
}

void HelperRequestTest::tellsWhatCameOfIt()
{
    QFETCH(const Case *, row);
    constexpr int brief = 300; // ms
    constexpr int ample = 60000; // ms
    QDBusConnection::systemBus().interface()->startService(polkit());
    const auto kind = tolower(row->kind) == 'w' ? HelperCall::Kind::Write : HelperCall::Kind::Read;
    Person person(isupper(row->kind) != 0, [this, row, &person] {
        m_helper.answerAtLast(row->atLast);
        person.act(row->atLast);
    });
    m_helper.answerBy(row->answers);
    connect(&m_helper, &StandIn::called, &person, [row, &person](int call) {
        person.act(letterAt(row->deeds, call));
    });
    const HelperLimits limits{
        row->limit == 'a' ? brief : ample, row->limit == 'p' ? brief : ample, row->limit == 't' ? brief : -1};
    HelperRequest request(callOf(kind), &person, limits);
    int endings = 0;
    connect(&request, &HelperRequest::finished, &request, [&endings] {
        ++endings;
    });

    const HelperReply reply = waitFor(&request);

    QCOMPARE(reply.outcome.error, QString::fromLatin1(row->ending.error));
    QCOMPARE(reply.outcome.code, row->ending.code);
    QCOMPARE(reply.outcome.mayHappen, row->ending.mayHappen);
    QCOMPARE(reply.unavailable,
             row->ending.error == QByteArray(busy.error) ? QStringLiteral("the helper is busy") : QString());
    QCOMPARE(reply.taskFailed, reply.outcome.error.startsWith(QLatin1String("what\n")));
    if (!reply.taskFailed) {
        QCOMPARE(reply.values, reply.outcome.succeeded() ? wanted() : QVariantMap());
    }
    QCOMPARE(person.questions.count(QLatin1String(helperId) + QStringLiteral(".writepasswordexpirationpolicy")),
             row->questions);
    // an answer that comes now, or the next turn
    m_helper.answerAtLast('n');
    // comes behind it
    QDBusConnection::systemBus().interface()->isServiceRegistered(polkit());
    QTest::qWait(100);
    QCOMPARE(endings, 1);
    const int calls = m_helper.calls();
    // with a pause of 20 ms or more
    QVERIFY2(row->calls == many ? calls > 1 && calls <= brief / 20 + 2 : calls == row->calls,
             qPrintable(QString::number(calls)));
}

void HelperRequestTest::waitsForAnAnswerPastItsTurn()
{
    m_helper.answerBy(".");
    Person person(false, [] {});
    HelperRequest request(callOf(HelperCall::Kind::Read), &person, {60000, 60000, 100});
    QTimer::singleShot(500, &request, [this] {
        m_helper.answerAtLast('y');
    });

    QVERIFY(waitFor(&request).outcome.succeeded());
}

void HelperRequestTest::isCancelledByCtrlC()
{
    m_helper.answerBy(".");
    TerminalPrompt prompt(false, QStringLiteral("waiting for the helper…"));
    HelperRequest request(callOf(HelperCall::Kind::Write), &prompt);
    connect(&m_helper, &StandIn::called, &prompt, [] {
        std::raise(SIGINT);
    });
    connect(&prompt, &PasswordPrompt::cancelled, &m_helper, [this] {
        m_helper.answerAtLast('b');
    });

    const HelperReply reply = waitFor(&request);

    QCOMPARE(m_helper.calls(), 1);
    QCOMPARE(reply.outcome.error, QStringLiteral("cancelled"));
}

void HelperRequestTest::takesTheWaitingLineAway()
{
    QByteArray shown = m_terminal.shown();
    m_helper.answerBy("y");
    {
        TerminalPrompt prompt(false, QStringLiteral("waiting for the helper…"));
        HelperRequest request(callOf(HelperCall::Kind::Write), &prompt);
        connect(&m_helper, &StandIn::called, &prompt, [this, &shown] {
            while (!shown.contains("waiting")) {
                shown += m_terminal.shown();
            }
        });
        waitFor(&request);
    }

    QCOMPARE(shown + m_terminal.shown(), QByteArray("waiting for the helper\xe2\x80\xa6\r\033[K"));
}

QTEST_GUILESS_MAIN(HelperRequestTest)
#include "HelperRequestTest.moc"
