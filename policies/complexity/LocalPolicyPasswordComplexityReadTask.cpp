// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"

#include "engine/FileReading.h"
#include "policies/complexity/ComplexityPolicy.h"

LocalPolicyPasswordComplexityReadTask::LoginReaderRegExpHandler::LoginReaderRegExpHandler(QVariantMap *values)
    : PamOptionReader(complexityPolicy(), values)
{
}

LocalPolicyPasswordComplexityReadTask::LocalPolicyPasswordComplexityReadTask(void *context)
    : ReadPropertyHeavyTask(context)
{
    setValues(new QVariantMap);
    result().setDescription(tr("Read default password complexity policy"));
}

void LocalPolicyPasswordComplexityReadTask::run()
{
    read();
    finish();
}

void LocalPolicyPasswordComplexityReadTask::read()
{
    const QString stack = complexityPolicy().stack;
    LoginReaderRegExpHandler handler(values());
    QString message;
    if (!readFile(stack, &handler, &message)) {
        result().fail(message);
        return;
    }
    if (!handler.found()) {
        // both names in one pair of quotes, meant so
        result().fail(tr("\"%1\" not contain \"pam_cracklib or pam_pwquality\"").arg(stack));
        return;
    }
    result().succeed(message);
}
