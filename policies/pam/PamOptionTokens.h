// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

/// Splits the options behind a PAM module's name at white space.
QStringList pamOptionTokens(const QString &options);
