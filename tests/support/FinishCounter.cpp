// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/FinishCounter.h"

#include "tasks/AbstractTask.h"

namespace
{
int calls = 0;
FinishedTask last;
}

int finishCalls()
{
    return calls;
}

void resetFinishCalls()
{
    calls = 0;
    last = {};
}

FinishedTask lastFinished()
{
    return last;
}

// the name that the linker gives to the replacement of AbstractTask::finish()
extern "C" void __wrap__ZN12AbstractTask6finishEv(AbstractTask *task); // NOLINT(bugprone-reserved-identifier)

extern "C" void __wrap__ZN12AbstractTask6finishEv(AbstractTask *task)
{
    ++calls;
    last = {task->result().state(), task->result().message(), *task->values()};
}
