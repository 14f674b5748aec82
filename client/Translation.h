// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QCoreApplication>

/**
 * The text in the user's language.
 *
 * lupdate(1) finds the texts by the name of this function, where both arguments are literals.
 *
 * @param context the name of the file where the text stands, without its ending
 */
inline QString translate(const char *context, const char *text)
{
    return QCoreApplication::translate(context, text);
}
