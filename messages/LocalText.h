// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>

// Local 8-bit text: in the encoding of the locale. QString's own conversions are these with Qt 5; with Qt 6 they are UTF-8
// whatever the locale is, and a NUL byte ends nothing.

/// Decodes up to the first NUL byte.
QString localText(const QByteArray &bytes);

/// Decodes all bytes, NUL bytes among them.
QString wholeLocalText(const QByteArray &bytes);

QByteArray localBytes(const QString &text);
