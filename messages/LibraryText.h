// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/**
 * What the errorString() of a file or process says, in the words that callers know.
 *
 * They are Qt 5's. Qt 6 names a step more where a program can't be started, and the reason where a copy can't be created.
 */
QString libraryText(const QString &errorString);
