// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QString>

/**
 * Why a path doesn't lead to a folder in which root alone decides what there is, one line; empty if it does.
 *
 * Neither that folder nor one on the way to it, through all links, may be written by others, so that it stays the same one.
 */
QString rootsFolderFault(const QString &path);
