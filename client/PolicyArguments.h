// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>
#include <QVariantMap>

/**
 * Reads arguments of the form "key=value": "true" and "false" become bool, decimal numbers become integers.
 *
 * @param words     what was typed
 * @param arguments receives the arguments
 * @return what is wrong with the words, empty if nothing is
 */
QString parsePolicyArguments(const QStringList &words, QVariantMap *arguments);
