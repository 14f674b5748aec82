// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QRegularExpression>
#include <QStringList>

/// A numeric option of a module in a PAM stack, a file in the format of pam.d(5).
struct PamStackOption {
    /// Path of the stack; UTF-8 text.
    QString stack;
    /// Found in the lines that count; commented-out ones are among them.
    QRegularExpression module;
    QString name;
};

/**
 * Makes sure that the lines of a module that carry a numeric option carry it once, with the wanted number.
 *
 * pam-auth-update(8) merges what was edited by hand in the stack with the profile's options, so that an old number
 * can stand beside the new one. Lines without the option, and lines with just the wanted number, are left alone.
 *
 * The file is written in place, without a copy; if it can't be opened, nothing happens.
 */
void correctPamStack(const PamStackOption &option, int wanted);

/// The same for the lines of a stack, without their line ends; whether any was changed.
bool correctPamLines(const PamStackOption &option, int wanted, QStringList *lines);
