// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QRegExp>
#include <QStringList>

/// Splits the options behind a PAM module's name, the last capture of @p matched, at white space.
QStringList pamOptionTokens(const QRegExp &matched);
