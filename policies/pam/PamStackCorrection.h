// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

struct PamPolicy;

/**
 * Corrects the number of one option in a policy's stack: a line of its modules that has the option then has it once,
 * with the wanted number. Lines that are commented out count too; lines without the option stay as they are.
 *
 * It is needed since pam-auth-update(8) keeps what was edited by hand in the stack: an old number can stand beside the
 * profile's.
 *
 * The file, UTF-8 text, is written in place, without a copy; if it can't be opened, nothing happens.
 */
void correctPamStack(const PamPolicy &policy, int wanted);

/// The same for the lines of a stack, without their line ends; whether any was changed.
bool correctPamLines(const PamPolicy &policy, int wanted, QStringList *lines);
