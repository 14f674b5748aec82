// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QStringList>

struct PamPolicy;

/**
 * Makes sure that the lines of a policy's modules in its stack that carry the corrected option carry it once, with the
 * wanted number. Lines that are commented out count too.
 *
 * pam-auth-update(8) merges what was edited by hand in the stack with the profile's options, so that an old number
 * can stand beside the new one. Lines without the option, and lines with just the wanted number, are left alone.
 *
 * The file, UTF-8 text, is written in place, without a copy; if it can't be opened, nothing happens.
 */
void correctPamStack(const PamPolicy &policy, int wanted);

/// The same for the lines of a stack, without their line ends; whether any was changed.
bool correctPamLines(const PamPolicy &policy, int wanted, QStringList *lines);
