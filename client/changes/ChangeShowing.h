// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

struct Change;
struct Preview;
class QJsonArray;

/// A table of key, now and then: one row for each setting that the change would make another; empty if there is none.
QString changeTable(const Change &change);

/**
 * Shows the settings that a change would make others, and the files as it would leave them.
 *
 * @param report receives it for programs; if null, the standard output does for people
 */
void showChange(const Change &change, const Preview &preview, QJsonArray *report);
