// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/AbstractTask.h"

AbstractTask::AbstractTask(QVariantMap *values) : m_values(values)
{
}

AbstractTask::~AbstractTask() = default;

void AbstractTask::run()
{
}

QVariantMap *AbstractTask::values() const
{
    return m_values.get();
}

// cppcheck-suppress constParameterPointer // it becomes this object's
void AbstractTask::setValues(QVariantMap *map)
{
    m_values.reset(map);
}

TaskResult &AbstractTask::result()
{
    return m_result;
}

quint64 AbstractTask::flags() const
{
    return m_flags;
}

bool AbstractTask::isCancelRequested() const
{
    return m_cancelRequested;
}

bool AbstractTask::requestCancel()
{
    if (!(m_flags & Cancellable)) {
        return false;
    }
    m_cancelRequested = true;
    return true;
}

void AbstractTask::finish()
{
}
