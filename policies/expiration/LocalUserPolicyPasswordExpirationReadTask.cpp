// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalUserPolicyPasswordExpirationReadTask.h"

#include "messages/LocalText.h"
#include "policies/expiration/AccountExpiration.h"

#include <cerrno>
#include <cstring>
#include <pwd.h>

namespace
{
/// Puts the system's text for an error number into a text that names the failed call.
QString lookUpFailure(const QString &text, int error)
{
    return text.arg(localText(std::strerror(error)));
}

void insertSettings(const spwd &entry, QVariantMap *values)
{
    for (const AccountExpirationSetting &setting : accountExpirationSettings) {
        const long days = entry.*setting.field;
        if (days != unsetAccountExpiration) {
            values->insert(QString::fromLatin1(setting.key), static_cast<qlonglong>(days));
        }
    }
}
}

LocalUserPolicyPasswordExpirationReadTask::LocalUserPolicyPasswordExpirationReadTask(void *context)
    : ReadPropertyHeavyTask(context)
{
    setValues(new QVariantMap);
    result().setDescription(tr("Read user password expiration policy"));
}

void LocalUserPolicyPasswordExpirationReadTask::run()
{
    read();
    finish();
}

void LocalUserPolicyPasswordExpirationReadTask::read()
{
    const QByteArray name = localBytes(values()->value(QStringLiteral("name")).toString());
    const passwd *account = getpwnam(name.constData());
    const int accountError = errno;
    if (!account) {
        // "getpwnum", meant so
        const QString failure = lookUpFailure(QStringLiteral("getpwnum() == 0\n%1"), accountError);
        result().fail(tr("Internal error: %1").arg(failure));
        return;
    }
    if (qstrcmp(account->pw_passwd, "x") != 0) {
        result().fail(tr("System not use /etc/shadow for this account"));
        return;
    }
    const spwd *entry = getspnam(name.constData());
    const int entryError = errno;
    if (!entry) {
        const QString failure = lookUpFailure(QStringLiteral("getspnam() == 0\n%1"), entryError);
        result().fail(tr("Internal error: %1").arg(failure));
        return;
    }
    insertSettings(*entry, values());
    result().succeed(QString());
}
