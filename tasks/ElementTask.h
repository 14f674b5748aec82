// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tasks/AbstractTask.h"

/**
 * A task on one element of a caller's model. The caller's context pointer is carried along and never read.
 */
class ElementTask : public AbstractTask
{
public:
    ElementTask(void *context, QVariantMap *values);

    void cancel() override = 0;

    void *context() const;

private:
    void *m_context;
};

/// Creates an element from the values it is given; owns them.
class CreateTask : public ElementTask
{
public:
    CreateTask(void *context, QVariantMap *values);
    void cancel() override;
};

/// Reads what an element contains; has no values map at first.
class ReadContentTask : public ElementTask
{
public:
    explicit ReadContentTask(void *context);
    void cancel() override;
};

/// Reads those properties of an element that take work to find; has no values map at first.
class ReadPropertyHeavyTask : public ElementTask
{
public:
    explicit ReadPropertyHeavyTask(void *context);
    void cancel() override;
};

/// Changes an element to the values it is given; owns them.
class UpdateTask : public ElementTask
{
public:
    UpdateTask(void *context, QVariantMap *values);
    void cancel() override;
};

/// Deletes an element; has no values map at first.
class DeleteTask : public ElementTask
{
public:
    explicit DeleteTask(void *context);
    void cancel() override;
};
