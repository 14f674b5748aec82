// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"

#include "policies/pam/PamPolicyUpdate.h"

namespace
{
const PamWriteTable &lockoutWriteTable()
{
    static const PamWriteTable table{
        QStringLiteral(R"((\s*.*pam_tally\.so)((?:\s+\S+)*))"),
        2,
        {"pam_tally.so"},
        {QStringLiteral("per_user"), QStringLiteral("magic_root"), QStringLiteral("no_reset")},
        {QStringLiteral("deny"), QStringLiteral("lock_time"), QStringLiteral("unlock_time")},
    };
    return table;
}

constexpr CommandFailureTexts lockoutCommandTexts = {
    "LocalPolicyLockoutUpdateTask",
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not started\""),
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Error: %3.\n\"Not finished\""),
    QT_TRANSLATE_NOOP("LocalPolicyLockoutUpdateTask", "Process: \"%1 %2\". Exit code: %3.\n\"%4\""),
};
}

LocalPolicyLockoutUpdateTask::LoginRewriterRegExpHandler::LoginRewriterRegExpHandler(const QVariantMap *arguments)
    : PamOptionRewriter(lockoutWriteTable(), arguments)
{
}

LocalPolicyLockoutUpdateTask::LocalPolicyLockoutUpdateTask(void *context, QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update default lockout account policy"));
}

void LocalPolicyLockoutUpdateTask::run()
{
    update();
    finish();
}

void LocalPolicyLockoutUpdateTask::update()
{
    const QString profile = QStringLiteral("/usr/share/pam-configs/tally");
    const QString deny = QStringLiteral("deny");
    LoginRewriterRegExpHandler handler(values());
    updatePamPolicy(
        {
            {{profile, tr("\"%1\" not contain \"pam_tally\"").arg(profile)}},
            lockoutCommandTexts,
            {QStringLiteral("/etc/pam.d/common-auth"), QRegularExpression(QStringLiteral("pam_tally\\.so")), deny},
            values()->value(deny).toInt(),
        },
        &handler,
        &result());
}
