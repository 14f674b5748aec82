// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QVariantMap>

/// What a task had to tell when it called finish().
struct FinishedTask {
    int state = -1;
    QString message;
    QVariantMap values;
};

/**
 * How often AbstractTask::finish() was called since the last reset.
 *
 * finish() does nothing, so that only its calls can be seen: a test that links this has them redirected by the
 * linker (COUNT_FINISH in CMakeLists.txt).
 */
int finishCalls();

void resetFinishCalls();

/// The task at the last call.
FinishedTask lastFinished();
