// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks/ElementTask.h"

ElementTask::ElementTask(void *context, QVariantMap *values) : AbstractTask(values), m_context(context)
{
}

void *ElementTask::context() const
{
    return m_context;
}

CreateTask::CreateTask(void *context, QVariantMap *values) : ElementTask(context, values)
{
}

void CreateTask::cancel()
{
}

ReadContentTask::ReadContentTask(void *context) : ElementTask(context, nullptr)
{
}

void ReadContentTask::cancel()
{
}

ReadPropertyHeavyTask::ReadPropertyHeavyTask(void *context) : ElementTask(context, nullptr)
{
}

void ReadPropertyHeavyTask::cancel()
{
}

UpdateTask::UpdateTask(void *context, QVariantMap *values) : ElementTask(context, values)
{
}

void UpdateTask::cancel()
{
}

DeleteTask::DeleteTask(void *context) : ElementTask(context, nullptr)
{
}

void DeleteTask::cancel()
{
}
