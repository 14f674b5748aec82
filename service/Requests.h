// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "service/Answer.h"
#include "service/BusTypes.h"
#include "service/Caller.h"
#include "service/PolkitQuestion.h"
#include "service/Worker.h"

#include <QCache>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QSet>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

/// What a method wants done.
struct Job {
    enum class Place {
        /// In the main thread: reads of files, which are answered while the worker is at work.
        Here,
        /// In the worker's thread, after what it has to do already.
        InWorker,
    };

    Place place = Place::Here;
    /// The last part of polkit's action; empty if everyone may.
    QString action;
    /// What rules may ask for by action.lookup().
    TextMap details;
    std::function<Answer(const Caller &caller)> run = {};
    /// The answer, if there is nothing to do for it; null where there always is.
    std::function<std::optional<Answer>()> known = {};
};

/**
 * The requests that have not been answered yet: the bus is asked who sends each, polkit where it has to be, waits for its turn, and is
 * answered once it has run.
 *
 * Those of one user run in the order in which polkit has admitted them, and users take turns: whoever sends many keeps
 * nobody else waiting for more than one of them. A request that has not begun ends with its caller's connection.
 */
class Requests : public QObject
{
    Q_OBJECT

public:
    explicit Requests(const QDBusConnection &bus);

    /// Takes a request, or refuses it if its user has 16 of them already. It is answered later in both cases.
    void add(const QDBusMessage &message, const Job &job);

    bool isEmpty() const;

    /// Ends all that has not begun, and begins nothing any more; the answers are those of the bus.
    void stop();

Q_SIGNALS:
    /// There was no request, and there is one.
    void began();
    /// There is no request any more, after one that was answered.
    void emptied();
    void policyChanged(const QString &policy);

private:
    struct Request {
        QDBusMessage message;
        Caller caller;
        Job job;
        /// As long as it is unidentified, the caller has a name and nothing else.
        enum { Unidentified, Asking, Waiting, Running } state;
        std::unique_ptr<PolkitQuestion> question;
    };
    /// By their numbers, in the order in which they came.
    using Map = std::map<quint64, Request>;

    bool answerAtOnce(const QDBusMessage &message, const Job &job);
    std::vector<quint64> numbersOf(const QString &caller) const;
    void identify(const QString &name);
    void takeCaller(const QString &name, const std::optional<Caller> &caller);
    void admit(quint64 number, const Caller &caller);
    bool hasRoomFor(uint user) const;
    void ask(quint64 number);
    void takeAnswer(quint64 number, PolkitQuestion::Answer answer);
    void await(quint64 number);
    Map::iterator next(Job::Place place);
    Q_INVOKABLE void runHere();
    void runInWorker();
    void finish(quint64 number, const Answer &answer);
    void reply(const QDBusMessage &message, const Answer &answer);
    void remove(Map::iterator request);
    void unwatch(const QString &caller);
    void forget(const QString &caller);

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watch;
    /// Who is behind connections that have been seen lately.
    QCache<QString, Caller> m_callers;
    /// Of whom the bus is being asked.
    QSet<QString> m_asked;
    Map m_requests;
    quint64 m_lastNumber = 0;
    /// Whose turn it was last, in each place.
    std::map<Job::Place, uint> m_lastUser;
    bool m_isStopping = false;
    Worker m_worker;
};
