// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pam/PamPolicyRead.h"

#include "engine/FileReading.h"
#include "policies/pam/PamOptionReader.h"
#include "policies/pam/PamPolicy.h"
#include "tasks/TaskResult.h"

#include <QCoreApplication>

void readPamPolicy(const PamPolicy &policy, const char *context, PamOptionReader *reader, TaskResult *result)
{
    QString message;
    if (!readFile(policy.stack, reader, &message)) {
        result->fail(message);
        return;
    }
    if (!reader->found()) {
        const QString place = policy.mayBeUnset ? policy.profiles.constFirst().path() : policy.stack;
        message = QCoreApplication::translate(context, policy.modulesMissing).arg(place);
        if (!policy.mayBeUnset) {
            result->fail(message);
            return;
        }
    }
    result->succeed(message);
    if (policy.mayBeUnset) {
        // a notice is for the task alone
        result->setState(TaskState::Succeeded);
    }
}
