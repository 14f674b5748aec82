// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

/**
 * How often AbstractTask::finish() was called since the last reset.
 *
 * finish() does nothing, so that only its calls can be seen: a test that links this has them redirected by the
 * linker (COUNT_FINISH in CMakeLists.txt).
 */
int finishCalls();

void resetFinishCalls();

/// The task's state at the last call.
int stateAtLastFinish();
