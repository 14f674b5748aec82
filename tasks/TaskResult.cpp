// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/TaskResult.h"

QString TaskResult::description() const
{
    return m_description;
}

void TaskResult::setDescription(const QString &description)
{
    m_description = description;
}

int TaskResult::state() const
{
    return m_state;
}

void TaskResult::setState(const int &state)
{
    m_state = state;
}

QString TaskResult::message() const
{
    return m_message;
}

void TaskResult::setMessage(const QString &message)
{
    m_message = message;
}

void TaskResult::fail(const QString &message)
{
    m_state = TaskState::Failed;
    m_message = message;
}

void TaskResult::succeed(const QString &notice)
{
    m_state = notice.isEmpty() ? TaskState::Succeeded : TaskState::SucceededWithNotice;
    m_message = notice;
}
