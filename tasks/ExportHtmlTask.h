// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tasks/AbstractTask.h"

/**
 * Writes an HTML text into a file, in UTF-8. A file that is already there is replaced in place; a new one gets the
 * mode that the process's umask leaves.
 *
 * Arguments, empty where absent: "filePath", "htmlText" (text).
 *
 * Fails if the file can't be opened. A text that can't be written as a whole still counts as exported.
 */
class ExportHtmlTask : public AbstractTask
{
public:
    explicit ExportHtmlTask(QVariantMap *values);

    void run() override;
    void cancel() override;
};
