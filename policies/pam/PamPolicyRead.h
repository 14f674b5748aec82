// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

class PamOptionReader;
class TaskResult;
struct PamPolicy;

/**
 * Reads the stack that pam-auth-update(8) has generated.
 *
 * The outcome is Failed if the file can't be read, or if it names no module and the policy may not be unset.
 *
 * @param policy  what to read
 * @param context in which the texts are translated
 * @param reader  gets the modules' lines
 * @param result  receives the outcome
 */
void readPamPolicy(const PamPolicy &policy, const char *context, PamOptionReader *reader, TaskResult *result);
