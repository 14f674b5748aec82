// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutReadTask.h"

#include "engine/FileReading.h"

namespace
{
const PamReadTable &lockoutReadTable()
{
    static const PamReadTable table{
        QStringLiteral(R"((?:.*pam_tally\.so)((?:\s+\S+)*))"),
        1,
        {"pam_tally.so"},
        QStringLiteral(R"((per_user|magic_root|no_reset|deny|lock_time|unlock_time)=?(\d+)?)"),
        {QStringLiteral("per_user"), QStringLiteral("magic_root"), QStringLiteral("no_reset")},
    };
    return table;
}
}

LocalPolicyLockoutReadTask::LoginReaderRegExpHandler::LoginReaderRegExpHandler(QVariantMap *values)
    : PamOptionReader(lockoutReadTable(), values)
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
    if (!readFile(QStringLiteral("/etc/pam.d/common-auth"), &handler, &notice)) {
        result().fail(notice);
        return;
    }
    if (!handler.found()) {
        // names the module's profile, where an administrator would look for it, not the stack that was read
        notice = tr("\"%1\" not contain \"pam_tally\"").arg(QStringLiteral("/usr/share/pam-configs/tally"));
    }
    result().succeed(notice);
    // a policy that isn't set is no failure, and a notice is for the task alone
    result().setState(TaskState::Succeeded);
}
