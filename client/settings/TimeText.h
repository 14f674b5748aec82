// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

#include <optional>

/// The one or two largest units of a time in seconds, "1 h 30 min".
QString timeText(qlonglong seconds);

/**
 * Understands a time: numbers, each with its unit as in systemd.time(7), such as "1h30min" or "1 h 30 min".
 *
 * @return the seconds; none if it isn't understood, or if every setting is too short for it
 */
std::optional<qlonglong> parseTime(const QString &text);
