// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/ModuleAccess.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/preview/ModulePreview.h"
#include "client/stores/AccountsLock.h"
#include "client/stores/PolicyAccess.h"
#include "policies/machine/HelperSurroundings.h"
#include "service/Answer.h"
#include "service/BusTypes.h"

#include <QDBusArgument>

namespace
{
/// The arguments of WritePolicy.
QVariantList writeArguments(const ModulePolicy &policy, const ModuleWish &wish)
{
    QVariantMap options{{QStringLiteral("force"), wish.force},
                        {QStringLiteral("merge"), wish.merges},
                        {QStringLiteral("unset"), wish.unset},
                        // whoever wants that has been asked by now
                        {QStringLiteral("lock-root"), true}};
    if (wish.profiles != ModuleWish::Switch::Stay) {
        options.insert(QStringLiteral("on"), wish.profiles == ModuleWish::Switch::On);
    }
    return {policy.name, wish.values, options};
}

/// The same outcome as that of a write in this process.
Outcome outcomeOfReply(const ServiceReply &reply, const ModuleWish &wish)
{
    using Kind = ModuleOutcome::Kind;
    ModuleOutcome outcome;
    if (reply.outcome.succeeded()) {
        outcome.reason = reply.values.value(1).toString();
        const bool isStillCalled = wish.profiles == ModuleWish::Switch::Off && !outcome.reason.isEmpty();
        outcome.kind = isStillCalled ? Kind::NotOurs : Kind::Done;
        return outcomeOfWrite(outcome);
    }
    if (reply.error == QLatin1String(stacksEditedError)) {
        outcome.kind = Kind::StacksEdited;
        outcome.reason = reply.outcome.error;
        return outcomeOfWrite(outcome);
    }
    return reply.outcome;
}

QDateTime timeOf(qlonglong seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds).toUTC();
}

QVector<FailureRecord> recordsIn(const QVariant &value)
{
    QVector<FailureRecord> records;
    const auto accounts = qdbus_cast<LockedAccounts>(value);
    for (const LockedAccount &account : accounts) {
        FailureRecord record;
        record.account = account.name;
        record.failures = static_cast<int>(account.failures);
        record.first = timeOf(account.first);
        record.last = timeOf(account.last);
        record.source = account.source;
        record.isLocked = true;
        if (account.until != 0) {
            record.until = timeOf(account.until);
        }
        records += record;
    }
    return records;
}

Outcome writeHere(const ModulePolicy &policy, const ModuleWish &wish)
{
    const WaitingLine line(translate("ModuleAccess", "waiting for the policy's tools…"));
    const AccountsLock lock;
    if (lock.isBusy()) {
        return AccountsLock::busyOutcome();
    }
    const HelperSurroundings surroundings;
    return outcomeOfWrite(writeModule(policy, wish));
}

Outcome readLockedHere(QVector<FailureRecord> *locked)
{
    const FailureListing listing = failureRecords();
    for (const FailureRecord &record : listing.accounts) {
        if (record.isLocked) {
            *locked += record;
        }
    }
    return listing.error.isEmpty() ? Outcome() : Outcome{ExitCode::Failed, listing.error};
}
}

ModuleAccess::ModuleAccess(PolicyAccess *access) : m_access(access)
{
}

Outcome ModuleAccess::write(const ModulePolicy &policy, const ModuleWish &wish) const
{
    ServiceReply reply;
    if (ask({QStringLiteral("WritePolicy"), writeArguments(policy, wish)}, &reply)) {
        return outcomeOfReply(reply, wish);
    }
    Outcome refused = outcomeHere();
    return refused.succeeded() ? writeHere(policy, wish) : refused;
}

Outcome ModuleAccess::readLocked(QVector<FailureRecord> *locked) const
{
    ServiceReply reply;
    if (ask({QStringLiteral("ListLocked")}, &reply)) {
        *locked = recordsIn(reply.values.value(0));
        return reply.outcome;
    }
    Outcome refused = outcomeHere();
    return refused.succeeded() ? readLockedHere(locked) : refused;
}

Outcome ModuleAccess::unlock(const QString &account) const
{
    ServiceReply reply;
    if (ask({QStringLiteral("Unlock"), {account}}, &reply)) {
        return reply.outcome;
    }
    Outcome refused = outcomeHere();
    if (!refused.succeeded()) {
        return refused;
    }
    const QString failure = forgetFailures(account);
    return failure.isEmpty() ? Outcome() : Outcome{ExitCode::Failed, failure};
}

/// False where that isn't the way, or leads nowhere.
bool ModuleAccess::ask(const ServiceMethod &method, ServiceReply *reply) const
{
    if (m_access->isWithoutService()) {
        return false;
    }
    *reply = askService(method, m_access->mayAsk());
    if (reply->absence != HelperAbsence::None) {
        m_access->loseService(reply->absence);
        return false;
    }
    return true;
}

/// Whether this process may do it: it is root's if the way was typed.
Outcome ModuleAccess::outcomeHere() const
{
    return m_access->isServiceBarred() ? Outcome{ExitCode::Failed, m_access->serviceAdvice()} : Outcome();
}
