// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"

#include "engine/FileReading.h"
#include "policies/expiration/ExpirationFiles.h"

LocalPolicyPasswordExpirationReadTask::LoginReaderRegExpHandler::LoginReaderRegExpHandler(QVariantMap *values)
    : SettingsFileReader(loginDefs(), values)
{
}

LocalPolicyPasswordExpirationReadTask::UseraddReaderRegExpHandler::UseraddReaderRegExpHandler(QVariantMap *values)
    : SettingsFileReader(useraddDefaults(), values)
{
}

LocalPolicyPasswordExpirationReadTask::LocalPolicyPasswordExpirationReadTask(void *context)
    : ReadPropertyHeavyTask(context)
{
    setValues(new QVariantMap);
    result().setDescription(tr("Read default password expiration policy"));
}

void LocalPolicyPasswordExpirationReadTask::run()
{
    read();
    finish();
}

void LocalPolicyPasswordExpirationReadTask::read()
{
    LoginReaderRegExpHandler loginHandler(values());
    UseraddReaderRegExpHandler useraddHandler(values());
    QString message;
    if (!readFile(loginDefs().path, &loginHandler, &message)
        || !readFile(useraddDefaults().path, &useraddHandler, &message)) {
        result().fail(message);
        return;
    }
    result().succeed(message);
}
