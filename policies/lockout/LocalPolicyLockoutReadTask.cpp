// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include "engine/FileReading.h"
#include "policies/lockout/LockoutPolicy.h"

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
    QString notice;
    if (!readFile(lockoutPolicy().stack, &handler, &notice)) {
        result().fail(notice);
        return;
    }
    if (!handler.found()) {
        // names the profile, not the stack that was read: meant so
        notice = tr("\"%1\" not contain \"pam_tally\"").arg(lockoutPolicy().profiles.constFirst().path());
    }
    // Succeeded even with a notice, which is for the task alone
    result().setMessage(notice);
    result().setState(TaskState::Succeeded);
}
