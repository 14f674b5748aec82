// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"

#include "policies/complexity/ComplexityPolicy.h"
#include "policies/pam/PamPolicyRead.h"

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
    LoginReaderRegExpHandler handler(values());
    readPamPolicy(complexityPolicy(), "LocalPolicyPasswordComplexityReadTask", &handler, &result());
}
