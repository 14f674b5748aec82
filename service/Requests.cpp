// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Requests.h"

#include "service/ServiceNames.h"

#include <QDBusPendingCallWatcher>

#include <algorithm>

namespace
{
constexpr int mostOfOneUser = 16;

constexpr int rememberedCallers = 256;

Answer tooManyRequests()
{
    return Answer::failure(tooManyRequestsError, QStringLiteral("this user has 16 pending requests"));
}

/// Nobody has to be told if the caller goes away.
bool endsAtOnce(const Job &job)
{
    return job.action.isEmpty() && job.place == Job::Place::Here;
}

Answer refusal(PolkitQuestion::Answer answer, bool mayAsk)
{
    if (answer == PolkitQuestion::Answer::None) {
        return Answer::failure(authorizationFailedError, QStringLiteral("polkit has not decided about it"));
    }
    // without somebody to ask, polkit answers the same to callers that would have let it
    if (answer == PolkitQuestion::Answer::NeedsPassword && !mayAsk) {
        return Answer::failure(interactionError,
                               QStringLiteral("a password is needed, and the caller lets nobody be asked for it"));
    }
    return Answer::failure(notAuthorizedError, QStringLiteral("not authorized"));
}

QDBusMessage replyTo(const QDBusMessage &message, const Answer &answer)
{
    return answer.error.isEmpty()
        ? message.createReply(answer.values)
        : message.createErrorReply(QLatin1String(serviceName) + QLatin1String(".Error.") + answer.error,
                                   answer.errorText);
}
}

Requests::Requests(const QDBusConnection &bus) : m_bus(bus), m_callers(rememberedCallers)
{
    m_watch.setConnection(bus);
    m_watch.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_watch, &QDBusServiceWatcher::serviceUnregistered, this, &Requests::forget);
}

void Requests::add(const QDBusMessage &message, const Job &job)
{
    if (m_isStopping || answerAtOnce(message, job)) {
        return;
    }
    const QString name = message.service();
    if (numbersOf(name).size() >= mostOfOneUser) {
        reply(message, tooManyRequests());
        return;
    }
    const quint64 number = ++m_lastNumber;
    m_requests.emplace(number, Request{message, Caller{name, 0, 0, {}}, job, Request::Unidentified, nullptr});
    if (m_requests.size() == 1) {
        Q_EMIT began();
    }
    if (const Caller *known = endsAtOnce(job) ? m_callers.object(name) : nullptr) {
        admit(number, *known);
        return;
    }
    // before the bus is asked who it is: from now on it tells if the caller goes away
    m_watch.addWatchedService(name);
    if (!m_asked.contains(name)) {
        identify(name);
    }
}

bool Requests::isEmpty() const
{
    return m_requests.empty();
}

void Requests::stop()
{
    m_isStopping = true;
    for (auto request = m_requests.begin(); request != m_requests.end();) {
        request = request->second.state == Request::Running ? std::next(request) : m_requests.erase(request);
    }
}

/// Who asks is the same as long as there are fewer requests than one user may have.
bool Requests::answerAtOnce(const QDBusMessage &message, const Job &job)
{
    const bool mayAnswer = job.known && m_requests.size() < mostOfOneUser;
    const std::optional<Answer> known = mayAnswer ? job.known() : std::nullopt;
    if (!known) {
        return false;
    }
    reply(message, *known);
    if (m_requests.empty()) {
        Q_EMIT emptied();
    }
    return true;
}

/// Those of a connection.
std::vector<quint64> Requests::numbersOf(const QString &caller) const
{
    std::vector<quint64> numbers;
    for (const auto &[number, request] : m_requests) {
        if (request.caller.name == caller) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

/// Once for all that a connection has sent before the answer.
void Requests::identify(const QString &name)
{
    m_asked.insert(name);
    auto *call = new QDBusPendingCallWatcher(askForCaller(name, m_bus), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, name] {
        call->deleteLater();
        takeCaller(name, callerIn(*call, name));
    });
}

void Requests::takeCaller(const QString &name, const std::optional<Caller> &caller)
{
    m_asked.remove(name);
    if (caller) {
        m_callers.insert(name, std::make_unique<Caller>(*caller).release());
    }
    for (const quint64 number : numbersOf(name)) {
        if (m_requests.at(number).state != Request::Unidentified) {
            continue; // from before the cache has forgotten who it is
        }
        if (caller) {
            admit(number, *caller);
        } else {
            finish(number, Answer::failure(failedError, QStringLiteral("the bus does not say who asks")));
        }
    }
}

void Requests::admit(quint64 number, const Caller &caller)
{
    if (!hasRoomFor(caller.user)) {
        finish(number, tooManyRequests());
        return;
    }
    Request &request = m_requests.at(number);
    request.caller = caller;
    if (request.job.action.isEmpty()) {
        await(number);
    } else {
        ask(number);
    }
}

bool Requests::hasRoomFor(uint user) const
{
    const auto count = std::count_if(m_requests.begin(), m_requests.end(), [user](const Map::value_type &request) {
        return request.second.state != Request::Unidentified && request.second.caller.user == user;
    });
    return count < mostOfOneUser;
}

void Requests::ask(quint64 number)
{
    Request &request = m_requests.at(number);
    request.state = Request::Asking;
    request.question = std::make_unique<PolkitQuestion>(request.caller.name,
                                                        QLatin1String(serviceActions) + request.job.action,
                                                        request.job.details,
                                                        request.message.isInteractiveAuthorizationAllowed());
    const auto take = [this, number](PolkitQuestion::Answer answer) {
        takeAnswer(number, answer);
    };
    // from the event loop: the question ends with the request
    connect(request.question.get(), &PolkitQuestion::answered, this, take, Qt::QueuedConnection);
}

void Requests::takeAnswer(quint64 number, PolkitQuestion::Answer answer)
{
    const auto request = m_requests.find(number);
    if (request == m_requests.end()) {
        return; // its caller has gone since
    }
    request->second.question.reset();
    if (answer == PolkitQuestion::Answer::Yes) {
        await(number);
    } else {
        finish(number, refusal(answer, request->second.message.isInteractiveAuthorizationAllowed()));
    }
}

void Requests::await(quint64 number)
{
    Request &request = m_requests.at(number);
    request.state = Request::Waiting;
    if (request.job.place == Job::Place::InWorker) {
        runInWorker();
    } else {
        // one after the other, and what comes in between is heard
        QMetaObject::invokeMethod(this, "runHere", Qt::QueuedConnection);
    }
}

/// The first one of the user whose turn it is.
Requests::Map::iterator Requests::next(Job::Place place)
{
    std::map<uint, Map::iterator> firsts;
    for (auto request = m_requests.begin(); request != m_requests.end(); ++request) {
        if (request->second.state == Request::Waiting && request->second.job.place == place) {
            firsts.emplace(request->second.caller.user, request);
        }
    }
    if (firsts.empty()) {
        return m_requests.end();
    }
    auto first = firsts.upper_bound(m_lastUser[place]);
    if (first == firsts.end()) {
        first = firsts.begin();
    }
    m_lastUser[place] = first->first;
    return first->second;
}

void Requests::runHere()
{
    const auto request = next(Job::Place::Here);
    if (request != m_requests.end()) {
        request->second.state = Request::Running;
        finish(request->first, request->second.job.run(request->second.caller));
    }
}

void Requests::runInWorker()
{
    if (m_worker.isBusy()) {
        return;
    }
    const auto request = next(Job::Place::InWorker);
    if (request == m_requests.end()) {
        return;
    }
    request->second.state = Request::Running;
    const auto answer = std::make_shared<Answer>();
    m_worker.run(
        [run = request->second.job.run, caller = request->second.caller, answer] {
            *answer = run(caller);
        },
        [this, number = request->first, answer] {
            finish(number, *answer);
            runInWorker();
        });
}

void Requests::finish(quint64 number, const Answer &answer)
{
    const auto request = m_requests.find(number);
    reply(request->second.message, answer);
    if (!answer.changedPolicy.isEmpty()) {
        Q_EMIT this->policyChanged(answer.changedPolicy);
    }
    remove(request);
}

void Requests::reply(const QDBusMessage &message, const Answer &answer)
{
    if (message.isReplyRequired()) {
        m_bus.send(replyTo(message, answer));
    }
}

void Requests::remove(Map::iterator request)
{
    const QString caller = request->second.caller.name;
    m_requests.erase(request);
    unwatch(caller);
    if (m_requests.empty()) {
        Q_EMIT emptied();
    }
}

/// Its end matters as long as it waits for something.
void Requests::unwatch(const QString &caller)
{
    if (numbersOf(caller).empty()) {
        m_watch.removeWatchedService(caller);
    }
}

/// What runs goes on: half of it would be worse.
void Requests::forget(const QString &caller)
{
    for (const quint64 number : numbersOf(caller)) {
        const auto request = m_requests.find(number);
        if (request->second.state != Request::Running) {
            remove(request);
        }
    }
}
