// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Modules1.h"

#include "policies/faillock/FailureRecords.h"
#include "policies/modules/ModulePolicy.h"
#include "service/JournalEntry.h"
#include "service/LockedListing.h"
#include "service/PolicyWrite.h"
#include "service/PrivateFiles.h"
#include "service/ServiceNames.h"

#include <QDir>

#include <memory>
#include <pwd.h>
#include <vector>

namespace
{
QString typeOf(ModuleSetting::Kind kind)
{
    switch (kind) {
    case ModuleSetting::Kind::Flag:
    case ModuleSetting::Kind::Switch:
        return QStringLiteral("b");
    case ModuleSetting::Kind::Number:
    case ModuleSetting::Kind::Seconds:
        return QStringLiteral("x");
    case ModuleSetting::Kind::Text:
    case ModuleSetting::Kind::Path:
        return QStringLiteral("s");
    }
    return {};
}

/// That of the administrator's own may be out of this service's sight, and would look as if nobody had failed.
Answer refusalOfMissingFolder()
{
    const QString folder = failureFolder();
    const bool isUsual = folder == faillockPolicy().find(QStringLiteral("dir"))->byDefault.toString();
    return isUsual || QDir(folder).exists()
        ? Answer()
        : Answer::failure(
            failedError,
            QStringLiteral("%1 is not there, or the service may not see it: accountpoliciesd(8) has the remedy")
                .arg(folder));
}

Answer listLocked(const Caller &caller)
{
    Answer refusal = refusalOfMissingFolder();
    if (!refusal.error.isEmpty()) {
        return refusal;
    }
    const FailureListing listing = failureRecords();
    if (!listing.error.isEmpty()) {
        // the list has no place for it
        writeToJournal({caller,
                        QStringLiteral("list-locked"),
                        QStringLiteral("records of failed logins"),
                        {},
                        {},
                        QLatin1String(failedError),
                        listing.error});
    }
    return lockedAnswer(listing);
}

/// In whatever database of accounts; may wait for one in the network.
bool isAccount(const QString &name)
{
    std::vector<char> room(65536);
    passwd entry = {};
    passwd *found = nullptr;
    return getpwnam_r(name.toLocal8Bit().constData(), &entry, room.data(), room.size(), &found) == 0 && found;
}

Answer tryUnlock(const QString &account)
{
    if (cannotBeLookedUp(account)) {
        return Answer::failure(failedError, QStringLiteral("the account cannot be looked up now"));
    }
    if (!isAccount(account)) {
        return Answer::failure(unknownAccountError, QStringLiteral("no such account"));
    }
    Answer refusal = refusalOfMissingFolder();
    if (!refusal.error.isEmpty()) {
        return refusal;
    }
    const QString fault = forgetFailures(account);
    return fault.isEmpty() ? Answer() : Answer::failure(failedError, fault);
}

Answer unlock(const QString &account, const Caller &caller)
{
    Answer answer = tryUnlock(account);
    writeToJournal({caller,
                    QStringLiteral("unlock"),
                    QStringLiteral("account ") + account,
                    {},
                    {},
                    answer.error.isEmpty() ? doneOutcome() : answer.error,
                    answer.errorText});
    return answer;
}
}

Modules1::Modules1(Requests *requests) : m_requests(requests)
{
    connect(requests, &Requests::policyChanged, this, &Modules1::PolicyChanged);
}

QStringList Modules1::ListPolicies()
{
    QStringList names;
    const QVector<const ModulePolicy *> all = modulePolicies();
    for (const ModulePolicy *policy : all) {
        names += policy->name;
    }
    return names;
}

TextMap Modules1::ListSettings(const QString &policy)
{
    Answer fault;
    TextMap types;
    const ModulePolicy *found = policyNamed(policy, &fault);
    if (!found) {
        refuse(fault);
        return types;
    }
    for (const ModuleSetting &setting : found->settings) {
        types.insert(setting.name, typeOf(setting.kind));
    }
    return types;
}

QVariantMap Modules1::ReadPolicy(const QString &policy, TextMap &sources, QVariantMap &state)
{
    Q_UNUSED(sources)
    Q_UNUSED(state)
    Answer fault;
    const ModulePolicy *found = policyNamed(policy, &fault);
    if (!found) {
        refuse(fault);
        return {};
    }
    Job job;
    job.run = [this, found](const Caller &caller) {
        return m_readings.answerFor(*found, caller);
    };
    job.known = [this, found] {
        return m_readings.remembered(*found);
    };
    take(job);
    return {};
}

bool Modules1::WritePolicy(const QString &policy, const QVariantMap &values, const QVariantMap &options, QString &note)
{
    Q_UNUSED(note)
    Answer fault;
    const std::optional<PolicyWrite> write = policyWrite(policy, values, options, &fault);
    if (!write) {
        refuse(fault);
        return {};
    }
    take({Job::Place::InWorker, QStringLiteral("write-") + policy, {}, [write = *write](const Caller &caller) {
              return runWrite(write, caller);
          }});
    return {};
}

ChangedFiles Modules1::PreviewPolicy(const QString &policy, const QVariantMap &values, const QVariantMap &options)
{
    Answer fault;
    const std::optional<PolicyWrite> write = policyWrite(policy, values, options, &fault);
    if (!write) {
        refuse(fault);
        return {};
    }
    take({Job::Place::InWorker, {}, {}, [write = *write](const Caller &caller) {
              const Answer refusal = refusalToTell(filesOfPreviews(*write.policy), caller);
              return refusal.error.isEmpty() ? previewWrite(write) : refusal;
          }});
    return {};
}

LockedAccounts Modules1::ListLocked()
{
    // whether an account is an administrator's may be asked of a database in the network
    take({Job::Place::InWorker, QStringLiteral("list-locked"), {}, [](const Caller &caller) {
              return listLocked(caller);
          }});
    return {};
}

void Modules1::Unlock(const QString &account)
{
    if (account.isEmpty() || account.size() > 256) {
        refuse(Answer::failure(unknownAccountError, QStringLiteral("no such account")));
        return;
    }
    take({Job::Place::InWorker,
          QStringLiteral("unlock"),
          {{QStringLiteral("account"), account}},
          [account](const Caller &caller) {
              return unlock(account, caller);
          }});
}

void Modules1::refuse(const Answer &fault)
{
    sendErrorReply(QLatin1String(serviceName) + QLatin1String(".Error.") + fault.error, fault.errorText);
}

void Modules1::take(const Job &job)
{
    setDelayedReply(true);
    m_requests->add(message(), job);
}
