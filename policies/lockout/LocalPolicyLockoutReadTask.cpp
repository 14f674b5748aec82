// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyRead.h"

LocalPolicyLockoutReadTask::LoginReaderRegExpHandler::LoginReaderRegExpHandler(QVariantMap *values)
    : PamOptionReader(lockoutPolicy(), values)
{
}

LocalPolicyLockoutReadTask::LocalPolicyLockoutReadTask(void *context) : ReadPropertyHeavyTask(context)
{
    setValues(new QVariantMap);
    result().setDescription(tr("Read default lockout account policy"));
}

void LocalPolicyLockoutReadTask::run()
{
    read();
    finish();
}

void LocalPolicyLockoutReadTask::read()
{
    LoginReaderRegExpHandler handler(values());
    readPamPolicy(lockoutPolicy(), "LocalPolicyLockoutReadTask", &handler, &result());
}
