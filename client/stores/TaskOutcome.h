// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/Outcome.h"
#include "client/bus/HelperCall.h"
#include "tasks/AbstractTask.h"

/// Runs the task; its failure is told with its title, as the helper's replies have it.
inline Outcome outcomeOf(AbstractTask *task)
{
    task->run();
    if (task->result().state() == TaskState::Failed) {
        return failedTask(task->result().description(), task->result().message());
    }
    return {};
}
