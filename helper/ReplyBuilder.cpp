// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "helper/ReplyBuilder.h"

#include "tasks/AbstractTask.h"

QVariantMap buildReply(AbstractTask *task)
{
    const QString error = QStringLiteral("error");
    task->run();
    QVariantMap reply = *task->values();
    // a notice stays in the task
    if (task->result().state() == TaskState::Failed) {
        reply.insert(error, true);
        reply.insert(QStringLiteral("description"), task->result().description());
        reply.insert(QStringLiteral("message"), task->result().message());
    } else {
        reply.remove(error);
    }
    return reply;
}
