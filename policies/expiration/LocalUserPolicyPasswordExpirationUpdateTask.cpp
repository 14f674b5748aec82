// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalUserPolicyPasswordExpirationUpdateTask.h"

#include "engine/Command.h"
#include "policies/expiration/AccountExpiration.h"

namespace
{
struct AccountUpdateText {
    Q_DECLARE_TR_FUNCTIONS(LocalUserPolicyPasswordExpirationUpdateTask)
public:
    static constexpr CommandFailureTexts commandFailures = {
        "LocalUserPolicyPasswordExpirationUpdateTask",
#include "engine/CommandFailureTexts.inc"
    };
};

Command chage(const QVariantMap &arguments)
{
    Command command{QStringLiteral("chage"), {}};
    for (const AccountExpirationSetting &setting : accountExpirationSettings) {
        const QVariant days = arguments.value(QString::fromLatin1(setting.key), unsetAccountExpiration);
        command.arguments += {QString::fromLatin1(setting.chageOption), QString::number(days.toLongLong())};
    }
    command.arguments += arguments.value(QStringLiteral("name")).toString();
    return command;
}

QString failureMessage(const Command &command, const CommandOutcome &outcome)
{
    // unlike the other policies: the number of the error, not its text, and nothing from behind a NUL byte
    const QString error = QString::number(outcome.error);
    const QString standardError = outcome.standardError.left(outcome.standardError.indexOf(QChar::Null));
    const QString message =
        commandFailureMessage(AccountUpdateText::commandFailures, command, outcome, error, standardError);
    // as a whole: a line end of the tool's own stays inside the closing quote
    return outcome.end == CommandOutcome::End::Exited ? message.trimmed() : message;
}
}

LocalUserPolicyPasswordExpirationUpdateTask::LocalUserPolicyPasswordExpirationUpdateTask(void *context,
                                                                                         QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update user password expiration policy"));
}

void LocalUserPolicyPasswordExpirationUpdateTask::run()
{
    update();
    finish();
}

void LocalUserPolicyPasswordExpirationUpdateTask::update()
{
    const Command command = chage(*values());
    const CommandOutcome outcome = runCommand(command);
    if (!outcome.succeeded()) {
        result().fail(failureMessage(command, outcome));
        return;
    }
    result().succeed(QString());
}
