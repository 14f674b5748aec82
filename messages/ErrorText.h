// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

class QFileDevice;

/// Adds one message to the caller's error text, on a line of its own.
void appendMessage(QString *errorString, const QString &message);

/// Says that the file isn't there.
QString missingFileMessage(const QFileDevice &file);

/// Says what the last operation on @p file failed with: its name, error code and error text.
QString fileErrorMessage(const QFileDevice &file);
