// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/stores/AccountStore.h"

#include "client/Translation.h"
#include "client/output/WaitingLine.h"
#include "client/settings/Policies.h"
#include "client/stores/TaskOutcome.h"
#include "messages/LocalText.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"

#include <QSet>

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace
{
QString nameKey()
{
    return QStringLiteral("name");
}

/// Whether the account database has no such name; false if it can't be asked, which the task will tell.
bool isUnknown(const QString &account)
{
    // what getpwnam(3) has for that; it says no such name by any other number
    static const QSet<int> failures{EINTR, EIO, EMFILE, ENFILE, ENOMEM, ERANGE};
    errno = {};
    return !getpwnam(localBytes(account).constData()) && !failures.contains(errno);
}

/// Runs the task, whose values hold what it needs, if this process may.
Outcome outcomeForRoot(AbstractTask *task)
{
    if (geteuid() != 0) {
        return {ExitCode::NotAuthorized,
                translate("AccountStore", "the settings of accounts are for root alone; try sudo")};
    }
    const WaitingLine line(translate("AccountStore", "waiting for the accounts…"));
    return outcomeOf(task);
}
}

AccountStore::AccountStore(QString account) : m_account(std::move(account))
{
}

StoreName AccountStore::name() const
{
    return {StoreName::Kind::Account, m_account};
}

QString AccountStore::phrase() const
{
    return translate("AccountStore", "the account %1").arg(m_account);
}

const SettingSchema &AccountStore::schema() const
{
    return accountSchema();
}

bool AccountStore::exists() const
{
    return getpwnam(localBytes(m_account).constData()) != nullptr;
}

Reading AccountStore::read()
{
    if (geteuid() == 0 && isUnknown(m_account)) {
        return {{ExitCode::Failed, translate("AccountStore", "%1 does not exist").arg(phrase())}, {}};
    }
    LocalUserPolicyPasswordExpirationReadTask task(nullptr);
    task.values()->insert(nameKey(), m_account);
    Outcome outcome = outcomeForRoot(&task);
    if (outcome.code == ExitCode::Failed) {
        outcome.error = readFailure(outcome.error);
    }
    return {outcome, normalized(schema(), *task.values())};
}

Outcome AccountStore::write(const Settings &settings)
{
    auto arguments = std::make_unique<QVariantMap>(settings);
    arguments->insert(nameKey(), m_account);
    LocalUserPolicyPasswordExpirationUpdateTask task(nullptr, arguments.release());
    Outcome outcome = outcomeForRoot(&task);
    if (outcome.code == ExitCode::Failed) {
        outcome.error = writeFailure(outcome.error);
    }
    return outcome;
}
