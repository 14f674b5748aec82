// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"

#include "engine/FileRewriting.h"
#include "messages/ErrorText.h"
#include "policies/expiration/ExpirationFiles.h"

LocalPolicyPasswordExpirationUpdateTask::LoginRewriterRegExpHandler::LoginRewriterRegExpHandler(
    const QVariantMap *arguments)
    : SettingsFileRewriter(loginDefs(), arguments)
{
}

LocalPolicyPasswordExpirationUpdateTask::UseraddRewriterRegExpHandler::UseraddRewriterRegExpHandler(
    const QVariantMap *arguments)
    : SettingsFileRewriter(useraddDefaults(), arguments)
{
}

LocalPolicyPasswordExpirationUpdateTask::LocalPolicyPasswordExpirationUpdateTask(void *context, QVariantMap *values)
    : UpdateTask(context, values)
{
    result().setDescription(tr("Update default password expiration policy"));
}

void LocalPolicyPasswordExpirationUpdateTask::run()
{
    update(QString());
    finish();
}

void LocalPolicyPasswordExpirationUpdateTask::runBelow(const QString &root)
{
    update(root);
    finish();
}

void LocalPolicyPasswordExpirationUpdateTask::update(const QString &root)
{
    LoginRewriterRegExpHandler loginHandler(values());
    UseraddRewriterRegExpHandler useraddHandler(values());
    QString message;
    if (!rewriteFile(root + loginDefs().path, &loginHandler, &message, true)
        || !rewriteFile(root + useraddDefaults().path, &useraddHandler, &message, true)) {
        result().fail(message);
        return;
    }
    appendMessage(&message, tr("Default password expiration policy will be applied only for new user creation"));
    result().succeed(message);
}
