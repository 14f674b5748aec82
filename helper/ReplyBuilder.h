// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QVariantMap>

class AbstractTask;

/**
 * Runs the task and turns its outcome into the data of a reply.
 *
 * @param task not owned
 * @return the task's values: what a read task has read, or the arguments of an update task. If the task failed, also
 *         "error" = true, "description" (its title) and "message" (why); otherwise never "error", even if that was
 *         among the arguments
 */
QVariantMap buildReply(AbstractTask *task);
